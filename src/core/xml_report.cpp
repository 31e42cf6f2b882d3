#include "core/xml_report.h"

#include <cstdint>
#include <cwctype>
#include <exception>
#include <type_traits>

#include "core/system.h"
#include "core/system_values.h"
#include "diag/scope_trace.h"
#include "values/shared_text.h"

namespace rigel {
namespace {

// The computer identifier and the two server-edition flags go out whatever the referrer wants.
bool IsAlwaysReported(const GroupID& group) {
    const std::uint64_t number = group.GetNumber();
    return number == 71207 || number == 71465 || number == 71466;
}

void AppendDecimal(std::wstring& out, std::uint32_t number) {
    wchar_t digits[10];
    std::size_t count = 0;
    do {
        digits[count++] = static_cast<wchar_t>(L'0' + number % 10);
        number /= 10;
    } while (number != 0);
    while (count > 0) out += digits[--count];
}

// Characters that XML 1.0 forbids or discourages become "?".
wchar_t Allowed(wchar_t c) {
    // On Linux wchar_t is a signed 32-bit code point; no negative one is listed.
    const auto code = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<wchar_t>>(c));
    const bool forbidden = (code < 32 && code != 9 && code != 10 && code != 13) ||
                           (code >= 127 && code <= 159 && code != 133) ||
                           (code >= 0xD800 && code <= 0xDFFF) ||
                           (code >= 0xFDD0 && code <= 0xFDEF) || code == 0xFFFE || code == 0xFFFF;
    return forbidden ? L'?' : c;
}

// Enough for the report unless many characters need escaping, so that a large report is
// written into one buffer instead of being copied through ever larger ones.
std::size_t EstimatedSize(const SystemValues& values) {
    constexpr std::size_t kMarkup = 64;  // tags, attributes and the index of one entry
    std::size_t size = kMarkup;
    for (const SystemValue& entry : values.Values()) {
        size += kMarkup + entry.id.group.GetText().size() + entry.text.size();
    }
    return size;
}

bool IsSpace(wchar_t c) { return std::iswspace(static_cast<std::wint_t>(c)) != 0; }

// The four steps in one pass: replace forbidden characters, trim, collapse blanks, escape.
void Clean(const std::wstring& text, std::wstring& cleaned) {
    // Trimming looks at the characters as the first step leaves them: a forbidden white-space
    // character such as a vertical tab is already a "?" and stays.
    std::size_t first = 0;
    std::size_t last = text.size();
    while (last > first && IsSpace(Allowed(text[last - 1]))) --last;
    while (first < last && IsSpace(Allowed(text[first]))) ++first;

    cleaned.clear();
    bool afterBlank = false;
    for (std::size_t i = first; i < last; ++i) {
        const wchar_t c = Allowed(text[i]);
        if (c == L' ' && afterBlank) continue;
        afterBlank = c == L' ';
        // One pass gives what escaping "&", then "<", then ">" gives: no entity holds "<" or
        // ">", and "&" is escaped before the entities are made.
        switch (c) {
            case L'&':
                cleaned += L"&amp;";
                break;
            case L'<':
                cleaned += L"&lt;";
                break;
            case L'>':
                cleaned += L"&gt;";
                break;
            default:
                cleaned += c;
        }
    }
}

}  // namespace

XMLReport::XMLReport(const SystemValues& values) : values_(values) {}

void XMLReport::GetReport(std::wstring& out) const {
    ScopeTrace trace(L"rigel::XMLReport::GetReport");
    ReferrerGroups& referrerGroups = System::Instance().GetReferrerGroups();
    // Written straight into out, so that a caller that renders again reuses its buffer.
    out.clear();
    out.reserve(EstimatedSize(values_));
    out += L"<groups>";
    for (const SystemValue& entry : values_.Values()) {
        if (!IsAlwaysReported(entry.id.group) && !referrerGroups.IsGroupEnabled(entry.id.group)) {
            continue;
        }
        out += L"<group index=\"";
        AppendDecimal(out, entry.id.index);
        out += L"\" id=\"";
        out += entry.id.group.GetText();
        out += L"\">";
        try {
            out += L"<value>";
            out += CleanText(entry.text);
            out += L"</value>";
        } catch (const std::exception&) {
            // One value that cannot be written must not cost the whole report.
        }
        out += L"</group>";
    }
    out += L"</groups>  ";
}

const std::wstring& XMLReport::CleanText(const std::wstring& text) {
    std::wstring& shared = SharedText::For(SharedText::kCleanText);
    if (&text == &shared) {
        // Cleaning the buffer's own text must not overwrite it while reading it.
        std::wstring cleaned;
        Clean(text, cleaned);
        shared.swap(cleaned);
    } else {
        Clean(text, shared);
    }
    return shared;
}

}  // namespace rigel
