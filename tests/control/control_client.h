// What a C++ client of the control DLL needs: the DLL loaded without registration (the one named
// by RIGEL_CONTROL_DLL), objects made through its class factory, the control's log captured from
// its debugger output, and small helpers for the scripting members.

#pragma once

#include <windows.h>

#include <objbase.h>
#include <objsafe.h>
#include <ocidl.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "control/unique_bstr.h"
#include "detection.h"

// MinGW's objsafe.h declares no __uuidof for this interface.
__CRT_UUID_DECL(IObjectSafety, 0xcb5bdc81, 0x93c1, 0x11cf, 0x8f, 0x20, 0x00, 0x80, 0x5f, 0x2c, 0xd0,
                0x64)

namespace rigel {

using Microsoft::WRL::ComPtr;

// ---- The DLL --------------------------------------------------------------------------------

// The control DLL, loaded once for the whole program (its session lives as long as the process).
struct Control {
    static const Control& Get() {
        static const Control control;
        return control;
    }

    // Calls an export of the DLL with the given parameter types.
    template <typename... Parameters, typename... Arguments>
    HRESULT Call(const char* name, Arguments&&... arguments) const {
        using Function = HRESULT(STDAPICALLTYPE*)(Parameters...);
        const auto function =
            reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
        return function(std::forward<Arguments>(arguments)...);
    }
    HRESULT CanUnloadNow() const { return Call("DllCanUnloadNow"); }

    HMODULE module = nullptr;
    std::wstring path;

  private:
    Control() {
        std::wstring file = L"Z:" RIGEL_CONTROL_DLL;
        std::replace(file.begin(), file.end(), L'/', L'\\');
        module = LoadLibraryW(file.c_str());
        wchar_t buffer[MAX_PATH] = {};
        if (module != nullptr) path.assign(buffer, GetModuleFileNameW(module, buffer, MAX_PATH));
    }
};

inline HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out) {
    return Control::Get().Call<REFCLSID, REFIID, void**>("DllGetClassObject", clsid, iid, out);
}

inline ComPtr<IClassFactory> Factory() {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(GetClassObject(CLSID_SysInfo, IID_PPV_ARGS(&factory)), S_OK);
    return factory;
}

inline ComPtr<ISysInfo> NewSysInfo() {
    ComPtr<ISysInfo> object;
    EXPECT_EQ(Factory()->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
    return object;
}

// ---- Debugger output ------------------------------------------------------------------------

// The control logs through OutputDebugString, which raises these exceptions (Wine raises the
// narrow one only); a vectored handler sees them before the system's default handling.
inline constexpr DWORD kDebugPrint = 0x40010006;
inline constexpr DWORD kDebugPrintWide = 0x4001000A;

inline std::vector<std::wstring>& DebugLines() {
    static std::vector<std::wstring> lines;
    return lines;
}

inline LONG CALLBACK CaptureDebugOutput(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.NumberParameters < 2) return EXCEPTION_CONTINUE_SEARCH;
    if (record.ExceptionCode == kDebugPrint) {
        std::wstring line;
        for (auto* text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
             *text != '\0'; ++text) {
            line += static_cast<wchar_t>(static_cast<unsigned char>(*text));
        }
        DebugLines().push_back(line);
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    if (record.ExceptionCode == kDebugPrintWide) {
        DebugLines().emplace_back(reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]));
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

using LogLine = std::pair<std::wstring, std::wstring>;  // level name, message

// The log lines written from its construction on.
class LogCapture {
  public:
    LogCapture() { DebugLines().clear(); }

    std::vector<LogLine> Lines() const {
        std::vector<LogLine> lines;
        for (std::wstring text : DebugLines()) {
            while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r')) text.pop_back();
            const std::size_t bar = text.find(L" | ");
            if (bar == std::wstring::npos) continue;
            // The level name, padded to five characters, ends the prefix.
            std::wstring prefix = text.substr(0, bar);
            prefix.erase(prefix.find_last_not_of(L' ') + 1);
            std::wstring message = text.substr(bar + 3);
            while (message.compare(0, 2, L". ") == 0) message.erase(0, 2);
            lines.emplace_back(prefix.substr(prefix.find_last_of(L' ') + 1), message);
        }
        return lines;
    }

    bool Has(const std::wstring& level, const std::wstring& message) const {
        const std::vector<LogLine> lines = Lines();
        return std::find(lines.begin(), lines.end(), LogLine(level, message)) != lines.end();
    }

    // Position of the first line with the message, or the number of lines when there is none.
    std::size_t Position(const std::wstring& message) const {
        std::size_t position = 0;
        for (const LogLine& line : Lines()) {
            if (line.second == message) break;
            ++position;
        }
        return position;
    }
    bool Logged(const std::wstring& message) const { return Position(message) < Lines().size(); }
};

// ---- Small helpers --------------------------------------------------------------------------

template <typename Getter>
inline std::wstring Read(Getter getter) {
    UniqueBstr value;
    EXPECT_EQ(getter(value.out()), S_OK);
    return UniqueBstr::Text(value.get());
}

inline std::wstring Get(const ComPtr<ISysInfo>& object,
                        HRESULT (STDMETHODCALLTYPE ISysInfo::*getter)(BSTR*)) {
    return Read([&](BSTR* value) { return (object.Get()->*getter)(value); });
}

inline void Put(const ComPtr<ISysInfo>& object, HRESULT (STDMETHODCALLTYPE ISysInfo::*setter)(BSTR),
                const std::wstring& text) {
    const UniqueBstr value(text);
    EXPECT_EQ((object.Get()->*setter)(value.get()), S_OK);
}

template <typename Interface>
inline ComPtr<Interface> As(const ComPtr<ISysInfo>& object) {
    ComPtr<Interface> result;
    EXPECT_EQ(object.As(&result), S_OK);
    return result;
}

inline std::wstring GuidText(REFGUID guid) {
    wchar_t text[40] = {};
    StringFromGUID2(guid, text, 40);
    return text;
}

// What an object's IObjectSafety reports for an interface.
struct Safety {
    DWORD supported = 0;
    DWORD enabled = 0;
    bool operator==(const Safety& other) const {
        return supported == other.supported && enabled == other.enabled;
    }
};

inline Safety SafetyOf(const ComPtr<ISysInfo>& object, REFIID iid = IID_IDispatch) {
    Safety safety;
    EXPECT_EQ(As<IObjectSafety>(object)->GetInterfaceSafetyOptions(iid, &safety.supported,
                                                                   &safety.enabled),
              S_OK);
    return safety;
}

inline HRESULT SetSafety(const ComPtr<ISysInfo>& object, DWORD mask, DWORD enabled) {
    return As<IObjectSafety>(object)->SetInterfaceSafetyOptions(IID_IDispatch, mask, enabled);
}

// Runs the program's tests in a single-threaded apartment, with the control's log captured.
inline int RunControlClientTests(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    AddVectoredExceptionHandler(1, CaptureDebugOutput);
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const int result = RUN_ALL_TESTS();
    CoUninitialize();
    return result;
}

}  // namespace rigel
