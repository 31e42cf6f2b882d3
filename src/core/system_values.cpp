#include "core/system_values.h"

#include <algorithm>
#include <cwctype>
#include <limits>
#include <utility>

#include "diag/log.h"
#include "diag/scope_trace.h"
#include "values/exists.h"
#include "values/name.h"
#include "values/value.h"

namespace rigel {
namespace {

constexpr std::uint32_t kIntelProcessorValue = 71256;
constexpr std::size_t kNone = std::wstring::npos;

// Positions in log lines are signed: a failed search reads -1.
long long Signed(std::size_t position) {
    return position == kNone ? -1 : static_cast<long long>(position);
}

std::wstring Widened(const char* text) {
    std::wstring wide;
    for (; *text != '\0'; ++text) wide += static_cast<wchar_t>(static_cast<unsigned char>(*text));
    return wide;
}

bool IsDelimiter(wchar_t c) {
    return c == L'<' || c == L'>' || c == L'=' || c == L' ' || c == L'\'' || c == L'"';
}

// The first token at or after start, accepted only when the position just after it plus one lies
// before end; any other token reads as empty. A token can only be accepted if it stops before
// end - 1, so the scan never looks further and stays within the current group.
std::wstring TokenAt(const std::wstring& text, std::size_t start, std::size_t end) {
    if (start + 1 >= end) return {};
    const std::size_t limit = end - 1;
    std::size_t first = start;
    while (first < limit && IsDelimiter(text[first])) ++first;
    std::size_t last = first;
    while (last < limit && !IsDelimiter(text[last])) ++last;
    if (last == limit) return {};
    return text.substr(first, last - first);
}

// A signed decimal number (leading white space, optional sign, digits; no digits gives 0) taken
// as unsigned 32-bit, so "-1" reads 4294967295. It is read with 64 bits so that every index the
// report writes, up to 4294967295, reads back unchanged.
std::uint32_t IndexOf(const std::wstring& text) {
    std::size_t pos = 0;
    while (pos < text.size() && std::iswspace(static_cast<std::wint_t>(text[pos]))) ++pos;
    bool negative = false;
    if (pos < text.size() && (text[pos] == L'+' || text[pos] == L'-')) {
        negative = text[pos] == L'-';
        ++pos;
    }
    const std::uint64_t limit =
        std::uint64_t{std::numeric_limits<std::int64_t>::max()} + (negative ? 1 : 0);
    std::uint64_t magnitude = 0;
    for (; pos < text.size() && text[pos] >= L'0' && text[pos] <= L'9'; ++pos) {
        const auto digit = static_cast<std::uint64_t>(text[pos] - L'0');
        magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
    }
    return static_cast<std::uint32_t>(negative ? 0 - magnitude : magnitude);
}

// The next occurrence of a pattern at or after a position that only moves forward. It remembers
// its last answer, so each pattern is searched through the configuration about once however
// many groups there are.
class ForwardSearch {
  public:
    ForwardSearch(const std::wstring& text, const wchar_t* pattern)
        : text_(text), pattern_(pattern) {}

    std::size_t From(std::size_t pos) {
        if (pos < from_ || (found_ != kNone && found_ < pos)) {
            from_ = pos;
            found_ = text_.find(pattern_, pos);
        }
        return found_;
    }

  private:
    const std::wstring& text_;
    const wchar_t* pattern_;
    // Nothing searched yet: every position is before from_.
    std::size_t from_ = kNone;
    std::size_t found_ = kNone;
};

}  // namespace

void SystemValues::AddValue(SystemValue value) {
    Log& log = Log::Instance();
    if (log.IsEnabled(Log::kTrace)) {
        log.WriteLine(Log::kTrace, L"Adding value: ", value.text, L" to ", value.id.ToString());
    }
    if (Exists(value.id)) {
        ReplaceValue(value);
        return;
    }
    values_.push_back(std::move(value));
    try {
        const SystemValueID& id = values_.back().id;
        index_.Insert(id.group.GetNumber(), id.index, values_.size() - 1);
    } catch (...) {
        values_.pop_back();
        throw;
    }
}

void SystemValues::AddValue(std::uint32_t number, const std::wstring& text) {
    AddValue(SystemValue(SystemValueID(GroupID(number), 0), text));
}

void SystemValues::AddValue(std::uint32_t number, const Name& name) {
    // ToString is not const, so the text comes from a copy.
    Name copy(name);
    AddValue(number, static_cast<Value&>(copy));
}

void SystemValues::AddValue(std::uint32_t number, Value& value) { AddValue(number, 0, value); }

void SystemValues::AddValue(std::uint32_t number, std::uint32_t index, Value& value) {
    AddValue(SystemValue(SystemValueID(GroupID(number), index), value));
}

void SystemValues::AddValue(std::uint32_t number, std::uint32_t index, const std::wstring& text) {
    AddValue(SystemValue(SystemValueID(GroupID(number), index), text));
}

void SystemValues::AddValue(std::uint32_t number, const wchar_t* text) {
    AddValue(number, text == nullptr ? std::wstring() : std::wstring(text));
}

bool SystemValues::Exists(const SystemValueID& id) const {
    return Guarded(Lookup::kExists, id, [&] { return Find(id) != values_.size(); });
}

bool SystemValues::ReplaceValue(const SystemValue& value) {
    return Guarded(Lookup::kReplaceValue, value.id, [&] {
        const std::size_t pos = Find(value.id);
        if (pos == values_.size()) return false;
        values_[pos] = value;
        return true;
    });
}

bool SystemValues::TryGetValue(const SystemValueID& id, SystemValue& out) const {
    return Guarded(Lookup::kTryGetValue, id, [&] {
        const std::size_t pos = Find(id);
        if (pos == values_.size()) return false;
        out = values_[pos];
        return true;
    });
}

SystemValue SystemValues::GetValue(const SystemValueID& id) const {
    const std::size_t pos = Find(id);
    if (pos == values_.size()) {
        throw Exception(L"Value " + id.ToString() + L" not present.",
                        L"rigel::SystemValues::GetValue");
    }
    return values_[pos];
}

bool SystemValues::IsIntelCPU() const {
    ScopeTrace trace(L"rigel::SystemValues::IsIntelCPU");
    SystemValue found(SystemValueID(GroupID(kIntelProcessorValue), 0), std::wstring());
    if (!TryGetValue(found.id, found)) return false;
    Log::Instance().Line(Log::kTrace, L"Is Intel = ", found.text);
    return rigel::Exists(found.text).Get();
}

void SystemValues::AddValues(const std::wstring& configuration) {
    Log& log = Log::Instance();
    log.Line(Log::kTrace, L"values = ", configuration);
    std::size_t pos = configuration.find(L"<groups>");
    if (pos == kNone) return;

    ForwardSearch groupStart(configuration, L"<group ");
    ForwardSearch idAttribute(configuration, L"id");
    ForwardSearch indexAttribute(configuration, L"index");
    ForwardSearch valueStart(configuration, L"<value>");
    ForwardSearch valueEnd(configuration, L"</value>");
    ForwardSearch groupEnd(configuration, L"</group>");
    constexpr std::size_t kIdLength = 2;
    constexpr std::size_t kIndexLength = 5;
    constexpr std::size_t kValueTagLength = 7;
    constexpr std::size_t kGroupEndLength = 8;

    for (;;) {
        const std::size_t group = groupStart.From(pos);
        log.Line(Log::kTrace, L"pos = ", Signed(group));
        if (group == kNone) return;

        // The attributes and the value are searched from pos, not from the group's start.
        const std::size_t idPos = idAttribute.From(pos);
        log.Line(Log::kTrace, L"id pos= ", Signed(idPos));
        const std::size_t indexPos = indexAttribute.From(pos);
        const std::size_t valuePos = valueStart.From(pos);
        const std::size_t end = groupEnd.From(pos);
        if (end == kNone || end == 0) return;

        const std::wstring idText = idPos != kNone && idPos > 0
                                        ? TokenAt(configuration, idPos + kIdLength, end)
                                        : std::wstring();
        const std::wstring indexText = indexPos != kNone && indexPos > 0
                                           ? TokenAt(configuration, indexPos + kIndexLength, end)
                                           : std::wstring();
        // Not bounded by the group: a group without a value element takes the next one's text.
        std::wstring valueText;
        if (valuePos != kNone && valuePos >= 1) {
            const std::size_t first = valuePos + kValueTagLength;
            const std::size_t last = valueEnd.From(first);
            if (last != kNone) valueText = configuration.substr(first, last - first);
        }
        log.Line(Log::kTrace, L"id = ", idText, L" ", valueText);

        if (!idText.empty()) {
            AddValue(SystemValue(SystemValueID(GroupID(idText), IndexOf(indexText)), valueText));
        }
        pos = end + kGroupEndLength;
    }
}

Exception SystemValues::LookupFailure(Lookup lookup, const SystemValueID& id,
                                      const std::exception& failure) {
    const wchar_t* action = L" while trying to find value: ";
    const wchar_t* place = L"rigel::SystemValues::Exists";
    if (lookup == Lookup::kReplaceValue) {
        place = L"rigel::SystemValues::ReplaceValue";
    } else if (lookup == Lookup::kTryGetValue) {
        action = L" while trying to get value: ";
        place = L"rigel::SystemValues::TryGetValue";
    }
    return Exception(L"Error: \"" + Widened(failure.what()) + L"\"" + action + id.ToString() + L".",
                     place);
}

std::size_t SystemValues::Find(const SystemValueID& id) const {
    const std::size_t position = index_.Find(id.group.GetNumber(), id.index);
    return position == ValueIndex::kNone ? values_.size() : position;
}

}  // namespace rigel
