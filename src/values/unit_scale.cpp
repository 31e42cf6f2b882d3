#include "values/unit_scale.h"

#include <cstddef>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <utility>

#include <boost/algorithm/string/case_conv.hpp>

namespace rigel {
namespace {

constexpr double kTwoToThe64 = 18446744073709551616.0;
constexpr int kSignificantDigits = 17;

// Writes a number with one decimal, rounded half up on its 17-significant-digit decimal
// expansion. This is not printf's rounding of the binary value: 1.25 gives 1.3, not 1.2.
std::wstring OneDecimal(double number) {
    std::ostringstream expansion;
    expansion.imbue(std::locale::classic());
    expansion << std::scientific << std::setprecision(kSignificantDigits - 1) << number;
    const std::string scientific = expansion.str();  // d.dddddddddddddddde+XX

    std::string digits;
    std::size_t position = 0;
    for (; position < scientific.size() && scientific[position] != 'e'; ++position) {
        if (scientific[position] >= '0' && scientific[position] <= '9') {
            digits += scientific[position];
        }
    }
    const int exponent = std::stoi(scientific.substr(position + 1));

    // The digit at a place of the expansion: index 0 is the leading digit, index `exponent` the
    // units; places outside the 17 digits are 0.
    auto digitAt = [&digits](int index) {
        if (index < 0 || index >= static_cast<int>(digits.size())) return '0';
        return digits[static_cast<std::size_t>(index)];
    };

    // The number in tenths, as a digit string: the whole part, then the first decimal.
    std::string tenths = exponent < 0 ? "0" : "";
    for (int index = 0; index <= exponent; ++index) tenths += digitAt(index);
    tenths += digitAt(exponent + 1);

    if (digitAt(exponent + 2) >= '5') {
        std::size_t place = tenths.size();
        while (place > 0 && tenths[place - 1] == '9') tenths[--place] = '0';
        if (place == 0) {
            tenths.insert(tenths.begin(), '1');
        } else {
            ++tenths[place - 1];
        }
    }
    tenths.insert(tenths.size() - 1, 1, '.');
    return std::wstring(tenths.begin(), tenths.end());
}

}  // namespace

UnitScale::UnitScale(std::uint64_t step, std::vector<std::wstring> units)
    : step_(step), units_(std::move(units)) {}

std::wstring UnitScale::Format(std::uint64_t amount) const {
    auto number = static_cast<double>(amount);
    const auto step = static_cast<double>(step_);
    std::size_t unit = 0;
    while (number >= step && unit + 1 < units_.size()) {
        number /= step;
        ++unit;
    }
    return OneDecimal(number) + L" " + units_[unit];
}

double UnitScale::FactorIn(const std::wstring& upperText) const {
    double factor = 1.0;
    for (std::size_t unit = 1; unit < units_.size(); ++unit) {
        factor *= static_cast<double>(step_);
        const std::wstring name =
            boost::algorithm::to_upper_copy(units_[unit], std::locale::classic());
        if (upperText.find(name) != std::wstring::npos) return factor;
    }
    return 1.0;
}

double UnitScale::LeadingNumber(const std::wstring& text) {
    std::wistringstream stream(text);
    stream.imbue(std::locale::classic());
    double number = 0.0;
    // A number too large for a double fails the read as well and counts as no number.
    if (!(stream >> number)) return 0.0;
    return number;
}

std::uint64_t UnitScale::ToAmount(double number) {
    // Texts can hold negative or huge numbers, and converting a double outside the range of the
    // integer is undefined; an amount cannot be negative, so such numbers are clamped to the
    // range (NaN gives 0). Numbers from 2^63 up convert exactly, top bit included.
    if (!(number > 0.0)) return 0;
    if (number >= kTwoToThe64) return std::numeric_limits<std::uint64_t>::max();
    return static_cast<std::uint64_t>(number);
}

}  // namespace rigel
