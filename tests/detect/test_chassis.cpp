#include <gtest/gtest.h>

#include <string>

#include "core/system.h"
#include "detect/platform/chassis.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

TEST(ChassisTest, PortableOnlyWithLongTermBatteries) {
    struct Case {
        const char* what;
        bool callSucceeds;
        bool batteries;
        bool shortTerm;
        const wchar_t* portable;
    };
    const Case cases[] = {
        {"laptop", true, true, false, L"Yes"},
        {"desktop", true, false, false, L"No"},
        {"desktop on a UPS", true, true, true, L"No"},
        {"no power capabilities", false, true, false, L"No"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        machine.systemInfo.powerCapabilitiesSucceed = c.callSucceeds;
        machine.systemInfo.powerCapabilities = {c.batteries, c.shortTerm};
        Chassis().Detect();
        const auto& values = System::Instance().GetSystemValues().Values();
        ASSERT_EQ(values.size(), 1u);
        EXPECT_EQ(values[0].id, SystemValueID(GroupID(71094), 0));
        EXPECT_EQ(values[0].text, c.portable);
    }
}

}  // namespace
}  // namespace rigel
