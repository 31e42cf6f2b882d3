#include "service/network_device.h"

#include <cstdint>

#include "core/system.h"
#include "detect/devices/setup_lib.h"
#include "diag/log.h"
#include "service/bandwidth.h"
#include "service/download_speed_test.h"
#include "service/upload_speed_test.h"
#include "values/exists.h"

namespace rigel {
namespace {

constexpr std::uint32_t kName = 71357;
constexpr std::uint32_t kHardwareId = 71358;
constexpr std::uint32_t kOnPciBus0 = 71384;
constexpr std::uint32_t kMediaType1 = 71375;
constexpr std::uint32_t kMediaType2 = 71376;
constexpr std::uint32_t kDriverVersion = 71359;
constexpr std::uint32_t kDownloadSpeed = 71069;
constexpr std::uint32_t kUploadSpeed = 71422;

bool IsEnabled(std::uint32_t group) {
    return System::Instance().GetReferrerGroups().IsGroupEnabled(GroupID(group));
}

}  // namespace

NetworkDevice::NetworkDevice()
    : Detector(L"rigel::NetworkDevice::Detect", L"Error in NetworkDevice detection.") {}

void NetworkDevice::Run() {
    std::vector<NetworkDeviceInfo> adapters;
    SetupLib::Instance().GetNetworkDeviceInfo(adapters);
    StoreAdapters(adapters);
    if (IsEnabled(kDownloadSpeed)) MeasureDownload();
    if (IsEnabled(kUploadSpeed)) MeasureUpload();
}

void NetworkDevice::StoreAdapters(const std::vector<NetworkDeviceInfo>& adapters) {
    SystemValues& values = System::Instance().GetSystemValues();
    std::uint32_t index = 0;
    for (const NetworkDeviceInfo& adapter : adapters) {
        Exists onPciBus0(adapter.onPciBus0);
        Exists mediaType1(adapter.mediaType1);
        Exists mediaType2(adapter.mediaType2);
        values.AddValue(kName, index, adapter.name);
        values.AddValue(kHardwareId, index, adapter.hardwareId);
        values.AddValue(kOnPciBus0, index, onPciBus0);
        values.AddValue(kMediaType1, index, mediaType1);
        values.AddValue(kMediaType2, index, mediaType2);
        values.AddValue(kDriverVersion, index, adapter.driverVersion);
        ++index;
    }
}

std::wstring NetworkDevice::TestFileUrl() {
    std::wstring url = L"http://";
    for (const char* c = RIGEL_CONTENT_HOST; *c != '\0'; ++c) url += static_cast<wchar_t>(*c);
    // Plain HTTP leaves out its own port, as a browser's address would.
    if (RIGEL_CONTENT_PORT != 80) url += L":" + std::to_wstring(RIGEL_CONTENT_PORT);
    return url + L"/global/tests/test_2.bin";
}

void NetworkDevice::MeasureDownload() {
    Log& log = Log::Instance();
    // An empty text, from a download that did not complete, is stored as 0 bps.
    const std::wstring rate = DownloadSpeedTest::Run(TestFileUrl());
    log.Line(Log::kTrace, L"Network speed is: ", rate, L" bps");
    Bandwidth download(rate);
    AddValue(GroupID(kDownloadSpeed), download);
    log.Line(Log::kTrace, L"Formatted speed: ", download.ToString());
}

void NetworkDevice::MeasureUpload() {
    Bandwidth upload(UploadSpeedTest::Run());
    AddValue(GroupID(kUploadSpeed), upload);
    Log::Instance().Line(Log::kTrace, L"Upload Speed: ", upload.ToString());
}

}  // namespace rigel
