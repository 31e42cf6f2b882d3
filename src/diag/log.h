#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "diag/log_buf.h"

namespace rigel {

// The process-wide log: lines go to the debugger output, each with a prefix of time, elapsed
// seconds, level name and trace indent. A line is written only when its level is at most the
// current level, which starts at 0 (nothing) and is capped at 7.
class Log : public std::wostream {
  public:
    enum Level : int { kError = 1, kWarning = 2, kTrace = 3, kMark = 4, kDump = 5 };
    static constexpr int kMaxLevel = 7;
    static constexpr int kMaxIndent = 10;

    static Log& Instance();

    bool IsEnabled(int level) const { return level <= level_; }
    void SetLevel(int level);
    int GetLevel() const { return level_; }

    // The prefix of a line of the given level. The text lives in a buffer shared by all calls.
    const std::wstring& Prefix(int level);

    void Indent();
    void Outdent();

    // Writes one line (prefix, parts, line feed, flush) when the level is enabled; formats
    // nothing otherwise.
    template <typename... Parts>
    void Line(int level, const Parts&... parts) {
        if (!IsEnabled(level)) return;
        WriteLine(level, parts...);
    }

    // Writes one line with the prefix of the given level without testing the level.
    template <typename... Parts>
    void WriteLine(int level, const Parts&... parts) {
        *this << Prefix(level);
        (*this << ... << parts);
        *this << std::endl;
    }

    // Drops the instance so that a test starts from a fresh log (the product never calls it).
    static void DestroyInstanceForTesting();

  private:
    Log();

    LogBuf buffer_;
    int level_ = 0;
    int indent_ = 0;
    std::uint32_t firstTick_ = 0;
    std::wstring prefix_;
};

}  // namespace rigel
