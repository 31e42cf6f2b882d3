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
        std::wstring physical, virtualSize, available;
    };
    const Case cases[] = {
        {"extended record", true, L"8.0 GB", L"128.0 TB", L"3.5 GB"},
        {"older record", false, L"2.0 GB", L"4.0 GB", L"512.0 MB"},
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
        EXPECT_EQ(StoredValues(), (Stored{{71063, c.physical},
                                          {71381, c.virtualSize},
                                          {71382, c.available},
                                          {71174, L""},
                                          {71175, L""}}));
    }
}

}  // namespace
}  // namespace rigel
