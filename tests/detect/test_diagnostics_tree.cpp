#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "detect/devices/gpu.h"
#include "detect/platform/cpu.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using os::FakeWmi;

// Counts how many of the calls it is given run at the same time; each stays long enough for a
// call on another thread to start meanwhile if nothing keeps them apart.
class Overlap {
  public:
    std::function<void()> Call() {
        return [this] {
            const int now = ++inside_;
            int seen = most_.load();
            while (now > seen && !most_.compare_exchange_weak(seen, now)) {
            }
            ++calls_;
            std::this_thread::sleep_for(std::chrono::milliseconds(40));
            --inside_;
        };
    }
    int Most() const { return most_; }
    int Calls() const { return calls_; }

  private:
    std::atomic<int> inside_{0};
    std::atomic<int> most_{0};
    std::atomic<int> calls_{0};
};

// The provider reads WMI while it initialises, on the tree's own thread; Wine's WMI crashes when
// two threads query it at once. The processor detector queries WMI while the tree is read.
TEST(DiagnosticsTreeTest, ProviderNeverInitialisesWhileTheProcessorQueriesWmi) {
    test::FakeMachine machine;
    machine.wmi.tables[L"Win32_Processor"] = {{{L"Name", FakeWmi::Text(L"Processor")}}};
    Overlap overlap;
    machine.wmi.whileQuerying = overlap.Call();
    machine.diagnostics.whileInitializing = overlap.Call();
    {
        GPU gpu;  // starts the read, as the pass does when it makes its detectors
        CPU cpu;
        EXPECT_TRUE(cpu.Detect());
    }
    EXPECT_EQ(machine.diagnostics.providerInitializations, 1);
    EXPECT_EQ(machine.wmi.queries.size(), 1u);
    EXPECT_EQ(overlap.Calls(), 2);
    EXPECT_EQ(overlap.Most(), 1);
}

// A pass that makes the graphics detector and ends before it runs still ends the read with it:
// nothing of the read may run once the pass is over and the module can be unloaded.
TEST(DiagnosticsTreeTest, GraphicsDetectorThatNeverRanWaitsForTheReadWhenDropped) {
    test::FakeMachine machine;
    Overlap overlap;
    machine.diagnostics.whileInitializing = overlap.Call();
    { GPU gpu; }
    EXPECT_EQ(machine.diagnostics.providerInitializations, 1);
    EXPECT_EQ(machine.diagnostics.comUninitializations, 1);
    EXPECT_EQ(machine.diagnostics.LiveObjectCount(), 0u);
}

}  // namespace
}  // namespace rigel
