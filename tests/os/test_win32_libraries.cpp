#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "os/fake/fake_libraries.h"
#include "os/libraries.h"
#ifdef _WIN32
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
// beside; it answers what the environment tells it. Every export is read through the adapter: a
// failed status (GetWidgitVersion=7) stores nothing, each flag is whether the library said 0.
TEST(StandInTest, SoftwareDetectionOnWinesMachineStoresWhatTheLibraryAnswers) {
    test::FreshProcessState();
    ASSERT_EQ(
        _wputenv_s(L"RIGEL_WIDI_STAND_IN",
                   L"GetPlatform=0,1;GetProduct=0,0;GetWiDiVersion=0,3,5,0,1;GetWidgitVersion=7"),
        0);
    Software software;
    software.Detect();
    EXPECT_EQ(test::Stored(), (std::vector<std::wstring>{
                                  L"71351#0=4.5.22.0", L"71489#0=No", L"71486#0=3.5.0.1",
                                  L"71487#0=Yes", L"71490#0=Yes", L"71491#0=No", L"71499#0=No"}));
    test::FreshProcessState();
    EXPECT_EQ(_wputenv_s(L"RIGEL_WIDI_STAND_IN", L""), 0);
}
#endif

}  // namespace
}  // namespace rigel::os
