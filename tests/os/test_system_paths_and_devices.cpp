#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "os/device_io.h"
#include "os/fake/fake_device_io.h"
#include "os/fake/fake_system_info.h"
#include "os/system_info.h"
#ifdef _WIN32
#include "os/win32/win32_system_info.h"
#endif

namespace rigel::os {
namespace {

// The buffer protocol the portable readers rely on, asked of the real calls under Wine and of
// the fake everywhere: too small a buffer asks for the size with the terminator, a fitting one
// gives the length (counting the terminator for the environment call alone).
void CheckPathContract(SystemInfo& info) {
    std::wstring windows;
    const std::uint32_t needed = info.WindowsDirectory(1, windows);
    EXPECT_TRUE(windows.empty());
    ASSERT_GT(needed, 1u);
    EXPECT_EQ(info.WindowsDirectory(500, windows), needed - 1);
    EXPECT_EQ(windows.size(), needed - 1);

    std::wstring system;
    ASSERT_GT(info.SystemDirectory(500, system), 0u);
    EXPECT_EQ(system.rfind(windows, 0), 0u) << "the system folder lies in the Windows folder";

    std::wstring expanded;
    const std::uint32_t length = info.ExpandEnvironment(L"%SystemRoot%\\inf", 500, expanded);
    EXPECT_EQ(expanded, windows + L"\\inf");
    EXPECT_EQ(length, expanded.size() + 1);
    std::wstring unknown;
    info.ExpandEnvironment(L"%RIGEL_NO_SUCH_NAME%x", 500, unknown);
    EXPECT_EQ(unknown, L"%RIGEL_NO_SUCH_NAME%x");
    std::wstring untouched = L"kept";
    EXPECT_GT(info.ExpandEnvironment(L"%SystemRoot%", 2, untouched), 2u);
    EXPECT_EQ(untouched, L"kept");

    std::wstring module;
    const std::uint32_t moduleLength = info.OwnModuleFileName(500, module);
    EXPECT_EQ(moduleLength, module.size());
    EXPECT_NE(module.find(L'\\'), std::wstring::npos) << "a full path";
}

TEST(SystemPathsAndDevices, FakeAnswersAsWindowsDoes) {
    FakeSystemInfo info;
    info.environment[L"SystemRoot"] = info.windowsDirectory;
    CheckPathContract(info);
}

TEST(SystemPathsAndDevices, FakeDeviceRepliesCutToTheBufferAndRecordCalls) {
    FakeDeviceIo io;
    io.AddDevice(L"\\\\.\\D:");
    io.SetReply(L"\\\\.\\d:", 0x2D0C04, {{1, 2, 3, 4, 5}, 0, nullptr});
    HDevice device = 0;
    std::uint32_t error = 0;
    ASSERT_TRUE(io.Open(L"\\\\.\\D:", 0, 3, DeviceIo::kOpenExisting, 0, device, error));
    std::uint8_t out[4] = {};
    std::uint32_t returned = 0;
    EXPECT_FALSE(io.Control(device, 0x2D0C04, nullptr, 0, out, 4, returned, error));
    EXPECT_EQ(error, DeviceIo::kErrorMoreData);
    EXPECT_EQ(returned, 4u);
    EXPECT_EQ(out[3], 4);
    EXPECT_FALSE(io.Control(device, 0x70000, nullptr, 0, out, 4, returned, error));
    EXPECT_EQ(error, DeviceIo::kErrorInvalidFunction);
    ASSERT_EQ(io.calls.size(), 2u);
    EXPECT_EQ(io.calls[0].outSize, 4u);
    io.Close(device);
    EXPECT_EQ(io.OpenCount(), 0u);
}

#ifdef _WIN32
TEST(SystemPathsAndDevices, Win32MatchesTheContract) {
    Win32SystemInfo info;
    CheckPathContract(info);
}
#endif

}  // namespace
}  // namespace rigel::os
