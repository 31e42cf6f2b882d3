#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// Reads a signed decimal number the way the C runtime's atoi-family does: leading white space,
// an optional sign, then digits up to the first other character. No digits gives 0; a number
// beyond the 32-bit range saturates at its end.
std::int32_t ParseSignedDecimal(const std::wstring& text);

}  // namespace rigel
