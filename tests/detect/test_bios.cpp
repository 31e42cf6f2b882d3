#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "detect/platform/bios.h"
#include "detect/stored_values.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using namespace std::string_literals;

using os::FakeWmi;
constexpr os::HKey kMachine = os::Registry::kLocalMachine;
const std::wstring kBiosKey = L"HARDWARE\\DESCRIPTION\\System\\bios";
const std::wstring kSystemKey = L"HARDWARE\\DESCRIPTION\\System";

using test::Stored;

TEST(BiosTest, RegistryTextsWinAndWmiFillsTheRest) {
    enum Registry { kNothing, kVendorOnly, kVendorAndVersion, kEmptyStrings };
    struct Case {
        const char* what;
        Registry registry;
        const FakeWmi::Row* wmiRow;  // null: no row
        std::vector<std::wstring> expected;
    };
    const FakeWmi::Row fullRow = {{L"Name", FakeWmi::Text(L"BIOS Date: 05/12/11")},
                                  {L"Manufacturer", FakeWmi::Text(L"American Megatrends Inc.")},
                                  {L"SMBIOSBIOSVersion", FakeWmi::Text(L"0501")}};
    const FakeWmi::Row nullRow = {{L"Name", FakeWmi::Null(FakeWmi::kCimString)},
                                  {L"Manufacturer", FakeWmi::Null(FakeWmi::kCimString)},
                                  {L"SMBIOSBIOSVersion", FakeWmi::Text(L"P1.10")}};
    const Case cases[] = {
        {"registry version and date win",
         kVendorAndVersion,
         &fullRow,
         {L"71073#0=BIOS Date: 05/12/11", L"71383#0=05/12/11", L"71294#0=American Megatrends Inc.",
          L"71074#0=ALASKA - 1072009"}},
        {"vendor without version lets the WMI version through",
         kVendorOnly,
         &fullRow,
         {L"71073#0=BIOS Date: 05/12/11", L"71383#0=05/12/11", L"71294#0=American Megatrends Inc.",
          L"71074#0=0501"}},
        {"NULL WMI properties are empty texts",
         kNothing,
         &nullRow,
         {L"71073#0=", L"71383#0=", L"71294#0=", L"71074#0=P1.10"}},
        {"no WMI row and no registry texts",
         kNothing,
         nullptr,
         {L"71073#0=", L"71383#0=", L"71294#0=", L"71074#0="}},
        // Empty vendor and version still make a version of one blank, which WMI cannot replace.
        {"empty registry strings",
         kEmptyStrings,
         &fullRow,
         {L"71073#0=BIOS Date: 05/12/11", L"71383#0=", L"71294#0=American Megatrends Inc.",
          L"71074#0= "}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        if (c.registry == kVendorOnly || c.registry == kVendorAndVersion) {
            machine.registry.SetString(kMachine, kBiosKey, L"BIOSVendor", L"ALASKA");
            machine.registry.SetString(kMachine, kSystemKey, L"SystemBiosDate", L"05/12/11");
        }
        if (c.registry == kVendorAndVersion) {
            machine.registry.SetValue(kMachine, kBiosKey, L"BIOSVersion",
                                      os::Registry::kMultiString,
                                      os::FakeRegistry::Utf16(L"- 1072009\0BIOS Date\0\0"s));
        }
        if (c.registry == kEmptyStrings) {
            machine.registry.SetString(kMachine, kBiosKey, L"BIOSVendor", L"");
            machine.registry.SetString(kMachine, kBiosKey, L"BIOSVersion", L"");
            machine.registry.SetString(kMachine, kSystemKey, L"SystemBiosDate", L"");
        }
        if (c.wmiRow != nullptr) machine.wmi.tables[L"Win32_BIOS"] = {*c.wmiRow};

        Bios bios;
        EXPECT_TRUE(bios.Detect());
        EXPECT_EQ(Stored(), c.expected);
    }
}

}  // namespace
}  // namespace rigel
