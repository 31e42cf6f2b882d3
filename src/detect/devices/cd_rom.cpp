#include "detect/devices/cd_rom.h"

#include <cstdint>
#include <vector>

#include "core/system.h"
#include "detect/devices/cd_rom_info.h"
#include "detect/devices/setup_lib.h"

namespace rigel {
namespace {

constexpr std::uint32_t kDriveName = 71093;

}  // namespace

CDRom::CDRom() : Detector(nullptr, L"Error in CDRom detection.") {}

void CDRom::Run() {
    std::vector<CDRomInfo> drives;
    SetupLib::Instance().GetCDRomInfo(drives);
    SystemValues& values = System::Instance().GetSystemValues();
    for (std::uint32_t i = 0; i < drives.size(); ++i)
        values.AddValue(kDriveName, i, drives[i].name);
}

}  // namespace rigel
