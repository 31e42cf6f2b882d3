#include "values/device_id.h"

#include <cstddef>
#include <iomanip>
#include <istream>
#include <limits>
#include <locale>
#include <sstream>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/lexical_cast.hpp>

#include "diag/log.h"
#include "values/shared_text.h"

namespace rigel {
namespace {

constexpr std::uint32_t kSubsystemMask = 0xFFFF;
constexpr int kSubsystemShift = 16;
constexpr int kFamilyShift = 8;

// Target of the strict hexadecimal conversion: the whole text must be hexadecimal digits, at
// least one, with no white space, sign or "0x" prefix, and fit in 32 bits.
struct uint32_from_hex {
    std::uint32_t value = 0;
};

int HexDigit(std::wistream::int_type next) {
    using Traits = std::wistream::traits_type;
    if (Traits::eq_int_type(next, Traits::eof())) return -1;
    const wchar_t c = Traits::to_char_type(next);
    if (c >= L'0' && c <= L'9') return c - L'0';
    if (c >= L'a' && c <= L'f') return c - L'a' + 10;
    if (c >= L'A' && c <= L'F') return c - L'A' + 10;
    return -1;
}

// Reads the digits one by one: the stream's own hexadecimal reader would also take a sign and a
// "0x" prefix. What follows the digits is left in the stream, so that the conversion fails.
std::wistream& operator>>(std::wistream& in, uint32_from_hex& number) {
    constexpr std::uint32_t kLargestBeforeShift = std::numeric_limits<std::uint32_t>::max() >> 4;
    std::uint32_t value = 0;
    int digits = 0;
    for (int digit = HexDigit(in.peek()); digit >= 0; digit = HexDigit(in.peek())) {
        if (value > kLargestBeforeShift) {
            in.setstate(std::ios_base::failbit);
            return in;
        }
        value = (value << 4) | static_cast<std::uint32_t>(digit);
        ++digits;
        in.get();
    }
    if (digits == 0) {
        in.setstate(std::ios_base::failbit);
    } else {
        number.value = value;
    }
    return in;
}

std::uint32_t FromHex(const std::wstring& digits) {
    return boost::lexical_cast<uint32_from_hex>(digits).value;
}

// Walks a text from one "_" to the next, skipping runs of them; after a token it stands just past
// the "_" that ended it, or is exhausted when the token ran to the end of the text.
class Underscores {
  public:
    explicit Underscores(const std::wstring& text) : text_(text) {}

    // Takes the next token; the characters that follow it can then be read with Following.
    void Skip() {
        if (exhausted_) return;
        const std::size_t start = text_.find_first_not_of(L'_', position_);
        const std::size_t end =
            start == std::wstring::npos ? std::wstring::npos : text_.find(L'_', start);
        if (end == std::wstring::npos) {
            exhausted_ = true;
        } else {
            position_ = end + 1;
        }
    }

    // Up to `count` characters after the last token, or nothing when exhausted.
    std::wstring Following(std::size_t offset, std::size_t count) const {
        if (exhausted_ || position_ + offset >= text_.size()) return std::wstring();
        return text_.substr(position_ + offset, count);
    }

  private:
    const std::wstring& text_;
    std::size_t position_ = 0;
    bool exhausted_ = false;
};

std::wstring Hex(std::uint32_t number, int width) {
    std::wostringstream text;
    text.imbue(std::locale::classic());
    text << std::uppercase << std::hex << std::setfill(L'0') << std::setw(width) << number;
    return text.str();
}

const wchar_t* FieldText(SharedText::Slot slot, std::uint32_t number) {
    std::wstring& result = SharedText::For(slot);
    const std::wstring formatted = Hex(number, 4);
    result.assign(formatted);
    return result.c_str();
}

}  // namespace

DeviceID::DeviceID(std::uint32_t vendor, std::uint32_t device, std::uint32_t subsystem)
    : vendor_(vendor),
      device_(device),
      subsystemVendor_(subsystem & kSubsystemMask),
      subsystemDevice_(subsystem >> kSubsystemShift) {}

DeviceID::DeviceID(const std::wstring& text) { Parse(text); }

void DeviceID::Parse(const std::wstring& text) {
    try {
        const std::wstring lower = boost::algorithm::to_lower_copy(text, std::locale::classic());
        Underscores tokens(lower);
        tokens.Skip();
        const std::wstring vendor = tokens.Following(0, 4);
        tokens.Skip();
        const std::wstring device = tokens.Following(0, 4);
        tokens.Skip();
        const std::wstring subsystemDevice = tokens.Following(0, 4);
        const std::wstring subsystemVendor = tokens.Following(4, 4);
        tokens.Skip();
        const std::wstring revision = tokens.Following(0, 2);

        vendor_ = FromHex(vendor);
        device_ = FromHex(device);
        subsystemVendor_ = FromHex(subsystemVendor);
        subsystemDevice_ = FromHex(subsystemDevice);
        revision_ = FromHex(revision);
        Log::Instance().Line(Log::kTrace, L"Tokenized device id: ", device_);
    } catch (...) {
        Log::Instance().Line(Log::kWarning, L"Error while parsing device ID string: ", text);
    }
}

bool DeviceID::operator==(const DeviceID& other) const {
    return this == &other || (vendor_ == other.vendor_ && device_ == other.device_ &&
                              subsystemDevice_ == other.subsystemDevice_ &&
                              subsystemVendor_ == other.subsystemVendor_);
}

bool DeviceID::IsSameFamily(const DeviceID& other) const {
    return vendor_ == other.vendor_ && (device_ >> kFamilyShift) == (other.device_ >> kFamilyShift);
}

const wchar_t* DeviceID::VendorText() const {
    return FieldText(SharedText::kDeviceVendor, vendor_);
}

const wchar_t* DeviceID::DeviceText() const {
    return FieldText(SharedText::kDeviceDevice, device_);
}

const wchar_t* DeviceID::SubsystemVendorText() const {
    return FieldText(SharedText::kDeviceSubsystemVendor, subsystemVendor_);
}

const wchar_t* DeviceID::SubsystemDeviceText() const {
    return FieldText(SharedText::kDeviceSubsystemDevice, subsystemDevice_);
}

const wchar_t* DeviceID::ToString() {
    std::wstring& result = SharedText::For(SharedText::kDeviceID);
    try {
        const std::wstring formatted = L"VEN_" + Hex(vendor_, 4) + L"&DEV_" + Hex(device_, 4) +
                                       L"&SUBSYS_" + Hex(subsystemDevice_, 4) +
                                       Hex(subsystemVendor_, 4) + L"&REV_" + Hex(revision_, 2);
        result.assign(formatted);
    } catch (...) {  // NOLINT(bugprone-empty-catch): the buffer keeps its last complete text
    }
    return result.c_str();
}

}  // namespace rigel
