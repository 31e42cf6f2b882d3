#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "os/cpu.h"

namespace rigel::os {

// A processor whose CPUID answers and time-stamp readings a test sets. A leaf it does not know
// answers zeros; the last time stamp repeats once the list is used up.
class FakeCpu : public Cpu {
  public:
    std::map<std::pair<std::uint32_t, std::uint32_t>, CpuidRegisters> leaves;  // (leaf, sub-leaf)
    std::vector<std::pair<std::uint32_t, std::uint32_t>> queries;
    std::vector<std::uint64_t> timeStamps;
    std::size_t timeStampReads = 0;

    void SetLeaf(std::uint32_t leaf, CpuidRegisters registers) { leaves[{leaf, 0}] = registers; }

    CpuidRegisters Cpuid(std::uint32_t leaf, std::uint32_t subLeaf) override {
        queries.emplace_back(leaf, subLeaf);
        auto found = leaves.find({leaf, subLeaf});
        return found != leaves.end() ? found->second : CpuidRegisters{};
    }

    std::uint64_t TimeStampCounter() override {
        if (timeStamps.empty()) return 0;
        const std::size_t index = std::min(timeStampReads++, timeStamps.size() - 1);
        return timeStamps[index];
    }
};

}  // namespace rigel::os
