#include "core/value_index.h"

namespace rigel {
namespace {

// How far past its end a group's array may grow for one new index: enough for indexes that
// arrive out of order, never more than the entries it holds justify.
constexpr std::size_t kSlack = 64;

}  // namespace

std::size_t ValueIndex::Find(std::uint64_t group, std::uint32_t index) const {
    auto found = groups_.find(group);
    if (found == groups_.end()) return kNone;
    const Group& entries = found->second;
    if (index < entries.dense.size() && entries.dense[index] != kNone) {
        return entries.dense[index];
    }
    if (entries.sparse.empty()) return kNone;
    auto sparse = entries.sparse.find(index);
    return sparse != entries.sparse.end() ? sparse->second : kNone;
}

void ValueIndex::Insert(std::uint64_t group, std::uint32_t index, std::size_t position) {
    Group& entries = groups_[group];
    if (index < entries.dense.size()) {
        entries.dense[index] = position;
    } else if (index <= 2 * entries.dense.size() + kSlack) {
        entries.dense.resize(std::size_t{index} + 1, kNone);
        entries.dense[index] = position;
    } else {
        entries.sparse.emplace(index, position);
    }
}

}  // namespace rigel
