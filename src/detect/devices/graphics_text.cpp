#include "detect/devices/graphics_text.h"

#include <locale>
#include <sstream>

namespace rigel {

std::wstring DriverVersionText(std::uint32_t high, std::uint32_t low) {
    return std::to_wstring(high >> 16) + L"." + std::to_wstring(high & 0xFFFF) + L"." +
           std::to_wstring(low >> 16) + L"." + std::to_wstring(low & 0xFFFF);
}

std::wstring ShaderVersionText(std::uint32_t version) {
    return std::to_wstring((version >> 8) & 0xFF) + L"." + std::to_wstring(version & 0xFF);
}

std::wstring ShaderProfileVersion(const std::string& profile) {
    std::wstring version;
    for (std::size_t i = 3; i < profile.size(); ++i) {
        version += profile[i] == '_' ? L'.' : static_cast<wchar_t>(profile[i]);
    }
    return version;
}

std::wstring DisplayMemoryText(const std::wstring& text) {
    std::wistringstream input(text);
    input.imbue(std::locale::classic());
    double megabytes = 0;
    if (!(input >> megabytes)) return std::wstring();
    // The provider reports a little less than the installed memory when some is reserved.
    for (double power = 2; power <= 1024; power *= 2) {
        if (megabytes < power && power <= megabytes + 4) {
            megabytes = power;
            break;
        }
    }
    std::wostringstream output;
    output.imbue(std::locale::classic());
    output << megabytes << L" MB";
    return output.str();
}

}  // namespace rigel
