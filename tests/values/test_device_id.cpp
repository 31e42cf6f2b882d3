#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "diag/log.h"
#include "support/fake_machine.h"
#include "values/device_id.h"

namespace rigel {
namespace {

struct Numbers {
    std::uint32_t vendor;
    std::uint32_t device;
    std::uint32_t subsystemVendor;
    std::uint32_t subsystemDevice;
    std::uint32_t revision;
};

void ExpectNumbers(const DeviceID& id, const Numbers& expected, const std::wstring& context) {
    EXPECT_EQ(id.GetVendor(), expected.vendor) << context;
    EXPECT_EQ(id.GetDevice(), expected.device) << context;
    EXPECT_EQ(id.GetSubsystemVendor(), expected.subsystemVendor) << context;
    EXPECT_EQ(id.GetSubsystemDevice(), expected.subsystemDevice) << context;
    EXPECT_EQ(id.GetRevision(), expected.revision) << context;
}

std::wstring Warning(const std::wstring& text) {
    return L"Error while parsing device ID string: " + text;
}

class DeviceIDTest : public ::testing::Test {
  protected:
    DeviceIDTest() { Log::Instance().SetLevel(Log::kMaxLevel); }

    test::FakeMachine machine_;
};

TEST_F(DeviceIDTest, ParsesCompleteIdentifiers) {
    const struct {
        const wchar_t* text;
        Numbers numbers;
    } cases[] = {
        {L"PCI\\VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_A1", {0x10DE, 0x0DE1, 0x1234, 0x1043, 0xA1}},
        {L"pci\\ven_10de&dev_0de1&subsys_10431234&rev_a1", {0x10DE, 0x0DE1, 0x1234, 0x1043, 0xA1}},
        {L"VEN_8086&DEV_0046&SUBSYS_00000000&REV_02", {0x8086, 0x0046, 0, 0, 2}},
        // Runs of "_" before a token are skipped; what lies between the fields is not examined.
        {L"__VEN_8086&DEV_0046&SUBSYS_00000000&REV_02", {0x8086, 0x0046, 0, 0, 2}},
        {L"X_1002?Y_67DF??Z_E3531DA2-W_E7", {0x1002, 0x67DF, 0x1DA2, 0xE353, 0xE7}},
        {L"PCI\\VEN_8086&DEV_0046&SUBSYS_00000000&REV_02\\3&21436425&0&10",
         {0x8086, 0x0046, 0, 0, 2}},
    };
    for (const auto& c : cases) {
        machine_.debugOutput.chunks.clear();
        const DeviceID id{std::wstring(c.text)};
        ExpectNumbers(id, c.numbers, c.text);
        EXPECT_EQ(
            machine_.LogMessages(),
            std::vector<std::wstring>{L"Tokenized device id: " + std::to_wstring(c.numbers.device)})
            << c.text;
    }
}

TEST_F(DeviceIDTest, FailedFieldEndsTheParseWithAWarning) {
    const struct {
        const wchar_t* text;
        Numbers numbers;
    } cases[] = {
        {L"PCI\\VEN_8086&DEV_0046&SUBSYS_00000000", {0x8086, 0x0046, 0, 0, 0}},
        {L"VEN_8086&DEV_0046", {0x8086, 0x0046, 0, 0, 0}},
        // The subsystem vendor is converted before the subsystem device.
        {L"VEN_8086&DEV_0046&SUBSYS_1043", {0x8086, 0x0046, 0, 0, 0}},
        {L"VEN_8086&DEV_00ZZ&SUBSYS_00000000&REV_00", {0x8086, 0, 0, 0, 0}},
        {L"VEN_8086&DEV_0046&SUBSYS_10431234&REV_", {0x8086, 0x0046, 0x1234, 0x1043, 0}},
        // Strict hexadecimal: no blanks, signs or prefixes.
        {L"VEN_ 806&DEV_0046&SUBSYS_00000000&REV_00", {0, 0, 0, 0, 0}},
        {L"VEN_+806&DEV_0046&SUBSYS_00000000&REV_00", {0, 0, 0, 0, 0}},
        {L"VEN_-806&DEV_0046&SUBSYS_00000000&REV_00", {0, 0, 0, 0, 0}},
        {L"VEN_0x86&DEV_0046&SUBSYS_00000000&REV_00", {0, 0, 0, 0, 0}},
        // The vendor digits start right after the first "_", which here is the second one.
        {L"VEN__8086&DEV_0046&SUBSYS_00000000&REV_00", {0, 0, 0, 0, 0}},
        {L"VEN_", {0, 0, 0, 0, 0}},
        {L"8086", {0, 0, 0, 0, 0}},
        {L"", {0, 0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        machine_.debugOutput.chunks.clear();
        const DeviceID id{std::wstring(c.text)};
        ExpectNumbers(id, c.numbers, c.text);
        EXPECT_EQ(machine_.LogMessages(), std::vector<std::wstring>{Warning(c.text)}) << c.text;
    }
}

TEST_F(DeviceIDTest, WarningIsAtWarningLevel) {
    Log::Instance().SetLevel(Log::kWarning);
    const DeviceID parsed(std::wstring(L"VEN_8086&DEV_0046&SUBSYS_00000000&REV_00"));
    const DeviceID failed(std::wstring(L"VEN_8086"));
    EXPECT_EQ(machine_.LogMessages(), std::vector<std::wstring>{Warning(L"VEN_8086")});
}

TEST_F(DeviceIDTest, TextForm) {
    EXPECT_STREQ(DeviceID().ToString(), L"VEN_0000&DEV_0000&SUBSYS_00000000&REV_00");
    EXPECT_STREQ(DeviceID(0x8086, 0x46, 0).ToString(), L"VEN_8086&DEV_0046&SUBSYS_00000000&REV_00");
    EXPECT_STREQ(DeviceID(0x10DE, 0xDE1, 0x10431234).ToString(),
                 L"VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_00");
    EXPECT_STREQ(DeviceID(0x12345, 0xabcdef, 0).ToString(),
                 L"VEN_12345&DEV_ABCDEF&SUBSYS_00000000&REV_00");

    const std::wstring full = L"VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_A1";
    DeviceID parsed(L"PCI\\" + full);
    EXPECT_EQ(parsed.ToString(), full);
    const DeviceID reparsed{std::wstring(parsed.ToString())};
    ExpectNumbers(reparsed, {0x10DE, 0x0DE1, 0x1234, 0x1043, 0xA1}, full);
}

TEST_F(DeviceIDTest, FieldTexts) {
    const DeviceID id(0x8086, 0x46, 0x10431234);
    EXPECT_STREQ(id.VendorText(), L"8086");
    EXPECT_STREQ(id.DeviceText(), L"0046");
    EXPECT_STREQ(id.SubsystemVendorText(), L"1234");
    EXPECT_STREQ(id.SubsystemDeviceText(), L"1043");
    EXPECT_STREQ(DeviceID(0xA, 0xABCDE, 0).DeviceText(), L"ABCDE");

    // Each accessor has its own buffer: one field's text survives reading another's.
    const DeviceID other(0x10DE, 0xDE1, 0);
    const wchar_t* vendor = id.VendorText();
    const wchar_t* device = other.DeviceText();
    EXPECT_STREQ(vendor, L"8086");
    EXPECT_STREQ(device, L"0DE1");
}

TEST_F(DeviceIDTest, ComparisonIgnoresRevision) {
    const DeviceID a(std::wstring(L"PCI\\VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_A1"));
    const DeviceID b(std::wstring(L"PCI\\VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_A2"));
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
    EXPECT_TRUE(a == DeviceID(0x10DE, 0xDE1, 0x10431234));

    const DeviceID differs[] = {
        DeviceID(0x10DF, 0xDE1, 0x10431234),
        DeviceID(0x10DE, 0xDE2, 0x10431234),
        DeviceID(0x10DE, 0xDE1, 0x10441234),
        DeviceID(0x10DE, 0xDE1, 0x10431235),
    };
    for (const DeviceID& other : differs) {
        EXPECT_FALSE(a == other);
        EXPECT_TRUE(a != other);
    }

    DeviceID copy;
    copy = b;
    EXPECT_EQ(copy.GetRevision(), 0xA2u);
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
