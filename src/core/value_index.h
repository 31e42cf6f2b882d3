#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace rigel {

// Positions of the store's entries by group number, then by index. Detectors file the indexes
// of one group from 0 upwards, so each group keeps a dense array of positions: a lookup reads
// two places that stay in the cache however large the store grows. An index far beyond the
// group's array goes to a small map instead, so a stray large index costs no memory.
class ValueIndex {
  public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    // The position filed for the group and index, or kNone.
    std::size_t Find(std::uint64_t group, std::uint32_t index) const;
    // Files a position for a group and index that Find does not know yet.
    void Insert(std::uint64_t group, std::uint32_t index, std::size_t position);

  private:
    struct Group {
        std::vector<std::size_t> dense;  // by index; kNone where nothing is filed
        std::unordered_map<std::uint32_t, std::size_t> sparse;
    };

    std::unordered_map<std::uint64_t, Group> groups_;
};

}  // namespace rigel
