#include "core/exception.h"

#include <utility>

namespace rigel {

Exception::Exception(std::wstring message, std::wstring place)
    : message_(std::move(message)), place_(std::move(place)) {}

const char* Exception::what() const noexcept { return "rigel::Exception"; }

}  // namespace rigel
