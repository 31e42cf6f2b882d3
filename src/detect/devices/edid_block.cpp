#include "detect/devices/edid_block.h"

namespace rigel {
namespace {

constexpr std::size_t kManufacturer = 8;
constexpr std::size_t kFirstDescriptor = 54;
constexpr std::size_t kDescriptorSize = 18;
constexpr std::size_t kTextOffset = 5;
constexpr std::uint8_t kMonitorName = 0xFC;
constexpr std::uint8_t kUnspecifiedText = 0xFE;
constexpr std::uint8_t kSerialNumber = 0xFF;

// The hexadecimal digit of the low four bits.
wchar_t HexDigit(unsigned value) {
    static constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    return kDigits[value & 0xF];
}

}  // namespace

bool EdidBlock::Descriptor::IsText() const {
    const auto kind = static_cast<std::uint8_t>(type);
    return isDisplay && (kind == kMonitorName || kind == kUnspecifiedText || kind == kSerialNumber);
}

bool EdidBlock::Descriptor::IsMonitorName() const {
    return isDisplay && static_cast<std::uint8_t>(type) == kMonitorName;
}

EdidBlock::EdidBlock(const std::vector<std::uint8_t>& bytes)
    : bytes_(bytes.begin(), bytes.size() > kCapacity ? bytes.begin() + kCapacity : bytes.end()) {}

std::uint8_t EdidBlock::At(std::size_t offset) const {
    return offset < bytes_.size() ? bytes_[offset] : 0;
}

std::wstring EdidBlock::ManufacturerCode() const {
    const unsigned word = (unsigned{At(kManufacturer)} << 8) | At(kManufacturer + 1);
    std::wstring code;
    for (int shift : {10, 5, 0}) code += static_cast<wchar_t>(((word >> shift) & 0x1F) + 0x40);
    return code;
}

std::wstring EdidBlock::Identifier() const {
    std::wstring text;
    for (std::size_t offset = kManufacturer + 4; offset-- > kManufacturer;) {
        text += HexDigit(unsigned{At(offset)} >> 4);
        text += HexDigit(At(offset));
    }
    return text;
}

std::array<EdidBlock::Descriptor, 4> EdidBlock::Descriptors() const {
    std::array<Descriptor, 4> descriptors;
    for (std::size_t i = 0; i < descriptors.size(); ++i) {
        const std::size_t start = kFirstDescriptor + i * kDescriptorSize;
        Descriptor& descriptor = descriptors[i];
        descriptor.type = static_cast<std::int8_t>(At(start + 3));
        descriptor.isDisplay = At(start) == 0 && At(start + 1) == 0 && At(start + 2) == 0;
        if (!descriptor.isDisplay) continue;
        for (std::size_t offset = kTextOffset; offset < kDescriptorSize; ++offset) {
            const std::uint8_t byte = At(start + offset);
            if (byte == 0) break;
            descriptor.text += static_cast<char>(byte);
        }
    }
    return descriptors;
}

std::string EdidBlock::MonitorName() const {
    std::string name;
    for (const Descriptor& descriptor : Descriptors()) {
        if (descriptor.IsMonitorName()) name = descriptor.text;
    }
    const std::size_t end = name.find_last_not_of("\n ");
    name.erase(end == std::string::npos ? 0 : end + 1);
    return name;
}

std::wstring EdidBlock::HexText() const {
    std::wstring text;
    for (std::uint8_t byte : bytes_) {
        if (!text.empty()) text += L' ';
        text += HexDigit(unsigned{byte} >> 4);
        text += HexDigit(byte);
    }
    return text;
}

}  // namespace rigel
