#include "diag/log.h"

#include <iomanip>
#include <locale>
#include <sstream>

#include "os/clock.h"
#include "os/services.h"

namespace rigel {
namespace {

Log* instance = nullptr;

const wchar_t* LevelName(int level) {
    switch (level) {
        case Log::kError:
            return L"ERR";
        case Log::kWarning:
            return L"WARN";
        case Log::kTrace:
            return L"TRACE";
        case Log::kMark:
            return L"MARK";
        case Log::kDump:
            return L"DUMP";
        default:
            return L"";
    }
}

std::wstring TwoDigits(int number) {
    std::wostringstream text;
    text.imbue(std::locale::classic());
    text << std::setw(2) << std::setfill(L'0') << number;
    return text.str();
}

std::wstring TimeText(const os::TimeOfDay& time) {
    return TwoDigits(time.hour) + L":" + TwoDigits(time.minute) + L":" + TwoDigits(time.second);
}

}  // namespace

Log& Log::Instance() {
    // Created on first use and never destroyed: components may log until the process ends.
    if (instance == nullptr) instance = new Log();
    return *instance;
}

void Log::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

Log::Log() : std::wostream(nullptr) {
    rdbuf(&buffer_);
    imbue(std::locale::classic());
}

void Log::SetLevel(int level) { level_ = level < kMaxLevel ? level : kMaxLevel; }

void Log::Indent() {
    if (indent_ < kMaxIndent) ++indent_;
}

void Log::Outdent() {
    if (indent_ > 0) --indent_;
}

const std::wstring& Log::Prefix(int level) {
    std::wstring elapsed;
    os::Clock& clock = *os::Current().clock;
    if (firstTick_ == 0) {
        firstTick_ = clock.TickCount();
        elapsed = L"0";
    } else {
        std::wostringstream seconds;
        seconds.imbue(std::locale::classic());
        seconds << static_cast<double>(clock.TickCount() - firstTick_) / 1000.0;
        elapsed = seconds.str();
    }

    std::wostringstream line;
    line.imbue(std::locale::classic());
    line.flags(std::ios::left | std::ios::fixed);
    line << TimeText(clock.LocalTime()) << L"  " << std::setw(6) << std::setfill(L'0') << elapsed
         << L"  " << std::setw(5) << std::setfill(L' ') << LevelName(level) << L" | ";
    for (int i = 0; i < indent_; ++i) line << L". ";
    prefix_ = line.str();
    return prefix_;
}

}  // namespace rigel
