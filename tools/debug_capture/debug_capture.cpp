// debug_capture [--timeout=SECONDS] OUTFILE PROGRAM [ARGS...]
//
// Runs PROGRAM as a debuggee and writes every debugger output string it produces to OUTFILE as
// UTF-8, in order and unchanged; the program's console output goes where ours goes. Exits with
// the program's exit code, or 125 when this tool itself fails and 124 when the program outlives
// the time limit (it is then terminated). A debugger is the one capture that works for any
// process under Wine: its OutputDebugStringW arrives here as narrow text in the ANSI code page.

#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "os/unique_handle.h"

namespace {

constexpr int kToolFailure = 125;
constexpr int kTimedOut = 124;
constexpr DWORD kDefaultTimeoutSeconds = 600;
// How long one wait for a debug event may block before the time limit is checked again.
constexpr DWORD kPollMilliseconds = 200;
// Longer strings are cut: the control's lines are far shorter.
constexpr DWORD kMaxStringUnits = 1 << 20;

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using UniqueHandle = rigel::os::UniqueHandle<HANDLE, HandleCloser>;

struct ArgvFreer {
    void operator()(wchar_t** argv) const { LocalFree(argv); }
};
using UniqueArgv = rigel::os::UniqueHandle<wchar_t**, ArgvFreer>;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = rigel::os::UniqueHandle<std::FILE*, FileCloser>;

void Fail(const wchar_t* what, DWORD error) {
    std::fwprintf(stderr, L"debug_capture: %ls (error %lu)\n", what, error);
}

// Quotes one argument so that the child's C runtime splits it back into the same text.
std::wstring Quote(const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos) {
        return argument;
    }
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (wchar_t c : argument) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        // Backslashes count double only in front of a quote.
        quoted.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
        backslashes = 0;
        quoted += c;
    }
    quoted.append(2 * backslashes, L'\\');
    quoted += L'"';
    return quoted;
}

std::string Utf8(const std::wstring& text) {
    if (text.empty()) return std::string();
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                         nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), size,
                        nullptr, nullptr);
    return bytes;
}

std::wstring FromAnsi(const std::string& bytes) {
    if (bytes.empty()) return std::wstring();
    const int size =
        MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(), size);
    return text;
}

// The string's length includes its terminator; the text ends at the first null either way.
std::wstring ReadDebugString(HANDLE process, const OUTPUT_DEBUG_STRING_INFO& info) {
    const DWORD units =
        info.nDebugStringLength < kMaxStringUnits ? info.nDebugStringLength : kMaxStringUnits;
    if (units == 0) return std::wstring();
    SIZE_T read = 0;
    if (info.fUnicode != 0) {
        std::wstring text(units, L'\0');
        if (!ReadProcessMemory(process, info.lpDebugStringData, text.data(),
                               units * sizeof(wchar_t), &read)) {
            return std::wstring();
        }
        text.resize(read / sizeof(wchar_t));
        return text.substr(0, text.find(L'\0'));
    }
    std::string bytes(units, '\0');
    if (!ReadProcessMemory(process, info.lpDebugStringData, bytes.data(), units, &read)) {
        return std::wstring();
    }
    bytes.resize(read);
    return FromAnsi(bytes.substr(0, bytes.find('\0')));
}

struct Options {
    DWORD timeoutSeconds = kDefaultTimeoutSeconds;
    std::wstring output;
    std::wstring commandLine;
};

bool ParseArguments(int argc, wchar_t** argv, Options& options) {
    int next = 1;
    const std::wstring timeoutOption = L"--timeout=";
    if (next < argc && std::wstring(argv[next]).rfind(timeoutOption, 0) == 0) {
        options.timeoutSeconds =
            static_cast<DWORD>(std::wcstoul(argv[next] + timeoutOption.size(), nullptr, 10));
        ++next;
    }
    if (argc - next < 2) return false;
    options.output = argv[next++];
    for (; next < argc; ++next) {
        if (!options.commandLine.empty()) options.commandLine += L' ';
        options.commandLine += Quote(argv[next]);
    }
    return options.timeoutSeconds > 0;
}

class Debugger {
  public:
    explicit Debugger(std::FILE* output) : output_(output) {}

    // Runs the event loop until the debuggee exits or the deadline passes.
    int Run(const PROCESS_INFORMATION& process, DWORD timeoutSeconds) {
        const ULONGLONG deadline = GetTickCount64() + ULONGLONG{timeoutSeconds} * 1000;
        for (;;) {
            if (GetTickCount64() >= deadline) {
                TerminateProcess(process.hProcess, kTimedOut);
                std::fwprintf(stderr, L"debug_capture: time limit of %lu s reached\n",
                              timeoutSeconds);
                // Let the terminated debuggee's last events pass, boundedly, so it can go.
                DrainAfterTermination();
                return kTimedOut;
            }
            DEBUG_EVENT event{};
            if (!WaitForDebugEvent(&event, kPollMilliseconds)) continue;
            DWORD continueStatus = DBG_CONTINUE;
            bool exited = false;
            switch (event.dwDebugEventCode) {
                case CREATE_PROCESS_DEBUG_EVENT:
                    if (event.u.CreateProcessInfo.hFile != nullptr) {
                        CloseHandle(event.u.CreateProcessInfo.hFile);
                    }
                    break;
                case LOAD_DLL_DEBUG_EVENT:
                    if (event.u.LoadDll.hFile != nullptr) CloseHandle(event.u.LoadDll.hFile);
                    break;
                case OUTPUT_DEBUG_STRING_EVENT:
                    Write(ReadDebugString(process.hProcess, event.u.DebugString));
                    break;
                case EXCEPTION_DEBUG_EVENT:
                    continueStatus = ExceptionStatus(event.u.Exception);
                    break;
                case EXIT_PROCESS_DEBUG_EVENT:
                    exitCode_ = static_cast<int>(event.u.ExitProcess.dwExitCode);
                    exited = true;
                    break;
                default:
                    break;
            }
            ContinueDebugEvent(event.dwProcessId, event.dwThreadId, continueStatus);
            if (exited) return exitCode_;
        }
    }

  private:
    // The loader's breakpoint at start is ours to pass; every other exception is the program's.
    DWORD ExceptionStatus(const EXCEPTION_DEBUG_INFO& info) {
        if (!sawInitialBreakpoint_ &&
            info.ExceptionRecord.ExceptionCode == static_cast<DWORD>(EXCEPTION_BREAKPOINT)) {
            sawInitialBreakpoint_ = true;
            return DBG_CONTINUE;
        }
        if (info.dwFirstChance == 0) {
            // The program is about to die of it: say where, since its exit code alone hides it.
            std::fwprintf(stderr, L"debug_capture: unhandled exception 0x%08lX at %p\n",
                          static_cast<unsigned long>(info.ExceptionRecord.ExceptionCode),
                          info.ExceptionRecord.ExceptionAddress);
        }
        return static_cast<DWORD>(DBG_EXCEPTION_NOT_HANDLED);
    }

    void Write(const std::wstring& text) {
        const std::string bytes = Utf8(text);
        std::fwrite(bytes.data(), 1, bytes.size(), output_);
        // Whatever was captured survives a crash of either process.
        std::fflush(output_);
    }

    static void DrainAfterTermination() {
        const ULONGLONG deadline = GetTickCount64() + 5000;
        while (GetTickCount64() < deadline) {
            DEBUG_EVENT event{};
            if (!WaitForDebugEvent(&event, kPollMilliseconds)) continue;
            if (event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT &&
                event.u.CreateProcessInfo.hFile != nullptr) {
                CloseHandle(event.u.CreateProcessInfo.hFile);
            }
            if (event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT &&
                event.u.LoadDll.hFile != nullptr) {
                CloseHandle(event.u.LoadDll.hFile);
            }
            ContinueDebugEvent(event.dwProcessId, event.dwThreadId, DBG_CONTINUE);
            if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) return;
        }
    }

    std::FILE* output_;
    bool sawInitialBreakpoint_ = false;
    int exitCode_ = 0;
};

}  // namespace

int main() {
    int argc = 0;
    const UniqueArgv argv(CommandLineToArgvW(GetCommandLineW(), &argc), ArgvFreer{});
    Options options;
    if (!argv || !ParseArguments(argc, argv.get(), options)) {
        std::fwprintf(stderr,
                      L"usage: debug_capture [--timeout=SECONDS] OUTFILE PROGRAM [ARGS...]\n");
        return kToolFailure;
    }

    const UniqueFile output(_wfopen(options.output.c_str(), L"wb"), FileCloser{});
    if (!output) {
        Fail(L"cannot open the output file", GetLastError());
        return kToolFailure;
    }

    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    std::vector<wchar_t> commandLine(options.commandLine.begin(), options.commandLine.end());
    commandLine.push_back(L'\0');
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                        DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr, &startup, &process)) {
        Fail(L"cannot start the program", GetLastError());
        return kToolFailure;
    }
    const UniqueHandle processHandle(process.hProcess, HandleCloser{});
    const UniqueHandle threadHandle(process.hThread, HandleCloser{});

    return Debugger(output.get()).Run(process, options.timeoutSeconds);
}
