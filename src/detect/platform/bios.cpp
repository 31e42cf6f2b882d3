#include "detect/platform/bios.h"

#include <cstdint>

#include "core/group_id.h"
#include "detect/devices/bios_info.h"
#include "detect/platform/registry.h"
#include "detect/platform/wmi.h"

namespace rigel {
namespace {

constexpr std::uint32_t kName = 71073;
constexpr std::uint32_t kVersion = 71074;
constexpr std::uint32_t kDate = 71383;
constexpr std::uint32_t kManufacturer = 71294;

void FillEmpty(Name& result, const Name& source) {
    if (result == Name()) result = source;
}

}  // namespace

Bios::Bios() : Detector(nullptr, L"Error in Bios detection.") {}

void Bios::Run() {
    BiosInfo bios;
    Registry::Instance().GetBiosValues(bios);
    BiosInfo fromWmi;
    WMI::Instance().GetBiosValues(fromWmi);

    FillEmpty(bios.name, fromWmi.name);
    FillEmpty(bios.version, fromWmi.version);
    FillEmpty(bios.date, fromWmi.date);
    FillEmpty(bios.manufacturer, fromWmi.manufacturer);

    AddValue(GroupID(kName), bios.name);
    AddValue(GroupID(kDate), bios.date);
    AddValue(GroupID(kManufacturer), bios.manufacturer);
    AddValue(GroupID(kVersion), bios.version);
}

}  // namespace rigel
