// The byte layouts mirrored in os/storage_control.h, held against the platform's own headers at
// compile time. Nothing here runs.
#include <windows.h>

#include <winioctl.h>

#include <cstddef>

#include "os/storage_control.h"

namespace rigel::os::storage {
namespace {

static_assert(SMART_RCV_DRIVE_DATA == kSmartRcvDriveData);
static_assert(IOCTL_STORAGE_GET_MEDIA_TYPES_EX == kGetMediaTypesEx);
static_assert(IOCTL_STORAGE_QUERY_PROPERTY == kQueryProperty);
static_assert(IOCTL_STORAGE_GET_DEVICE_NUMBER == kGetDeviceNumber);

static_assert(sizeof(SENDCMDINPARAMS) == kCommandInSize);
static_assert(offsetof(SENDCMDINPARAMS, cBufferSize) == kCommandInBufferSizeOffset);
static_assert(offsetof(SENDCMDINPARAMS, irDriveRegs) == kCommandInRegistersOffset);
static_assert(offsetof(SENDCMDINPARAMS, bDriveNumber) == kCommandInDriveNumberOffset);
static_assert(offsetof(SENDCMDINPARAMS, bBuffer) == kCommandInBufferOffset);
static_assert(offsetof(SENDCMDOUTPARAMS, bBuffer) == kCommandOutBufferOffset);
static_assert(sizeof(SENDCMDOUTPARAMS) + IDENTIFY_BUFFER_SIZE == kCommandOutSize);
static_assert(IDENTIFY_BUFFER_SIZE == kIdentifyBufferSize);
static_assert(ID_CMD == kIdentifyDeviceCommand);

static_assert(sizeof(STORAGE_PROPERTY_QUERY) == kPropertyQuerySize);
static_assert(StorageDeviceProperty == kStorageDeviceProperty);
static_assert(StorageAdapterProperty == kStorageAdapterProperty);
static_assert(PropertyStandardQuery == kPropertyStandardQuery);

static_assert(sizeof(STORAGE_DESCRIPTOR_HEADER) == kDescriptorHeaderSize);
static_assert(offsetof(STORAGE_DESCRIPTOR_HEADER, Size) == kDescriptorSizeOffset);
static_assert(sizeof(STORAGE_DEVICE_DESCRIPTOR) == kDeviceDescriptorSize);
static_assert(offsetof(STORAGE_DEVICE_DESCRIPTOR, VendorIdOffset) == kDeviceVendorIdOffset);
static_assert(offsetof(STORAGE_DEVICE_DESCRIPTOR, ProductIdOffset) == kDeviceProductIdOffset);
static_assert(offsetof(STORAGE_DEVICE_DESCRIPTOR, ProductRevisionOffset) ==
              kDeviceProductRevisionOffset);
static_assert(offsetof(STORAGE_DEVICE_DESCRIPTOR, SerialNumberOffset) == kDeviceSerialNumberOffset);
static_assert(offsetof(STORAGE_DEVICE_DESCRIPTOR, BusType) == kDeviceBusTypeOffset);
static_assert(sizeof(STORAGE_ADAPTER_DESCRIPTOR) == kAdapterDescriptorSize);
static_assert(offsetof(STORAGE_ADAPTER_DESCRIPTOR, BusType) == kAdapterBusTypeOffset);

static_assert(FILE_DEVICE_DISK == kFileDeviceDisk);
static_assert(FILE_DEVICE_DVD == kFileDeviceDvd);
static_assert(sizeof(STORAGE_DEVICE_NUMBER) == kDeviceNumberSize);
static_assert(offsetof(STORAGE_DEVICE_NUMBER, DeviceNumber) == kDeviceNumberOffset);

static_assert(BusTypeScsi == kBusTypeScsi && BusTypeAta == kBusTypeAta &&
              BusTypeUsb == kBusTypeUsb && BusTypeRAID == kBusTypeRaid &&
              BusTypeiScsi == kBusTypeIScsi && BusTypeSas == kBusTypeSas &&
              BusTypeSata == kBusTypeSata);

}  // namespace
}  // namespace rigel::os::storage
