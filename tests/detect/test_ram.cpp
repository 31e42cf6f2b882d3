#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/system.h"
#include "detect/platform/ram.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using Stored = std::vector<std::pair<std::uint64_t, std::wstring>>;

Stored StoredValues() {
    Stored stored;
    for (const SystemValue& value : System::Instance().GetSystemValues().Values()) {
        stored.emplace_back(value.id.group.GetNumber(), value.text);
    }
    return stored;
}

TEST(RamTest, StoresTheSizesOfTheExtendedOrTheOlderRecord) {
    struct Case {
        const char* what;
        bool extendedSucceeds;
        Stored expected;
    };
    const Case cases[] = {
        {"extended record",
         true,
         {{71063, L"8.0 GB"},
          {71381, L"128.0 TB"},
          {71382, L"3.5 GB"},
          {71174, L""},
          {71175, L""}}},
        {"older record",
         false,
         {{71063, L"2.0 GB"},
          {71381, L"4.0 GB"},
          {71382, L"512.0 MB"},
          {71174, L""},
          {71175, L""}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        machine.systemInfo.memoryStatusExSucceeds = c.extendedSucceeds;
        machine.systemInfo.memoryStatusEx.totalPhysical = 8ull << 30;
        machine.systemInfo.memoryStatusEx.totalVirtual = 128ull << 40;
        machine.systemInfo.memoryStatusEx.availablePhysical = 7ull << 29;
        machine.systemInfo.memoryStatusEx.totalPageFile = 16ull << 30;
        machine.systemInfo.memoryStatus.totalPhysical = 2ull << 30;
        machine.systemInfo.memoryStatus.totalVirtual = 4ull << 30;
        machine.systemInfo.memoryStatus.availablePhysical = 512ull << 20;
        Ram().Detect();
        EXPECT_EQ(StoredValues(), c.expected);
    }
}

}  // namespace
}  // namespace rigel
