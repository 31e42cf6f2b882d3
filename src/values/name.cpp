#include "values/name.h"

#include <utility>

namespace rigel {

Name::Name(const wchar_t* text) : text_(text == nullptr ? L"" : text) {}

Name::Name(std::wstring text) : text_(std::move(text)) {}

Name& Name::operator=(const std::wstring& text) {
    text_ = text;
    return *this;
}

Name& Name::operator=(const wchar_t* text) {
    text_ = text == nullptr ? L"" : text;
    return *this;
}

Name* Name::Clone() const { return new Name(*this); }

}  // namespace rigel
