#include "values/resolution.h"

namespace rigel {

Resolution& Resolution::operator=(const std::wstring& text) {
    text_ = text;
    return *this;
}

Resolution* Resolution::Clone() const { return new Resolution(*this); }

}  // namespace rigel
