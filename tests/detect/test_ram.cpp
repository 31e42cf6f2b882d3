#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "detect/platform/ram.h"
#include "detect/stored_values.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

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
        EXPECT_EQ(test::Stored(),
                  (std::vector<std::wstring>{L"71063#0=" + c.physical, L"71381#0=" + c.virtualSize,
                                             L"71382#0=" + c.available, L"71174#0=", L"71175#0="}));
    }
}

}  // namespace
}  // namespace rigel
