// cpuprobe: a stand-in for the elevated probe program, for tests only (never shipped).
//
// Leaves the text of "cpuprobe.txt" (UTF-8, beside this program) in the named shared memory
// "INTEL_VEGAPROBE_DRIVER" that the client created, as UTF-16 text of at most 999 characters
// followed by its terminator, and exits. The client passes no arguments, so the test chooses
// the key|value text through the file. Exit codes: 0 written, 2 no text file, 3 no shared memory.

#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "os/unique_handle.h"

namespace {

constexpr DWORD kBlockBytes = 2000;
constexpr int kNoText = 2;
constexpr int kNoBlock = 3;

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using UniqueHandle = rigel::os::UniqueHandle<HANDLE, HandleCloser>;

struct ViewUnmapper {
    void operator()(void* view) const { UnmapViewOfFile(view); }
};
using UniqueView = rigel::os::UniqueHandle<void*, ViewUnmapper>;

std::wstring OwnFolder() {
    std::vector<wchar_t> path(32768, L'\0');
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    std::wstring folder(path.data(), length);
    return folder.substr(0, folder.rfind(L'\\') + 1);
}

bool ReadText(const std::wstring& file, std::wstring& text) {
    FILE* stream = _wfopen(file.c_str(), L"rb");
    if (stream == nullptr) return false;
    std::string bytes;
    char chunk[512];
    for (size_t count; (count = std::fread(chunk, 1, sizeof(chunk), stream)) > 0;) {
        bytes.append(chunk, count);
    }
    std::fclose(stream);
    const int units =
        MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
    text.assign(static_cast<size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(),
                        units);
    return true;
}

}  // namespace

int main() {
    std::wstring text;
    if (!ReadText(OwnFolder() + L"cpuprobe.txt", text)) return kNoText;
    const UniqueHandle block(OpenFileMappingW(FILE_MAP_WRITE, FALSE, L"INTEL_VEGAPROBE_DRIVER"),
                             HandleCloser());
    if (!block) return kNoBlock;
    const UniqueView view(MapViewOfFile(block.get(), FILE_MAP_WRITE, 0, 0, kBlockBytes),
                          ViewUnmapper());
    if (!view) return kNoBlock;
    const size_t limit = kBlockBytes / sizeof(wchar_t) - 1;
    if (text.size() > limit) text.resize(limit);
    text.push_back(L'\0');
    CopyMemory(view.get(), text.data(), text.size() * sizeof(wchar_t));
    return 0;
}
