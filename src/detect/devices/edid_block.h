#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace rigel {

// The fields of an EDID value that the monitor component reports. Bytes past the end of what was
// read count as zero, as in the zero-filled buffer the value is read into; at most kCapacity
// bytes are kept.
class EdidBlock {
  public:
    // The base block and one extension block.
    static constexpr std::size_t kCapacity = 257;

    // One of the four 18-byte descriptor blocks of the base block.
    struct Descriptor {
        std::int8_t type = 0;        // byte 3
        bool isDisplay = false;      // bytes 0 to 2 are zero: not a detailed timing
        std::string text;            // bytes 5 to 17 up to a NUL, for display descriptors
        bool IsText() const;         // a display descriptor of a name, text or serial number
        bool IsMonitorName() const;  // a display descriptor of the monitor name (0xFC)
    };

    explicit EdidBlock(const std::vector<std::uint8_t>& bytes);

    // The three letters of the manufacturer code in bytes 8 and 9 ("ABC").
    std::wstring ManufacturerCode() const;
    // Bytes 8 to 11 as a little-endian number in eight upper-case hexadecimal digits.
    std::wstring Identifier() const;
    std::array<Descriptor, 4> Descriptors() const;
    // The text of the last monitor-name descriptor without trailing line feeds and blanks.
    std::string MonitorName() const;
    // Every byte read as two upper-case hexadecimal digits, separated by single blanks.
    std::wstring HexText() const;

  private:
    std::uint8_t At(std::size_t offset) const;

    std::vector<std::uint8_t> bytes_;
};

}  // namespace rigel
