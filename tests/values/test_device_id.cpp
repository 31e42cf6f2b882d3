#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "diag/log.h"
#include "support/fake_machine.h"
#include "values/device_id.h"

namespace rigel {
namespace {

// Vendor, device, subsystem vendor, subsystem device, revision.
using Numbers = std::array<std::uint32_t, 5>;

Numbers NumbersOf(const DeviceID& id) {
    return {id.GetVendor(), id.GetDevice(), id.GetSubsystemVendor(), id.GetSubsystemDevice(),
            id.GetRevision()};
}

class DeviceIDTest : public ::testing::Test {
  protected:
    DeviceIDTest() { Log::Instance().SetLevel(Log::kMaxLevel); }

    test::FakeMachine machine_;
};

TEST_F(DeviceIDTest, ParsesUpToTheFirstFieldThatFails) {
    const struct {
        const wchar_t* text;
        Numbers numbers;
        bool parsed;
    } cases[] = {
        {L"PCI\\VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_A1",
         {0x10DE, 0x0DE1, 0x1234, 0x1043, 0xA1},
         true},
        {L"pci\\ven_10de&dev_0de1&subsys_10431234&rev_a1",
         {0x10DE, 0x0DE1, 0x1234, 0x1043, 0xA1},
         true},
        {L"VEN_8086&DEV_0046&SUBSYS_00000000&REV_02", {0x8086, 0x0046, 0, 0, 2}, true},
        // Runs of "_" before a token are skipped; what lies between the fields is not examined.
        {L"__VEN_8086&DEV_0046&SUBSYS_00000000&REV_02", {0x8086, 0x0046, 0, 0, 2}, true},
        {L"X_1002?Y_67DF??Z_E3531DA2-W_E7", {0x1002, 0x67DF, 0x1DA2, 0xE353, 0xE7}, true},
        {L"PCI\\VEN_8086&DEV_0046&SUBSYS_00000000&REV_02\\3&21436425&0&10",
         {0x8086, 0x0046, 0, 0, 2},
         true},
        // A failed field keeps the fields before it and leaves the rest 0.
        {L"PCI\\VEN_8086&DEV_0046&SUBSYS_00000000", {0x8086, 0x0046, 0, 0, 0}, false},
        {L"VEN_8086&DEV_0046", {0x8086, 0x0046, 0, 0, 0}, false},
        // The subsystem vendor is converted before the subsystem device.
        {L"VEN_8086&DEV_0046&SUBSYS_1043", {0x8086, 0x0046, 0, 0, 0}, false},
        {L"VEN_8086&DEV_00ZZ&SUBSYS_00000000&REV_00", {0x8086, 0, 0, 0, 0}, false},
        {L"VEN_8086&DEV_0046&SUBSYS_10431234&REV_", {0x8086, 0x0046, 0x1234, 0x1043, 0}, false},
        // Strict hexadecimal: no blanks, signs or prefixes.
        {L"VEN_ 806&DEV_0046&SUBSYS_00000000&REV_00", {}, false},
        {L"VEN_+806&DEV_0046&SUBSYS_00000000&REV_00", {}, false},
        {L"VEN_-806&DEV_0046&SUBSYS_00000000&REV_00", {}, false},
        {L"VEN_0x86&DEV_0046&SUBSYS_00000000&REV_00", {}, false},
        // The vendor digits start right after the first "_", which here is the second one.
        {L"VEN__8086&DEV_0046&SUBSYS_00000000&REV_00", {}, false},
        {L"VEN_", {}, false},
        {L"8086", {}, false},
        {L"", {}, false},
    };
    for (const auto& c : cases) {
        machine_.debugOutput.chunks.clear();
        EXPECT_EQ(NumbersOf(DeviceID(std::wstring(c.text))), c.numbers) << c.text;
        // The line after the time and elapsed columns: a trace when parsed, else a warning.
        const std::wstring line =
            c.parsed ? L"TRACE | Tokenized device id: " + std::to_wstring(c.numbers[1])
                     : L"WARN  | Error while parsing device ID string: " + std::wstring(c.text);
        ASSERT_EQ(machine_.LogLines().size(), 1u) << c.text;
        EXPECT_EQ(machine_.LogLines()[0].substr(18), line) << c.text;
    }
}

TEST_F(DeviceIDTest, TextFormAndFieldTexts) {
    EXPECT_STREQ(DeviceID().ToString(), L"VEN_0000&DEV_0000&SUBSYS_00000000&REV_00");
    EXPECT_STREQ(DeviceID(0x8086, 0x46, 0).ToString(), L"VEN_8086&DEV_0046&SUBSYS_00000000&REV_00");
    EXPECT_STREQ(DeviceID(0x12345, 0xabcdef, 0).ToString(),
                 L"VEN_12345&DEV_ABCDEF&SUBSYS_00000000&REV_00");
    const std::wstring full = L"VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_A1";
    EXPECT_EQ(DeviceID(L"PCI\\" + full).ToString(), full);

    const DeviceID id(0x8086, 0x46, 0x10431234);
    EXPECT_STREQ(id.SubsystemVendorText(), L"1234");
    EXPECT_STREQ(id.SubsystemDeviceText(), L"1043");
    EXPECT_STREQ(DeviceID(0xA, 0xABCDE, 0).DeviceText(), L"ABCDE");
    // Each accessor has its own buffer: one field's text survives reading another's.
    const wchar_t* vendor = id.VendorText();
    const wchar_t* device = id.DeviceText();
    EXPECT_STREQ(vendor, L"8086");
    EXPECT_STREQ(device, L"0046");
}

TEST_F(DeviceIDTest, ComparisonIgnoresRevision) {
    const DeviceID a(std::wstring(L"PCI\\VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_A1"));
    EXPECT_TRUE(a == DeviceID(std::wstring(L"PCI\\VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_A2")));
    EXPECT_FALSE(a != DeviceID(0x10DE, 0xDE1, 0x10431234));
    for (const DeviceID& other :
         {DeviceID(0x10DF, 0xDE1, 0x10431234), DeviceID(0x10DE, 0xDE2, 0x10431234),
          DeviceID(0x10DE, 0xDE1, 0x10441234), DeviceID(0x10DE, 0xDE1, 0x10431235)}) {
        EXPECT_FALSE(a == other);
        EXPECT_TRUE(a != other);
    }
}

TEST_F(DeviceIDTest, VendorValidityAndFamily) {
    EXPECT_TRUE(DeviceID(0x8086, 0x46, 0).IsValid());
    EXPECT_FALSE(DeviceID(0, 0x46, 0).IsValid());
    EXPECT_FALSE(DeviceID(0x8086, 0, 0).IsValid());

    const DeviceID amd(0x1002, 1, 0);
    const DeviceID intel(0x8086, 1, 0);
    const DeviceID nvidia(0x10DE, 1, 0);
    EXPECT_TRUE(amd.IsAMD() && !amd.IsIntel() && !amd.IsNVIDIA());
    EXPECT_TRUE(!intel.IsAMD() && intel.IsIntel() && !intel.IsNVIDIA());
    EXPECT_TRUE(!nvidia.IsAMD() && !nvidia.IsIntel() && nvidia.IsNVIDIA());

    const DeviceID gtx(0x10DE, 0x0DE1, 0);
    EXPECT_TRUE(gtx.IsSameFamily(DeviceID(0x10DE, 0x0DE9, 0x1234)));
    EXPECT_TRUE(gtx.IsSameFamily(DeviceID(0x10DE, 0x0DFF, 0)));
    EXPECT_FALSE(gtx.IsSameFamily(DeviceID(0x10DE, 0x0E22, 0)));
    EXPECT_FALSE(gtx.IsSameFamily(DeviceID(0x10DE, 0x0CE1, 0)));
    EXPECT_FALSE(gtx.IsSameFamily(DeviceID(0x1002, 0x0DE1, 0)));
}

}  // namespace
}  // namespace rigel
