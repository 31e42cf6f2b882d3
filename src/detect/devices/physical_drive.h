#pragma once

#include <cstdint>
#include <string>

#include "detect/devices/physical_drive_info.h"
#include "detect/devices/storage_device.h"
#include "detect/devices/storage_replies.h"

namespace rigel {

// Asks one disk about itself: ATA identify data, media types, and the storage device and adapter
// descriptors, each through its own control code. A query that fails leaves what the earlier ones
// found.
class PhysicalDrive {
  public:
    // False when the device cannot be opened; true otherwise, whatever the queries gave.
    static bool GetPhysicalDeviceInfo(const std::wstring& path, std::uint32_t driveNumber,
                                      PhysicalDriveInfo& info);

    // Splits a vendor text that holds a blank: vendor and model joined, the part before the
    // first blank is the vendor and the rest the model.
    static void SplitVendorSpill(PhysicalDriveInfo& info);

  private:
    using Bytes = StorageReplies::Bytes;

    PhysicalDrive(StorageDevice& device, PhysicalDriveInfo& info);

    void ReadIdentifyData();
    void ReadMediaTypes();
    void ReadDeviceDescriptor();
    void ReadAdapterDescriptor();
    // The two-step property query: the header for the size, then the whole descriptor. Returns
    // false when the second query fails, else true with the bytes the device wrote.
    bool QueryDescriptor(std::uint32_t propertyId, std::uint32_t defaultSize, Bytes& reply);

    StorageDevice& device_;
    PhysicalDriveInfo& info_;
};

}  // namespace rigel
