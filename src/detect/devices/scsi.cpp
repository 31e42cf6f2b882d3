#include "detect/devices/scsi.h"

#include <cstdint>
#include <vector>

#include "core/group_id.h"
#include "detect/devices/scsi_info.h"
#include "detect/devices/setup_lib.h"
#include "values/name.h"

namespace rigel {
namespace {

constexpr std::uint32_t kHardwareId = 71428;
constexpr std::uint32_t kDriverVersion = 71429;

}  // namespace

SCSI::SCSI() : Detector(nullptr, L"Error in SCSI detection.") {}

void SCSI::Run() {
    std::vector<ScsiInfo> adapters;
    SetupLib::Instance().GetScsiInfo(adapters);
    for (std::uint32_t i = 0; i < adapters.size(); ++i) {
        Name hardwareId(adapters[i].hardwareId);
        Name driverVersion(adapters[i].driverVersion);
        AddValue(GroupID(kHardwareId), hardwareId, i);
        AddValue(GroupID(kDriverVersion), driverVersion, i);
    }
}

}  // namespace rigel
