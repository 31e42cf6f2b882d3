#include "detect/platform/cpu.h"

#include <cstdint>

#include "core/group_id.h"
#include "core/system.h"
#include "detect/platform/cpuid.h"
#include "detect/platform/intel_driver.h"
#include "detect/platform/registry.h"
#include "detect/platform/system_information.h"
#include "detect/platform/wmi.h"
#include "values/exists.h"
#include "values/name.h"

namespace rigel {
namespace {

constexpr std::uint32_t kIntel = 71256;
const wchar_t* const kWhiteSpace = L" \t\n\v\f\r";

void FillEmpty(std::wstring& result, const std::wstring& source) {
    if (result.empty()) result = source;
}

void StoreText(std::uint32_t number, const std::wstring& text) {
    Name name(text);
    System::Instance().GetSystemValues().AddValue(number, name);
}

void StoreFlag(std::uint32_t number, bool flag) {
    Exists exists(flag);
    System::Instance().GetSystemValues().AddValue(number, exists);
}

}  // namespace

CPU::CPU() : Detector(L"rigel::CPU::Detect", L"Error in CPU detection.") {}

void CPU::Run() {
    CpuInfo fromWmi;
    WMI::Instance().GetCpuInfo(fromWmi);
    CpuInfo fromCpuid;
    CPUID::Instance().GetCpuInfo(fromCpuid);
    SystemInformation system;
    CpuInfo fromSystem;
    system.GetSystemCpuInfo(fromSystem);
    CpuInfo fromRegistry;
    Registry::Instance().GetCpuInfo(fromRegistry);
    StoreIntelEarly({&fromWmi, &fromCpuid, &fromSystem, &fromRegistry});
    const CpuInfo fromDriver = ReadDriver();

    CpuInfo merged;
    for (const CpuInfo* source :
         std::initializer_list<const CpuInfo*>{&fromCpuid, &fromRegistry, &fromWmi}) {
        Merge(merged, *source);
    }
    // A page waits for this detection, and the measured clock only ever fills a speed that
    // neither the registry's "~MHz" nor WMI's "MaxClockSpeed" gave; on Windows the registry
    // always gives one. So the one-second measurement runs only when no speed came before it:
    // the stored speed is the one it always was, without the wait.
    if (!merged.speed.IsValid()) system.GetMeasuredSpeed(fromSystem);
    Merge(merged, fromSystem);
    Merge(merged, fromDriver);
    merged.name = CleanName(merged.name);
    Store(merged);
}

void CPU::StoreIntelEarly(std::initializer_list<const CpuInfo*> records) {
    for (const CpuInfo* record : records) {
        if (record->isIntel) {
            StoreFlag(kIntel, true);
            return;
        }
    }
}

CpuInfo CPU::ReadDriver() {
    CpuInfo info;
    if (!System::Instance().GetSystemValues().IsIntelCPU()) return info;
    IntelDriver& driver = IntelDriver::Instance();
    info.platformIdBits = driver.PlatformIdBits();
    info.driverValue = driver.DriverValue();
    return info;
}

void CPU::Merge(CpuInfo& result, const CpuInfo& source) {
    FillEmpty(result.processorCount, source.processorCount);
    result.multiProcessor = result.multiProcessor || source.multiProcessor;
    if (!result.speed.IsValid()) result.speed = source.speed;
    FillEmpty(result.vendor, source.vendor);
    result.isIntel = result.isIntel || source.isIntel;
    result.isAmd = result.isAmd || source.isAmd;
    FillEmpty(result.name, source.name);
    result.noCacheDescriptor = result.noCacheDescriptor || source.noCacheDescriptor;
    FillEmpty(result.stepping, source.stepping);
    FillEmpty(result.family, source.family);
    FillEmpty(result.model, source.model);
    FillEmpty(result.processorType, source.processorType);
    FillEmpty(result.cpuId, source.cpuId);
    FillEmpty(result.cpuIdShort, source.cpuIdShort);
    FillEmpty(result.platformId, source.platformId);
    FillEmpty(result.platformIdBits, source.platformIdBits);
    FillEmpty(result.driverValue, source.driverValue);
    FillEmpty(result.microcodeUpdate, source.microcodeUpdate);
    FillEmpty(result.chipsetInfVersion, source.chipsetInfVersion);
}

std::wstring CPU::CleanName(std::wstring name) {
    const std::size_t last = name.find_last_not_of(kWhiteSpace);
    name.erase(last == std::wstring::npos ? 0 : last + 1);
    name.erase(0, name.find_first_not_of(kWhiteSpace));
    for (std::size_t pair = name.find(L"  "); pair != std::wstring::npos;
         pair = name.find(L"  ", pair)) {
        name.erase(pair, 1);
    }
    return name;
}

void CPU::Store(CpuInfo& info) {
    StoreText(71061, info.name);
    StoreText(71254, info.processorCount);
    System::Instance().GetSystemValues().AddValue(71062, info.speed);
    StoreText(71296, info.vendor);
    StoreText(71385, info.stepping);
    StoreText(71390, info.family);
    StoreText(71391, info.model);
    StoreText(71389, info.processorType);
    StoreText(71386, info.cpuId);
    StoreText(71404, info.cpuIdShort);
    StoreText(71355, info.platformId);
    StoreText(71398, info.platformIdBits);
    StoreText(71392, info.microcodeUpdate);
    StoreFlag(71257, info.multiProcessor);
    StoreFlag(kIntel, info.isIntel);
    StoreFlag(71252, info.isAmd);
    StoreFlag(71253, info.noCacheDescriptor);
    StoreText(71399, info.driverValue);
    StoreText(71393, info.chipsetInfVersion);
}

}  // namespace rigel
