#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "detect/devices/hard_drive.h"
#include "detect/devices/physical_drive.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "support/fake_disks.h"
#include "support/fake_machine.h"
#include "support/store_and_log_lookup.h"

namespace rigel {
namespace {

using os::FakeWmi;
using os::SetupApi;
using test::FakeDisk;
using test::LoggedMessage;
using test::Stored;
using test::StoredText;

const std::wstring kDrive0 = L"\\\\.\\PHYSICALDRIVE0";
const std::wstring kDrive1 = L"\\\\.\\PHYSICALDRIVE1";

// A disk the Setup API lists; its firmware (8 characters, or none) ends the hardware identifier.
void AddSetupDisk(test::FakeMachine& machine, const std::wstring& model,
                  const std::wstring& firmware = L"") {
    machine.setupApi.AddDevice(SetupApi::kDiskDriveClass)
        .Text(SetupApi::kClassName, L"DiskDrive")
        .Text(SetupApi::kFriendlyName, model)
        .Text(SetupApi::kHardwareId, firmware.empty() ? L"IDE" : L"IDE\\Disk_" + firmware);
}

void DetectDisks() {
    HardDrive drive;
    EXPECT_TRUE(drive.Detect());
}

FakeWmi::Row WmiDisk(const std::wstring& model, const std::wstring& name, std::uint32_t index) {
    return {{L"Model", FakeWmi::Text(model)},
            {L"Name", FakeWmi::Text(name)},
            {L"Index", FakeWmi::Unsigned(index)}};
}

// One Setup API disk, matched by WMI to drive 0, which answers as staged.
void DetectOneDisk(test::FakeMachine& machine, const FakeDisk& disk,
                   const std::wstring& setupFirmware = L"") {
    machine.wmi.tables[L"Win32_DiskDrive"] = {WmiDisk(L"Disk", kDrive0, 0)};
    test::AddDisk(machine.deviceIo, kDrive0, disk);
    AddSetupDisk(machine, L"Disk", setupFirmware);
    DetectDisks();
}

TEST(HardDriveTest, StoresEveryValueOfADiskInOrder) {
    test::FakeMachine machine;
    Log::Instance().SetLevel(Log::kTrace);
    DetectOneDisk(machine,
                  {test::IdentifyResult("ABC DE5000FGH-01", "01.01A01"), 7,
                   test::DeviceDescriptor(3, " ABC DE50 ", "00FGH-01", "01.01A01"),
                   test::AdapterDescriptor(11)},
                  L"01.01A01");
    EXPECT_EQ(Stored(),
              (std::vector<std::wstring>{
                  L"71432#0=01.01A01", L"71431#0=DE5000FGH-01", L"71443#0=ABC", L"71430#0=0",
                  L"71434#0=No", L"71433#0=Yes", L"71444#0=No", L"71438#0=SATA", L"71439#0=Yes",
                  L"71440#0=No", L"71441#0=No", L"71442#0=No", L"71445#0=No"}));
    ASSERT_EQ(machine.deviceIo.opens.size(), 1u);
    const auto& open = machine.deviceIo.opens[0];
    EXPECT_EQ(open.access, 0u);
    EXPECT_EQ(open.share, 3u);
    EXPECT_EQ(open.disposition, 3u);
    EXPECT_EQ(open.flags, 0u);
    EXPECT_EQ(machine.deviceIo.OpenCount(), 0u) << "the disk is closed again";
    for (const wchar_t* line :
         {L"From Setuplib - model: Disk", L"From Setuplib - firmware: 01.01A01",
          L"From wmi - model: Disk", L"Vendor: ABC DE50", L"Drive firmware or: 01.01A01"}) {
        EXPECT_TRUE(LoggedMessage(machine, line)) << line;
    }
}

TEST(HardDriveTest, TwoDisksOfOneModelBothTakeTheLastWmiRow) {
    test::FakeMachine machine;
    machine.wmi.tables[L"Win32_DiskDrive"] = {WmiDisk(L"ST3500418AS", kDrive0, 0),
                                              WmiDisk(L"ST3500418AS", kDrive1, 1),
                                              WmiDisk(L"st3500418as", kDrive0, 0)};
    test::AddDisk(machine.deviceIo, kDrive0,
                  {{}, 0, test::DeviceDescriptor(11, "", "ZERO", ""), {}});
    test::AddDisk(machine.deviceIo, kDrive1,
                  {{}, 0, test::DeviceDescriptor(11, "", "ONE", ""), {}});
    AddSetupDisk(machine, L"ST3500418AS");
    AddSetupDisk(machine, L"ST3500418AS");
    DetectDisks();

    EXPECT_EQ(StoredText(L"71431#0"), L"ONE");
    EXPECT_EQ(StoredText(L"71431#1"), L"ONE");
    EXPECT_EQ(StoredText(L"71430#0"), L"1");
    EXPECT_EQ(StoredText(L"71430#1"), L"1");
    for (const auto& open : machine.deviceIo.opens) EXPECT_EQ(open.path, kDrive1);
    // The SMART command goes to the disk number WMI gave.
    ASSERT_FALSE(machine.deviceIo.calls.empty());
    EXPECT_EQ(machine.deviceIo.calls[0].in.size(), 32u);
    EXPECT_EQ(machine.deviceIo.calls[0].in[12], 1);
    EXPECT_EQ(machine.deviceIo.calls[0].outSize, 528u);
}

TEST(HardDriveTest, UnmatchedOrUnopenedDisksUseNoIndex) {
    test::FakeMachine machine;
    Log::Instance().SetLevel(Log::kTrace);
    machine.wmi.tables[L"Win32_DiskDrive"] = {WmiDisk(L"Gone", kDrive1, 1),
                                              WmiDisk(L"Here", kDrive0, 0)};
    test::AddDisk(machine.deviceIo, kDrive0,
                  {{}, 0, test::DeviceDescriptor(7, "", "HERE", ""), {}});
    AddSetupDisk(machine, L"Unknown");
    AddSetupDisk(machine, L"Gone");
    AddSetupDisk(machine, L"Here");
    DetectDisks();

    EXPECT_EQ(StoredText(L"71431#0"), L"HERE");
    EXPECT_EQ(StoredText(L"71438#0"), L"USB");
    EXPECT_EQ(StoredText(L"71431#1"), L"(none)");
    EXPECT_TRUE(LoggedMessage(machine, L"Failed to open drive: 1 with error: 2"));
    EXPECT_TRUE(LoggedMessage(machine, L"From wmi - deviceID: " + kDrive1));
}

TEST(HardDriveTest, BusTypesGiveTheirTextAndOneFlag) {
    struct Case {
        std::uint8_t device;
        std::uint8_t adapter;                // 0: the adapter descriptor does not answer
        std::vector<std::wstring> expected;  // 71438, 71439, 71440, 71441, 71442, 71445
    };
    const Case cases[] = {
        {9, 0, {L"SCSI", L"No", L"No", L"Yes", L"No", L"No"}},
        {10, 0, {L"", L"No", L"No", L"No", L"No", L"No"}},
        {1, 0, {L"SCSI", L"No", L"No", L"Yes", L"No", L"No"}},
        {3, 0, {L"ATA", L"No", L"Yes", L"No", L"No", L"No"}},
        {11, 8, {L"RAID", L"No", L"No", L"No", L"No", L"Yes"}},
        {0, 7, {L"USB", L"No", L"No", L"No", L"Yes", L"No"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << int{c.device} << "/" << int{c.adapter});
        test::FakeMachine machine;
        DetectOneDisk(machine,
                      {{},
                       0,
                       test::DeviceDescriptor(c.device, nullptr, nullptr, nullptr),
                       c.adapter != 0 ? test::AdapterDescriptor(c.adapter) : test::Bytes()});
        std::vector<std::wstring> flags;
        for (const wchar_t* id :
             {L"71438#0", L"71439#0", L"71440#0", L"71441#0", L"71442#0", L"71445#0"}) {
            flags.push_back(StoredText(id));
        }
        EXPECT_EQ(flags, c.expected);
    }
}

TEST(HardDriveTest, IdentifyDataStandsWhereDescriptorsFail) {
    {
        test::FakeMachine machine;
        DetectOneDisk(machine,
                      {test::IdentifyResult("  Intel Raid 0 Volume  ", "01X2"), 0, {}, {}});
        EXPECT_EQ(StoredText(L"71431#0"), L"Intel Raid 0 Volume");
        EXPECT_EQ(StoredText(L"71432#0"), L"01X2");
        EXPECT_EQ(StoredText(L"71434#0"), L"Yes");
        EXPECT_EQ(StoredText(L"71433#0"), L"No");
        EXPECT_EQ(StoredText(L"71438#0"), L"");
    }
    test::FakeMachine machine;
    Log::Instance().SetLevel(Log::kTrace);
    DetectOneDisk(machine, {{}, 7, test::DeviceDescriptor(11, "intel", "X25-M", "02HD"), {}});
    EXPECT_EQ(StoredText(L"71431#0"), L"X25-M") << "descriptors still asked after identify failed";
    EXPECT_EQ(StoredText(L"71434#0"), L"Yes") << "INTEL found in the vendor whatever its case";
    EXPECT_EQ(StoredText(L"71433#0"), L"Yes");
    EXPECT_TRUE(LoggedMessage(machine, L"Error with DeviceIoControl: 5"));
}

// The longer of the disk's and the Setup API's firmware wins; a model beginning with "SSD" is a
// solid-state disk.
TEST(HardDriveTest, FirmwareAndSolidStateFromTheDescriptorTexts) {
    struct Case {
        const char* model;
        const char* diskRevision;
        std::wstring setupFirmware;
        std::wstring firmware;
        const wchar_t* solidState;
    };
    const Case cases[] = {{"Acme SSD 850", "CC38", L"CC38____", L"CC38____", L"No"},
                          {"SSD2SC240G", "1CC38___", L"CC38____", L"1CC38___", L"Yes"},
                          {"ssd2SC240G", " 2CV1 ", L"", L"2CV1", L"No"},
                          {"SS", "CC38", L"", L"CC38", L"No"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.model);
        test::FakeMachine machine;
        DetectOneDisk(machine,
                      {{}, 0, test::DeviceDescriptor(11, nullptr, c.model, c.diskRevision), {}},
                      c.setupFirmware);
        EXPECT_EQ(StoredText(L"71432#0"), c.firmware);
        EXPECT_EQ(StoredText(L"71444#0"), c.solidState);
    }
}

TEST(HardDriveTest, VendorSpillSplitsAtTheFirstBlank) {
    struct Case {
        std::wstring vendor;
        std::wstring model;
        std::wstring vendorAfter;
        std::wstring modelAfter;
    };
    const Case cases[] = {
        {L"ABC DE50", L"00FGH-01", L"ABC", L"DE5000FGH-01"},
        {L"ABC", L"DE 50", L"ABC", L"DE 50"},  // no blank in the vendor: untouched
        {L"", L"A B", L"", L"A B"},
        {L"A B C", L"D", L"A", L"B CD"},
    };
    for (const Case& c : cases) {
        PhysicalDriveInfo info;
        info.vendor = c.vendor;
        info.model = c.model;
        PhysicalDrive::SplitVendorSpill(info);
        EXPECT_EQ(info.vendor, c.vendorAfter) << c.vendor;
        EXPECT_EQ(info.model, c.modelAfter) << c.vendor;
    }
}

}  // namespace
}  // namespace rigel
