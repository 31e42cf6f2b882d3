#include "core/components.h"
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
#include "service/network_device.h"

namespace rigel {
namespace {

template <typename T>
std::unique_ptr<Component> Make() {
    return std::make_unique<T>();
}

}  // namespace

// The one list of the detectors: the order is the order of the report's values.
std::vector<ComponentFactory> StandardComponentFactories() {
    return {&Make<CPU>,       &Make<GPU>,          &Make<Bios>,         &Make<CDRom>,
            &Make<Chassis>,   &Make<DirectX>,      &Make<DVD>,          &Make<Graphics>,
            &Make<HardDrive>, &Make<LogicalDrive>, &Make<MotherBoard>,  &Make<NetworkDevice>,
            &Make<OS>,        &Make<Ram>,          &Make<Sound>,        &Make<Software>,
            &Make<Browser>,   &Make<Monitor>,      &Make<Applications>, &Make<SCSI>};
}

}  // namespace rigel
