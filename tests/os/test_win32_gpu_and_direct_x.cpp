// The GPU and DirectX detectors on Wine's machine, through the real services, with their time.
#ifdef _WIN32
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "detect/devices/direct_x.h"
#include "detect/devices/gpu.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "os/fake/fake_debug_output.h"
#include "os/scoped_services.h"
#include "os/services.h"
#include "os/win32/com_apartment.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

// Wine's own services, with the log kept in memory at TRACE.
class WineMachine {
  public:
    WineMachine() : services_(WithCapturedLog(output_)) {
        test::FreshProcessState();
        Log::Instance().SetLevel(Log::kTrace);
    }
    ~WineMachine() { test::FreshProcessState(); }

    bool Logged(const std::wstring& message) const {
        return output_.Text().find(message) != std::wstring::npos;
    }

  private:
    static os::Services WithCapturedLog(os::FakeDebugOutput& output) {
        os::Services services = os::DefaultServices();
        services.debugOutput = &output;
        return services;
    }

    os::ComApartment apartment_;
    os::FakeDebugOutput output_;
    os::ScopedServices services_;
};

template <typename Detector>
long long TimedDetect(const char* name) {
    const auto start = std::chrono::steady_clock::now();
    Detector detector;
    EXPECT_TRUE(detector.Detect());
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(
                                  std::chrono::steady_clock::now() - start)
                                  .count();
    ::testing::Test::RecordProperty(std::string(name) + "Milliseconds",
                                    static_cast<int>(milliseconds));
    std::printf("%s detector: %lld ms\n", name, static_cast<long long>(milliseconds));
    return milliseconds;
}

// Wine's provider says 9.0c, but Direct3D 11 and DXGI load, so the stored text is 11.0.
TEST(Win32DetectorsTest, DirectXOnWinesMachine) {
    WineMachine machine;
    EXPECT_EQ(DirectX::GetDirectXVersion(30), L"9.0c");
    DirectX::Version files;
    EXPECT_TRUE(DirectX::GetDirectXVersionFromFiles(files));
    EXPECT_EQ(files.major, 9u);  // Wine ships a versioned d3d9.dll
    TimedDetect<DirectX>("DirectX");
    EXPECT_EQ(test::Stored(), std::vector<std::wstring>{L"71082#0=11.0"});
}

// Wine's one display adapter has vendor and device 0, so the filter drops it and nothing is
// stored. What each source sees on Wine's machine is checked with the sources.
TEST(Win32DetectorsTest, GpuOnWinesMachine) {
    WineMachine machine;
    TimedDetect<GPU>("GPU");
    EXPECT_TRUE(test::Stored().empty());
    EXPECT_TRUE(machine.Logged(L"Got 1 adapters from SetupLib."));
    EXPECT_TRUE(machine.Logged(L"Got 0 adapters after the filter."));
    EXPECT_FALSE(machine.Logged(L"Error in GPU::Detect"));
    // A second pass reuses the loaded sources.
    TimedDetect<GPU>("GpuAgain");
}

}  // namespace
}  // namespace rigel
#endif
