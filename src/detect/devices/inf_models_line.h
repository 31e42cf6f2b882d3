#pragma once

#include <cstddef>
#include <string>

namespace rigel {

// One line of a driver INF's models section, as SetupGetLineTextW gives it
// ("%Name%,PCI\VEN_8086&DEV_0102"), read for how it names an adapter.
class InfModelsLine {
  public:
    enum class Match {
        kNone,      // the line does not name the adapter
        kTwoPart,   // the line ends with the vendor and device pair
        kFourPart,  // more follows the pair (a subsystem or a revision)
    };

    // Longer lines are not read: they give kNone.
    static constexpr std::size_t kMaxLength = 259;

    // key is "ven_" + vendor + "&dev_" + device. The first "VEN" of the upper-cased line is
    // compared with the key without regard to case; the comparison is logged at TRACE.
    static Match Compare(const std::wstring& line, const std::wstring& key);
};

}  // namespace rigel
