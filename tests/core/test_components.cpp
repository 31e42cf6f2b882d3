#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "core/components.h"
#include "core/system.h"
#include "detect/devices/cd_rom.h"
#include "detect/devices/direct_x.h"
#include "detect/devices/dvd.h"
#include "detect/devices/gpu.h"
#include "detect/devices/graphics.h"
#include "detect/devices/hard_drive.h"
#include "detect/devices/logical_drive.h"
#include "detect/devices/monitor.h"
#include "detect/devices/scsi.h"
#include "detect/platform/applications.h"
#include "detect/platform/bios.h"
#include "detect/platform/browser.h"
#include "detect/platform/chassis.h"
#include "detect/platform/cpu.h"
#include "detect/platform/mother_board.h"
#include "detect/platform/os.h"
#include "detect/platform/ram.h"
#include "detect/platform/software.h"
#include "detect/platform/sound.h"
#include "diag/log.h"
#include "service/network_device.h"
#include "support/fake_data_service.h"
#include "support/fake_machine.h"
#include "values/name.h"

namespace rigel {
namespace {

std::vector<std::wstring>* runLog = nullptr;

// A component that notes its run and stores one value named after it.
template <int N>
class Recording : public Component {
  public:
    bool Detect() override {
        runLog->push_back(L"run " + std::to_wstring(N));
        Name name(L"from " + std::to_wstring(N));
        AddValue(GroupID(static_cast<std::uint32_t>(70000 + N)), name);
        return true;
    }
};

template <typename T>
std::unique_ptr<Component> Make() {
    return std::make_unique<T>();
}

// A detector whose steps store a value and then fail.
class Failing : public Detector {
  public:
    Failing() : Detector(L"rigel::Failing::Detect", L"Error in Failing detection.") {}

  protected:
    void Run() override {
        Name partial(L"partial");
        AddValue(GroupID(71000u), partial);
        throw std::logic_error("not logged");
    }
};

// A component without a handler of its own, like the sound detector.
class Escaping : public Component {
  public:
    bool Detect() override { throw std::runtime_error("escapes"); }
};

class ComponentsTest : public ::testing::Test {
  protected:
    ComponentsTest() { runLog = &runs; }
    ~ComponentsTest() override { runLog = nullptr; }

    test::FakeMachine machine;
    test::FakeDataService service;
    ScopedDataService serviceScope{service};
    std::vector<std::wstring> runs;
};

TEST_F(ComponentsTest, TheTwentyDetectorsAreCreatedInTheirFixedOrder) {
    Components registry;
    registry.Init();
    const std::vector<const std::type_info*> expected = {
        &typeid(CPU),       &typeid(GPU),          &typeid(Bios),         &typeid(CDRom),
        &typeid(Chassis),   &typeid(DirectX),      &typeid(DVD),          &typeid(Graphics),
        &typeid(HardDrive), &typeid(LogicalDrive), &typeid(MotherBoard),  &typeid(NetworkDevice),
        &typeid(OS),        &typeid(Ram),          &typeid(Sound),        &typeid(Software),
        &typeid(Browser),   &typeid(Monitor),      &typeid(Applications), &typeid(SCSI)};
    ASSERT_EQ(registry.List().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const Component& component = *registry.List()[i];
        EXPECT_EQ(typeid(component), *expected[i]) << "position " << i;
    }
}

TEST_F(ComponentsTest, ComponentsRunOncePerProcessWhateverTheRegistry) {
    Log::Instance().SetLevel(7);
    Components first({&Make<Recording<1>>, &Make<Recording<2>>});
    first.Detect();
    const auto linesAfterFirst = machine.LogLines().size();
    first.Detect();
    Components second({&Make<Recording<3>>});
    second.Detect();
    EXPECT_EQ(runs, (std::vector<std::wstring>{L"run 1", L"run 2"}));
    EXPECT_EQ(machine.LogLines().size(), linesAfterFirst) << "later calls return at once";
    EXPECT_TRUE(second.List().empty()) << "components are created by the first registry only";
}

TEST_F(ComponentsTest, AFailingDetectorLogsItsMessageKeepsItsValuesAndTheLoopGoesOn) {
    Log::Instance().SetLevel(1);
    Components registry({&Make<Recording<1>>, &Make<Failing>, &Make<Recording<2>>});
    registry.Detect();
    EXPECT_EQ(runs, (std::vector<std::wstring>{L"run 1", L"run 2"}));
    EXPECT_EQ(machine.LogMessages(), std::vector<std::wstring>{L"Error in Failing detection."});
    EXPECT_EQ(machine.LogLines()[0].substr(18, 5), L"ERR  ");
    const auto& values = System::Instance().GetSystemValues().Values();
    ASSERT_EQ(values.size(), 3u);
    EXPECT_EQ(values[0].text, L"from 1");
    EXPECT_EQ(values[1].text, L"partial");
    EXPECT_EQ(values[2].text, L"from 2");
}

TEST_F(ComponentsTest, AnExceptionEscapingAComponentEndsTheRunForTheProcess) {
    Components registry({&Make<Recording<1>>, &Make<Escaping>, &Make<Recording<2>>});
    EXPECT_THROW(registry.Detect(), std::runtime_error);
    registry.Detect();
    EXPECT_EQ(runs, std::vector<std::wstring>{L"run 1"});
}

// Each detector's own failure message, reached by making its steps throw.
template <typename Base>
class Throwing : public Base {
  protected:
    void Run() override { throw std::runtime_error("boom"); }
};

template <typename T>
std::wstring FailureMessageOf() {
    test::FakeMachine machine;
    Log::Instance().SetLevel(1);
    Throwing<T> detector;
    EXPECT_TRUE(detector.Detect());
    const auto messages = machine.LogMessages();
    return messages.size() == 1 ? messages[0]
                                : L"<" + std::to_wstring(messages.size()) + L" lines>";
}

TEST(DetectorFailureMessages, EachDetectorLogsItsOwnMessage) {
    EXPECT_EQ(FailureMessageOf<CPU>(), L"Error in CPU detection.");
    EXPECT_EQ(FailureMessageOf<GPU>(), L"Error in GPU::Detect");
    EXPECT_EQ(FailureMessageOf<Bios>(), L"Error in Bios detection.");
    EXPECT_EQ(FailureMessageOf<CDRom>(), L"Error in CDRom detection.");
    EXPECT_EQ(FailureMessageOf<Chassis>(), L"Error in Chassis detection.");
    EXPECT_EQ(FailureMessageOf<DirectX>(), L"Error in DirectX detection.");
    EXPECT_EQ(FailureMessageOf<DVD>(), L"Error in DVD detection.");
    EXPECT_EQ(FailureMessageOf<Graphics>(), L"Error in Graphics detection.");
    EXPECT_EQ(FailureMessageOf<HardDrive>(), L"Error in HardDrive detection.");
    EXPECT_EQ(FailureMessageOf<LogicalDrive>(), L"Error in LogicalDrive detection.");
    EXPECT_EQ(FailureMessageOf<MotherBoard>(), L"Error in Motherboard detection.");
    EXPECT_EQ(FailureMessageOf<NetworkDevice>(), L"Error in NetworkDevice detection.");
    EXPECT_EQ(FailureMessageOf<OS>(), L"Error in OS detection.");
    EXPECT_EQ(FailureMessageOf<Ram>(), L"Error in Ram detection.");
    EXPECT_EQ(FailureMessageOf<Software>(), L"Error in Software detection.");
    EXPECT_EQ(FailureMessageOf<Browser>(), L"Error in Browser detection.");
    EXPECT_EQ(FailureMessageOf<Monitor>(), L"Error in Monitor detection.");
    EXPECT_EQ(FailureMessageOf<Applications>(), L"Error with Applications detection.");
    EXPECT_EQ(FailureMessageOf<SCSI>(), L"Error in SCSI detection.");
}

}  // namespace
}  // namespace rigel
