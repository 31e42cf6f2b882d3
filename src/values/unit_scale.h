#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace rigel {

// A ladder of units, each `step` times the one below: how Size and Speed read an amount from a
// text and print it scaled to one decimal.
class UnitScale {
  public:
    // units[0] is the base unit; the larger ones are searched in texts by their upper-case names.
    UnitScale(std::uint64_t step, std::vector<std::wstring> units);

    // The amount in the largest unit that keeps it at least 1 (when it reaches one step), with one
    // decimal and the unit's name: 1536 gives "1.5 KB" on a ladder of 1024.
    std::wstring Format(std::uint64_t amount) const;

    // The factor of the first larger unit, smallest first, whose name occurs anywhere in the
    // upper-case text; 1 when none does.
    double FactorIn(const std::wstring& upperText) const;

    // The number at the start of the text (leading white space skipped), 0 when there is none.
    static double LeadingNumber(const std::wstring& text);

    // Truncates toward zero into an amount.
    static std::uint64_t ToAmount(double number);

  private:
    std::uint64_t step_;
    std::vector<std::wstring> units_;
};

}  // namespace rigel
