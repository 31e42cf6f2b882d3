#pragma once

#include <optional>
#include <string>
#include <vector>

#include "detect/devices/bios_info.h"
#include "detect/devices/cd_rom_info.h"
#include "detect/devices/hard_drive_info.h"
#include "detect/devices/sound_info.h"
#include "detect/platform/cpu_info.h"
#include "os/wmi.h"
#include "os/wmi_releaser.h"
#include "values/source.h"

namespace rigel {

// The one reader of Windows Management Instrumentation: connects once to ROOT\CIMV2 and answers
// fixed queries. Not connected, it answers every query with nothing found. It connects on its
// first query, holding WmiMutex from the connection to the end of that query.
class WMI : public Source {
  public:
    static WMI& Instance();
    // Drops the instance with its connection (the product never calls it).
    static void DestroyInstanceForTesting();

    // The first processor row. False only when not connected.
    bool GetCpuInfo(CpuInfo& info);
    // The first BIOS row; true when a row was read.
    bool GetBiosValues(BiosInfo& bios);
    // Every baseboard row, a later one overwriting field by field: manufacturer, product and
    // version into the first three texts. True when some row gave a manufacturer.
    bool GetMotherboardValues(SoundInfo& board);
    // The first optical drive, appended; true when it was.
    bool GetCDRomValues(std::vector<CDRomInfo>& drives);
    // Every disk, appended in row order. False only when not connected.
    bool GetDiskDriveValues(std::vector<HardDriveInfo>& disks);
    // The first sound device, appended; true when a row was read.
    bool GetSoundValues(std::vector<SoundInfo>& devices);

  private:
    WMI();
    // Connects on the first call; the caller holds WmiMutex.
    bool Connected();
    void Init();

    os::UniqueWmiObject Object(os::WmiObject object);
    os::UniqueWmiObject ExecQuery(const std::wstring& query);
    // The first row, when Next delivers exactly one.
    os::UniqueWmiObject FirstRow(const os::UniqueWmiObject& enumerator);
    // Up to 200 rows in one call.
    std::vector<os::UniqueWmiObject> Rows(const os::UniqueWmiObject& enumerator);
    // The property when it has a value (a NULL one as the empty text); logs it either way.
    std::optional<os::WmiValue> GetProperty(const os::UniqueWmiObject& row,
                                            const std::wstring& name);
    // Sets text to the property's text when there is one; throws when it does not convert.
    bool ReadText(const os::UniqueWmiObject& row, const std::wstring& name, std::wstring& text);
    bool ReadText(const os::UniqueWmiObject& row, const std::wstring& name, Name& text);

    os::Wmi* wmi_;
    bool connectionTried_ = false;
    bool initialised_ = false;
    os::UniqueWmiObject locator_;
    os::UniqueWmiObject services_;
};

}  // namespace rigel
