#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "os/fake/fake_libraries.h"
#include "os/libraries.h"
#ifdef _WIN32
#include "detect/platform/intel_widi_lib.h"
#include "detect/platform/software.h"
#include "detect/stored_values.h"
#include "os/win32/win32_libraries.h"
#include "support/fake_machine.h"
#endif

namespace rigel::os {
namespace {

using TickCount = std::uint32_t (*)();

std::uint32_t FixedTickCount() { return 42; }

// A library that loads, an export that is found and called, one that is not, and a library that
// is not there.
void CheckLibrariesContract(Libraries& libraries, const std::wstring& present,
                            const std::wstring& absent) {
    HModule module = 0;
    std::uint32_t error = 0;
    ASSERT_TRUE(libraries.Load(present, module, error));
    ASSERT_NE(module, 0u);
    const auto tickCount =
        reinterpret_cast<TickCount>(libraries.FindExport(module, "GetTickCount"));
    ASSERT_NE(tickCount, nullptr);
    EXPECT_GT(tickCount(), 0u);
    EXPECT_EQ(libraries.FindExport(module, "gettickcount"), nullptr);
    EXPECT_EQ(libraries.FindExport(module, "NoSuchExport"), nullptr);
    libraries.Free(module);

    module = 1;
    EXPECT_FALSE(libraries.Load(absent, module, error));
    EXPECT_EQ(module, 0u);
    EXPECT_EQ(error, Libraries::kErrorModNotFound);
}

TEST(FakeLibrariesTest, AnswersAsTheLoaderDoes) {
    FakeLibraries libraries;
    libraries.AddLibrary(L"C:\\Windows\\system32\\kernel32.dll",
                         {{"GetTickCount", reinterpret_cast<ExportAddress>(&FixedTickCount)}});
    CheckLibrariesContract(libraries, L"c:\\windows\\SYSTEM32\\kernel32.dll",
                           L"C:\\Windows\\system32\\no_such_library.dll");
    EXPECT_EQ(libraries.LoadedCount(), 0u);
}

#ifdef _WIN32
TEST(Win32LibrariesTest, WinesLoaderAnswersTheContract) {
    Win32Libraries libraries;
    CheckLibrariesContract(libraries, L"kernel32.dll", L"C:\\windows\\no_such_library.dll");
}

// The stand-in library lies beside this test program, which is the module the adapter looks
// beside; the stand-in answers what the environment tells it.
class StandInTest : public ::testing::Test {
  protected:
    void SetUp() override { test::FreshProcessState(); }
    void TearDown() override {
        test::FreshProcessState();
        Choose(L"");
    }
    static void Choose(const std::wstring& results) {
        ASSERT_EQ(_wputenv_s(L"RIGEL_WIDI_STAND_IN", results.c_str()), 0);
    }
};

TEST_F(StandInTest, TheWiDiAdapterReadsWhatTheLibraryWasToldToAnswer) {
    Choose(L"GetPlatform=0,0;GetProduct=0,3;GetWiDiVersion=0,3,0,0,0;GetWidgitVersion=0,0,0,5,1");
    IntelWiDiLib& library = IntelWiDiLib::Instance();
    ASSERT_TRUE(library.Initialize());
    std::wstring version;
    EXPECT_TRUE(library.GetWiDiVersion(version));
    EXPECT_EQ(version, L"3.0.0.0");
    EXPECT_FALSE(library.GetWidgitVersion(version));
    EXPECT_EQ(version, L"");
    bool flag = false;
    EXPECT_TRUE(library.GetPlatform(flag));
    EXPECT_TRUE(flag);
    EXPECT_TRUE(library.GetProduct(flag));
    EXPECT_FALSE(flag);

    Choose(L"GetWidgitVersion=0,4,1,0,12;GetProduct=2,0");
    EXPECT_TRUE(library.GetWidgitVersion(version));
    EXPECT_EQ(version, L"4.1.0.12");
    EXPECT_FALSE(library.GetWiDiVersion(version));
    EXPECT_FALSE(library.GetProduct(flag));
}

TEST_F(StandInTest, SoftwareDetectionOnWinesMachineStoresWhatTheLibraryAnswers) {
    Choose(L"GetPlatform=0,1;GetProduct=0,0;GetWiDiVersion=0,3,5,0,1;GetWidgitVersion=7");
    Software software;
    software.Detect();
    EXPECT_EQ(test::Stored(), (std::vector<std::wstring>{
                                  L"71351#0=4.5.22.0", L"71489#0=No", L"71486#0=3.5.0.1",
                                  L"71487#0=Yes", L"71490#0=Yes", L"71491#0=No", L"71499#0=No"}));
}
#endif

}  // namespace
}  // namespace rigel::os
