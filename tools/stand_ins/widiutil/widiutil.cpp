// A stand-in for the wireless display information library "widiutil.dll", for tests only. It
// exports the four functions the control calls and answers with results the test chooses in the
// environment variable RIGEL_WIDI_STAND_IN, read at every call, for example
//
//   GetPlatform=0,0;GetProduct=0,1;GetWiDiVersion=0,3,0,0,0;GetWidgitVersion=5
//
// Each entry is an export's name, its status and then its output values in order. An export
// without an entry fails with status 1 and writes nothing; outputs not given are written as 0.

#include <windows.h>

#include <cstdint>
#include <cwchar>
#include <string>

namespace {

constexpr std::int32_t kNotChosen = 1;
constexpr int kMaxOutputs = 4;

struct Result {
    std::int32_t status = kNotChosen;
    std::int32_t outputs[kMaxOutputs] = {0, 0, 0, 0};
    int count = 0;
};

std::wstring Chosen() {
    wchar_t buffer[1024] = {};
    const DWORD length = GetEnvironmentVariableW(L"RIGEL_WIDI_STAND_IN", buffer, 1024);
    return length > 0 && length < 1024 ? std::wstring(buffer, length) : std::wstring();
}

// The numbers after "name=" in the chosen text, up to the next ";".
Result ResultOf(const wchar_t* name) {
    Result result;
    const std::wstring chosen = L";" + Chosen();
    const std::wstring wanted = std::wstring(L";") + name + L"=";
    const std::size_t found = chosen.find(wanted);
    if (found == std::wstring::npos) return result;
    const wchar_t* cursor = chosen.c_str() + found + wanted.size();
    wchar_t* end = nullptr;
    result.status = static_cast<std::int32_t>(std::wcstol(cursor, &end, 10));
    while (*end == L',' && result.count < kMaxOutputs) {
        cursor = end + 1;
        result.outputs[result.count++] = static_cast<std::int32_t>(std::wcstol(cursor, &end, 10));
    }
    return result;
}

std::int32_t Version(const wchar_t* name, std::int32_t* a, std::int32_t* b, std::int32_t* c,
                     std::int32_t* d) {
    const Result result = ResultOf(name);
    if (result.status == kNotChosen) return result.status;
    *a = result.outputs[0];
    *b = result.outputs[1];
    *c = result.outputs[2];
    *d = result.outputs[3];
    return result.status;
}

std::int32_t Value(const wchar_t* name, std::uint32_t* value) {
    const Result result = ResultOf(name);
    if (result.status == kNotChosen) return result.status;
    *value = static_cast<std::uint32_t>(result.outputs[0]);
    return result.status;
}

}  // namespace

extern "C" {

__declspec(dllexport) std::int32_t GetPlatform(std::uint32_t* value) {
    return Value(L"GetPlatform", value);
}

__declspec(dllexport) std::int32_t GetProduct(std::uint32_t* value) {
    return Value(L"GetProduct", value);
}

__declspec(dllexport) std::int32_t
    GetWiDiVersion(std::int32_t* a, std::int32_t* b, std::int32_t* c, std::int32_t* d) {
    return Version(L"GetWiDiVersion", a, b, c, d);
}

__declspec(dllexport) std::int32_t
    GetWidgitVersion(std::int32_t* a, std::int32_t* b, std::int32_t* c, std::int32_t* d) {
    return Version(L"GetWidgitVersion", a, b, c, d);
}
}
