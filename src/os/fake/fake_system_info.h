#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "os/system_info.h"

namespace rigel::os {

// A system whose facts a test sets; each call answers from its field, and a call that can fail
// fails when its flag says so.
class FakeSystemInfo : public SystemInfo {
  public:
    bool versionSucceeds = true;
    OsVersion version;
    ProcessorSystemInfo systemInfo{kArchitectureAmd64, 1};
    ProcessorSystemInfo nativeSystemInfo{kArchitectureAmd64, 1};
    bool productInfoSucceeds = true;
    std::uint32_t productType = 0;
    std::map<int, int> metrics;
    bool wow64Succeeds = true;
    bool wow64 = false;
    std::uint32_t lcid = 0x0409;
    bool memoryStatusExSucceeds = true;
    MemoryStatus memoryStatusEx;
    MemoryStatus memoryStatus;
    bool powerCapabilitiesSucceed = true;
    PowerCapabilities powerCapabilities;
    std::int32_t guidStatus = 0;
    std::wstring guidText = L"{00000000-0000-0000-0000-000000000000}";

    bool GetVersion(OsVersion& out) override {
        if (versionSucceeds) out = version;
        return versionSucceeds;
    }
    ProcessorSystemInfo GetSystemInfo() override { return systemInfo; }
    ProcessorSystemInfo GetNativeSystemInfo() override { return nativeSystemInfo; }
    bool GetProductInfo(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                        std::uint32_t& type) override {
        type = productInfoSucceeds ? productType : 0;
        return productInfoSucceeds;
    }
    int GetSystemMetrics(int index) override {
        auto found = metrics.find(index);
        return found != metrics.end() ? found->second : 0;
    }
    bool IsWow64Process(bool& out) override {
        if (wow64Succeeds) out = wow64;
        return wow64Succeeds;
    }
    std::uint32_t GetUserDefaultLcid() override { return lcid; }
    bool GlobalMemoryStatusEx(MemoryStatus& out) override {
        if (memoryStatusExSucceeds) out = memoryStatusEx;
        return memoryStatusExSucceeds;
    }
    void GlobalMemoryStatus(MemoryStatus& out) override { out = memoryStatus; }
    bool GetPowerCapabilities(PowerCapabilities& out) override {
        if (powerCapabilitiesSucceed) out = powerCapabilities;
        return powerCapabilitiesSucceed;
    }
    std::int32_t CreateGuidText(std::wstring& text) override {
        if (guidStatus >= 0) text = guidText;
        return guidStatus;
    }
};

}  // namespace rigel::os
