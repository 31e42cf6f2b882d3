#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "core/system.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "os/registry.h"
#include "os/setup_api.h"
#include "service/network_device.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using test::Stored;

constexpr os::HKey kMachine = os::Registry::kLocalMachine;

class NetworkDeviceTest : public ::testing::Test {
  protected:
    NetworkDeviceTest() {
        machine_.clock.performanceFrequency = 1000;
        machine_.clock.performanceCounterStep = 0;  // the test moves the counter itself
        machine_.http.response.body = std::string(1048576, 'd');
        Schedule();
    }

    // The download's first read takes a second; the two uploads 100 and 300 ms.
    void Schedule() {
        machine_.clock.performanceCounter = 1;
        machine_.http.onRead = [this, first = true]() mutable {
            if (first) machine_.clock.performanceCounter += 1000;
            first = false;
        };
        machine_.http.onSend = [this, sends = 0]() mutable {
            machine_.clock.performanceCounter += ++sends == 1 ? 100 : 300;
        };
    }

    // A network adapter with its driver key and connection settings in the registry.
    void AddAdapter(const std::wstring& instance, const std::wstring& name,
                    const std::wstring& hardwareId, const std::wstring& location,
                    const std::wstring& driverVersion, std::uint32_t mediaSubType) {
        const std::wstring driverKey = L"{4D36E972-E325-11CE-BFC1-08002BE10318}\\" + instance;
        const std::wstring classKey = L"SYSTEM\\CurrentControlSet\\Control\\Class\\" + driverKey;
        machine_.setupApi.AddDevice(os::SetupApi::kNetClass)
            .Text(os::SetupApi::kFriendlyName, name)
            .Text(os::SetupApi::kHardwareId, hardwareId)
            .Text(os::SetupApi::kLocationInformation, location)
            .Text(os::SetupApi::kDriverKeyName, driverKey);
        if (!driverVersion.empty()) {
            machine_.registry.SetString(kMachine, classKey, L"DriverVersion", driverVersion);
        }
        machine_.registry.SetString(kMachine, classKey, L"NetCFGInstanceID",
                                    L"{" + instance + L"}");
        machine_.registry.SetDword(kMachine,
                                   L"SYSTEM\\CurrentControlSet\\Control\\Network\\"
                                   L"{4D36E972-E325-11CE-BFC1-08002BE10318}\\{" +
                                       instance + L"}\\Connection",
                                   L"MediaSubType", mediaSubType);
    }

    // The data service enables these groups for the referrer.
    static void EnableOnly(std::vector<std::uint32_t> numbers) {
        ReferrerGroups& groups = System::Instance().GetReferrerGroups();
        groups.loaded = true;
        groups.referrer = L"r1";
        groups.groups.clear();
        for (std::uint32_t number : numbers) groups.groups.emplace_back(number);
    }

    test::FakeMachine machine_;
};

TEST_F(NetworkDeviceTest, StoresSixValuesPerAdapterInTheOrderTheSetupApiListsThem) {
    AddAdapter(L"0007", L"Onboard Ethernet", L"PCI\\VEN_8086&DEV_10D3",
               L"PCI bus 0, device 25, function 0", L"12.6.47.1", 1);
    AddAdapter(L"0011", L"Wireless", L"PCI\\VEN_168C&DEV_002B", L"PCI bus 2, device 0, function 0",
               L"", 2);
    EnableOnly({71357});  // the adapters are stored whatever the groups
    Log::Instance().SetLevel(Log::kMark);

    EXPECT_TRUE(NetworkDevice().Detect());
    const std::vector<std::wstring> messages = machine_.LogMessages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front(), L"Entering: rigel::NetworkDevice::Detect");
    EXPECT_EQ(messages.back(), L"Exiting: rigel::NetworkDevice::Detect");
    EXPECT_EQ(Stored(), (std::vector<std::wstring>{
                            L"71357#0=Onboard Ethernet", L"71358#0=PCI\\VEN_8086&DEV_10D3",
                            L"71384#0=Yes", L"71375#0=Yes", L"71376#0=No", L"71359#0=12.6.47.1",
                            L"71357#1=Wireless", L"71358#1=PCI\\VEN_168C&DEV_002B", L"71384#1=No",
                            L"71375#1=No", L"71376#1=Yes", L"71359#1="}));
}

TEST_F(NetworkDeviceTest, MeasuresOnlyTheSpeedsWhoseGroupsAreEnabled) {
    const struct {
        const char* what;
        std::vector<std::uint32_t> groups;
        std::vector<std::wstring> stored;
        std::size_t requests;
    } cases[] = {
        {"both", {71069, 71422}, {L"71069#0=8.0 Mbps", L"71422#0=1.5 Mbps"}, 3},
        {"download", {71069}, {L"71069#0=8.0 Mbps"}, 1},
        {"upload", {71422, 1}, {L"71422#0=1.5 Mbps"}, 2},
        {"neither", {71357}, {}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FreshProcessState();
        machine_.http.exchanges.clear();
        Schedule();
        EnableOnly(c.groups);
        EXPECT_TRUE(NetworkDevice().Detect());
        EXPECT_EQ(Stored(), c.stored);
        EXPECT_EQ(machine_.http.exchanges.size(), c.requests);
    }
}

TEST_F(NetworkDeviceTest, DownloadsTheTestFileAndLogsBothSpeeds) {
    Log::Instance().SetLevel(Log::kTrace);
    EXPECT_TRUE(NetworkDevice().Detect());

    const std::wstring url = machine_.http.exchanges.at(0).url;
    EXPECT_EQ(url.rfind(L"http://", 0), 0u) << url;
    const std::wstring path = L"/global/tests/test_2.bin";
    EXPECT_EQ(url.substr(url.size() - path.size()), path);
    EXPECT_EQ(url, NetworkDevice::TestFileUrl());

    std::vector<std::wstring> messages = machine_.LogMessages();
    messages.erase(std::remove_if(messages.begin(), messages.end(),
                                  [](const std::wstring& message) {
                                      return message.rfind(L"Result: ", 0) == 0 ||
                                             message == L"Successfully sent data." ||
                                             message.find(L"upload speed") != std::wstring::npos;
                                  }),
                   messages.end());
    EXPECT_EQ(messages, (std::vector<std::wstring>{
                            L"downloadRate = 8388608 bps", L"Network speed is: 8388608 bps bps",
                            L"Adding value: 8.0 Mbps to 71069#0", L"Formatted speed: 8.0 Mbps",
                            L"Cost is : 50", L"Adding value: 1.5 Mbps to 71422#0",
                            L"Upload Speed: 1.5 Mbps"}));
}

TEST_F(NetworkDeviceTest, AFailedDownloadIsStoredAsZero) {
    Log::Instance().SetLevel(Log::kTrace);
    EnableOnly({71069});
    machine_.http.failAt = os::FakeHttp::Step::kOpenUrl;
    NetworkDevice().Detect();
    EXPECT_EQ(Stored(), std::vector<std::wstring>{L"71069#0=0.0 bps"});
    EXPECT_EQ(
        machine_.LogMessages(),
        (std::vector<std::wstring>{L"Network speed is:  bps", L"Adding value: 0.0 bps to 71069#0",
                                   L"Formatted speed: 0.0 bps"}));
}

// The upload's failure reaches the detector from its first request.
TEST_F(NetworkDeviceTest, AFailedUploadEndsTheDetectionKeepingTheDownload) {
    Log::Instance().SetLevel(Log::kError);
    machine_.http.failAt = os::FakeHttp::Step::kSendRequest;
    EXPECT_TRUE(NetworkDevice().Detect());
    EXPECT_EQ(machine_.http.exchanges.size(), 2u);
    EXPECT_EQ(Stored(), std::vector<std::wstring>{L"71069#0=8.0 Mbps"});
    EXPECT_EQ(machine_.LogMessages(),
              (std::vector<std::wstring>{L"Can't send Internet request. Error: 12029",
                                         L"Error in NetworkDevice detection."}));
}

}  // namespace
}  // namespace rigel
