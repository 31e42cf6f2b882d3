#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/system.h"
#include "detect/platform/mother_board.h"
#include "detect/stored_values.h"
#include "support/fake_machine.h"
#include "values/exists.h"

namespace rigel {
namespace {

using os::FakeWmi;

using test::Stored;

TEST(MotherBoardTest, PartNumberShape) {
    for (const wchar_t* version :
         {L"E12345-301", L"e12345-301", L"aaE12345-301", L"aaa12345-301"}) {
        EXPECT_TRUE(MotherBoard::HasPartNumberShape(version)) << version;
    }
    for (const wchar_t* version :
         {L"AAE12345-301", L"aAE12345-301", L"E12345301", L"E12345-30", L"E12345-3011",
          L"aaE12345-3011", L"112345-301", L"E1234X-301", L"E12345_301", L"E12345-30X",
          L"-12345-301", L"E12345-301aa", L" E12345-301", L"", L"E\uFF112345-301"}) {
        EXPECT_FALSE(MotherBoard::HasPartNumberShape(version)) << version;
    }
}

TEST(MotherBoardTest, RegistryVersionWinsAndWmiFillsTheRest) {
    struct Case {
        const char* what;
        const wchar_t* registryVersion;  // null: no value
        std::vector<FakeWmi::Row> rows;
        std::vector<std::wstring> expected;
    };
    const FakeWmi::Row asus = {{L"Manufacturer", FakeWmi::Text(L"ASUSTeK Computer INC.")},
                               {L"Product", FakeWmi::Text(L"P8Z68-V PRO")},
                               {L"Version", FakeWmi::Text(L"Rev 1.xx")}};
    const auto storedWith = [](const std::wstring& manufacturer, const std::wstring& product,
                               const std::wstring& version, const std::wstring& shape) {
        // The four values found, before the four this detector always leaves empty.
        std::vector<std::wstring> stored = {L"71394#0=", L"71395#0=", L"71396#0=", L"71397#0="};
        stored.insert(stored.begin(), {L"71171#0=" + manufacturer, L"71170#0=" + product,
                                       L"71356#0=" + version, L"71437#0=" + shape});
        return stored;
    };
    const Case cases[] = {
        {"registry version wins",
         L"aaE12345-301",
         {asus},
         storedWith(L"ASUSTeK Computer INC.", L"P8Z68-V PRO", L"aaE12345-301", L"Yes")},
        {"no registry value lets the WMI version through",
         nullptr,
         {asus},
         storedWith(L"ASUSTeK Computer INC.", L"P8Z68-V PRO", L"Rev 1.xx", L"No")},
        {"empty registry version is filled by WMI",
         L"",
         {{{L"Version", FakeWmi::Text(L"AAE12345-301")}}},
         storedWith(L"", L"", L"AAE12345-301", L"No")},
        {"second baseboard row overwrites the product",
         nullptr,
         {asus,
          {{L"Product", FakeWmi::Text(L"DH67BL")}, {L"Version", FakeWmi::Text(L"E12345-301")}}},
         storedWith(L"ASUSTeK Computer INC.", L"DH67BL", L"E12345-301", L"Yes")},
        {"NULL properties are empty texts",
         nullptr,
         {{{L"Manufacturer", FakeWmi::Null(FakeWmi::kCimString)},
           {L"Product", FakeWmi::Null(FakeWmi::kCimString)},
           {L"Version", FakeWmi::Text(L"E12345-301")}}},
         storedWith(L"", L"", L"E12345-301", L"Yes")},
        {"nothing found", nullptr, {}, storedWith(L"", L"", L"", L"No")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        if (c.registryVersion != nullptr) {
            machine.registry.SetString(os::Registry::kLocalMachine,
                                       L"HARDWARE\\DESCRIPTION\\System\\BIOS", L"BaseBoardVersion",
                                       c.registryVersion);
        }
        machine.wmi.tables[L"Win32_BaseBoard"] = c.rows;

        MotherBoard board;
        EXPECT_TRUE(board.Detect());
        EXPECT_EQ(Stored(), c.expected);
    }
}

TEST(MotherBoardTest, IntelMachineAddsTheFourDriverTexts) {
    test::FakeMachine machine;
    machine.serviceControl.openManagerError = 5;
    machine.processLauncher.programs[L"C:\\Program Files\\Rigel\\cpuprobe.exe"] = [&machine] {
        machine.sharedMemory.WriteText(L"INTEL_VEGAPROBE_DRIVER",
                                       L"71394|GT2|71395|4|71396|1C3A|71397|9|71398|1|");
    };
    Exists intel(true);
    System::Instance().GetSystemValues().AddValue(71256, intel);

    MotherBoard board;
    EXPECT_TRUE(board.Detect());
    const std::vector<std::wstring> stored = Stored();
    EXPECT_EQ(
        std::vector<std::wstring>(stored.end() - 4, stored.end()),
        (std::vector<std::wstring>{L"71394#0=GT2", L"71395#0=4", L"71396#0=1C3A", L"71397#0=9"}));
}

}  // namespace
}  // namespace rigel
