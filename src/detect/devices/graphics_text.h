#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// Texts the graphics sources make of the numbers and texts their interfaces report.

// A 64-bit driver version given as its two 32-bit halves: four 16-bit numbers in decimal joined
// by ".", high to low (0x00080011, 0x000C24F5 give "8.17.12.9461").
std::wstring DriverVersionText(std::uint32_t high, std::uint32_t low);

// A Direct3D shader version word: bits 8 to 15, ".", bits 0 to 7 (0xFFFF0300 gives "3.0").
std::wstring ShaderVersionText(std::uint32_t version);

// A Direct3D 10 shader profile without its "ps_" or "vs_" and with "." for "_" ("ps_4_1" gives
// "4.1"); empty for a profile of three characters or fewer.
std::wstring ShaderProfileVersion(const std::string& profile);

// The diagnostics provider's display memory text ("1021.5 MB") as a size text in megabytes:
// a number just below a power of two up to 1024 (by at most 4) is rounded up to it ("1024 MB").
// Empty when the text does not start with a number.
std::wstring DisplayMemoryText(const std::wstring& text);

}  // namespace rigel
