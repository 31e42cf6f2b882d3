#include <gtest/gtest.h>

#ifdef _WIN32

#include <cstdint>
#include <string>
#include <vector>

#include "detect/platform/wmi.h"
#include "os/scoped_services.h"
#include "os/services.h"
#include "os/win32/com_apartment.h"
#include "os/win32/win32_wmi.h"
#include "support/fake_machine.h"

namespace rigel::os {
namespace {

// Wine's WMI answers the processor, BIOS and baseboard classes.
class Win32WmiTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_GE(apartment.Status(), 0);
        WmiObject locator = 0;
        ASSERT_GE(wmi.CreateLocator(locator), 0);
        locator_ = UniqueWmiObject(locator, WmiReleaser(wmi));
        WmiObject services = 0;
        ASSERT_GE(wmi.ConnectServer(locator_.get(), L"ROOT\\CIMV2", services), 0);
        services_ = UniqueWmiObject(services, WmiReleaser(wmi));
        ASSERT_GE(wmi.SetProxyBlanket(services_.get(), ProxyBlanket{10, 0, 3, 3, 0}), 0);
    }

    // The one row of a class asked for count rows at a time, and the status that comes with it.
    UniqueWmiObject OnlyRow(const std::wstring& query, std::uint32_t count, std::int32_t status) {
        WmiObject enumerator = 0;
        EXPECT_GE(wmi.ExecQuery(services_.get(), L"WQL", query, 48, enumerator), 0);
        UniqueWmiObject owned(enumerator, WmiReleaser(wmi));
        std::vector<WmiObject> rows;
        EXPECT_EQ(wmi.Next(owned.get(), Wmi::kInfinite, count, rows), status);
        EXPECT_EQ(rows.size(), 1u);
        return UniqueWmiObject(rows.empty() ? 0 : rows[0], WmiReleaser(wmi));
    }

    ComApartment apartment;
    Win32Wmi wmi;
    UniqueWmiObject locator_{0, WmiReleaser(wmi)};
    UniqueWmiObject services_{0, WmiReleaser(wmi)};
};

TEST_F(Win32WmiTest, PropertiesComeWithTypeTextAndNumber) {
    const UniqueWmiObject processor = OnlyRow(L"SELECT * FROM Win32_Processor", 1, Wmi::kOk);
    ASSERT_TRUE(processor);

    WmiValue name;
    EXPECT_GE(wmi.GetProperty(processor.get(), L"Name", name), 0);
    EXPECT_EQ(name.cimType, Wmi::kCimString);
    EXPECT_FALSE(name.isNull);
    EXPECT_FALSE(name.text.empty());
    EXPECT_LT(name.numberStatus, 0);

    WmiValue speed;
    EXPECT_GE(wmi.GetProperty(processor.get(), L"MaxClockSpeed", speed), 0);
    EXPECT_EQ(speed.cimType, Wmi::kCimUint32);
    EXPECT_GE(speed.numberStatus, 0);
    EXPECT_GT(speed.number, 0u);
    EXPECT_EQ(speed.text, std::to_wstring(speed.number));

    WmiValue missing;
    EXPECT_EQ(wmi.GetProperty(processor.get(), L"NoSuchProperty", missing), Wmi::kNotFound);

    // Asked for more rows than there are, an enumerator gives what it has and says false.
    EXPECT_TRUE(OnlyRow(L"SELECT * FROM Win32_BIOS", 200, Wmi::kFalse));
}

TEST(Win32WmiSourceTest, TheSourceReadsWinesMachine) {
    ComApartment apartment;
    ASSERT_GE(apartment.Status(), 0);
    Win32Wmi win32;
    test::FakeMachine machine;
    Services services = Current();
    services.wmi = &win32;
    ScopedServices scope(services);

    BiosInfo bios;
    EXPECT_TRUE(WMI::Instance().GetBiosValues(bios));
    EXPECT_EQ(std::wstring(bios.manufacturer.ToString()), L"The Wine Project");
    CpuInfo cpu;
    EXPECT_TRUE(WMI::Instance().GetCpuInfo(cpu));
    EXPECT_FALSE(cpu.name.empty());
    EXPECT_TRUE(cpu.speed.IsValid());
    SoundInfo board;
    EXPECT_TRUE(WMI::Instance().GetMotherboardValues(board));
    std::vector<CDRomInfo> drives;
    EXPECT_FALSE(WMI::Instance().GetCDRomValues(drives));
    WMI::DestroyInstanceForTesting();
}

}  // namespace
}  // namespace rigel::os

#endif
