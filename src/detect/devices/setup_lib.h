#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "detect/devices/cd_rom_info.h"
#include "detect/devices/gpu_info.h"
#include "detect/devices/hard_drive_info.h"
#include "detect/devices/network_device_info.h"
#include "detect/devices/scsi_info.h"
#include "detect/devices/sound_info.h"
#include "os/registry_closer.h"
#include "os/setup_api.h"
#include "os/setup_api_closer.h"
#include "values/device_id.h"
#include "values/source.h"

namespace rigel {

// The devices Windows has installed per setup class, with their properties and the values of
// their registry keys, read through the Setup API library loaded at run time. Each query appends
// one record per present device to the caller's list; an uninitialized source appends nothing.
class SetupLib : public Source {
  public:
    // One device of an enumerated set.
    struct Device {
        os::HDevInfo set = 0;
        os::DeviceInfoData data;
    };
    // A device's hardware and driver keys; a key that did not open is empty.
    struct DeviceKeys {
        os::UniqueKey hardware;
        os::UniqueKey driver;
    };

    static SetupLib& Instance();
    // Drops the instance and frees its library (the product never calls it).
    static void DestroyInstanceForTesting();

    ~SetupLib() override;

    // Loads the library and resolves its entry points; true at once when done before.
    virtual bool Initialize();

    void GetGpuInfo(std::vector<GpuInfo>& adapters);
    void GetCDRomInfo(std::vector<CDRomInfo>& drives);
    void GetHardDriveInfo(std::vector<HardDriveInfo>& disks);
    void GetNetworkDeviceInfo(std::vector<NetworkDeviceInfo>& adapters);
    void GetScsiInfo(std::vector<ScsiInfo>& adapters);
    void GetSoundInfo(std::vector<SoundInfo>& devices);

    // The helpers the queries are made of.
    // The present devices of a setup class; false (and a warning) when there is no set.
    bool GetDeviceSet(const os::ClassGuid& setupClass, os::UniqueDeviceSet& set);
    // A property's text up to its first NUL (so the first of several hardware identifiers).
    bool GetDeviceRegistryProperty(const Device& device, std::uint32_t property,
                                   std::wstring& text);
    // The driver key is opened only when the hardware key was.
    DeviceKeys OpenDeviceKeys(const Device& device);
    // A text (at most 499 characters), 32-bit or 64-bit number of key or of its subkey (the key
    // itself when the subkey does not open); anything else is logged and gives false.
    bool ReadRegistryValue(os::HKey key, const std::wstring& subkey, const std::wstring& valueName,
                           std::wstring& text);
    // Whether the driver's INF lists the adapter by vendor and device alone; true unless the INF
    // is read and its first line for the pair carries more.
    bool CheckInfForTwoPartId(const DeviceID& deviceID, const std::wstring& infFile);

  private:
    SetupLib();

    // Runs visit for every present device of the class; any exception ends the query with
    // "Error in " and its name.
    void ForEachDevice(const wchar_t* query, const os::ClassGuid& setupClass, bool warnWithoutSet,
                       const std::function<void(const Device&)>& visit);
    // The first property of the list that reads as a non-empty text.
    std::wstring FirstProperty(const Device& device, std::initializer_list<std::uint32_t> codes);
    // The value when it reads as a non-empty text, else the empty text.
    std::wstring NonEmptyValue(os::HKey key, const std::wstring& subkey,
                               const std::wstring& valueName);
    void ReadNetworkSettings(const std::wstring& driverKeyName, NetworkDeviceInfo& adapter);
    std::optional<std::uint64_t> ReadNumber(os::HKey key, const std::wstring& valueName);
    std::wstring GpuDeviceIdText(const Device& device, const DeviceKeys& keys);
    std::wstring InfPath(const std::wstring& infFile);
    // The models section that the INF's first manufacturer line names, or none.
    std::optional<os::InfContext> ModelsSection(const os::UniqueInf& inf);

    os::SetupApi* api_;
    bool initialized_ = false;
    os::UniqueSetupLibrary library_;
};

}  // namespace rigel
