#include "values/version.h"

#include <algorithm>
#include <cstddef>
#include <locale>
#include <optional>
#include <string>
#include <utility>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>

#include "diag/log.h"

namespace rigel {
namespace {

constexpr const wchar_t* kDelimiters = L".,- _";
constexpr int kComponents = 4;
constexpr int kComponentBits = 16;

// Splits a text at runs of delimiters.
class Tokens {
  public:
    explicit Tokens(const std::wstring& text) : text_(text) {}

    // The next token, or nothing once the text has run out.
    std::optional<std::wstring> Next() {
        const std::size_t start = text_.find_first_not_of(kDelimiters, position_);
        if (start == std::wstring::npos) {
            position_ = text_.size();
            return std::nullopt;
        }
        position_ = std::min(text_.find_first_of(kDelimiters, start), text_.size());
        return text_.substr(start, position_ - start);
    }

  private:
    const std::wstring& text_;
    std::size_t position_ = 0;
};

// Strict conversion of a whole token: decimal digits only, an optional leading "+", and a leading
// "-" that negates modulo 2^64. A number beyond 64 bits is a failure, not a wrapped value.
std::optional<std::uint64_t> Component(const std::wstring& token) {
    std::uint64_t number = 0;
    if (!boost::conversion::try_lexical_convert(token, number)) return std::nullopt;
    return number;
}

}  // namespace

Version::Version() : text_(L"0.0") {}

Version::Version(std::wstring text) : text_(std::move(text)) {}

Version::Version(const wchar_t* text) : text_(text == nullptr ? L"" : text) {}

Version::Version(std::uint64_t number) : text_(std::to_wstring(number)) {}

Version& Version::operator=(const wchar_t* text) {
    text_ = text == nullptr ? L"" : text;
    return *this;
}

std::uint64_t Version::Quantity() const {
    const std::wstring upper = boost::algorithm::to_upper_copy(text_, std::locale::classic());
    Tokens tokens(upper);
    std::uint64_t key = 0;
    for (int step = 0; step < kComponents; ++step) {
        const std::optional<std::wstring> token = tokens.Next();
        if (token) {
            const std::optional<std::uint64_t> component = Component(*token);
            if (!component) {
                Log::Instance().Line(Log::kError, L"Error in Version::Quantity.");
                return key;
            }
            key |= *component;
        }
        // Shifting also in the step that finds no token aligns two to four components at the
        // top but puts a lone component one field lower.
        if (step + 1 < kComponents) key <<= kComponentBits;
        if (!token) break;
    }
    if (!upper.empty() && upper.back() >= L'A' && upper.back() <= L'Z') {
        key += static_cast<std::uint64_t>(upper.back());
    }
    return key;
}

Version* Version::Clone() const { return new Version(*this); }

}  // namespace rigel
