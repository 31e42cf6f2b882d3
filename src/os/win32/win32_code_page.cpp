#include "os/win32/win32_code_page.h"

#include <windows.h>

namespace rigel::os {

std::wstring Win32CodePage::ThreadAnsiToWide(const std::string& bytes) {
    if (bytes.empty()) return std::wstring();
    const int length = static_cast<int>(bytes.size());
    const int needed = MultiByteToWideChar(CP_THREAD_ACP, 0, bytes.data(), length, nullptr, 0);
    if (needed <= 0) return std::wstring();
    std::wstring text(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(CP_THREAD_ACP, 0, bytes.data(), length, text.data(), needed);
    return text;
}

}  // namespace rigel::os
