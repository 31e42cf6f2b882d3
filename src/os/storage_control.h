#pragma once

#include <cstddef>
#include <cstdint>

// Control codes and structure layouts of the disk and volume queries, with the published values
// of winioctl.h and ntddstor.h. The structures are read and written as bytes at these offsets, so
// that the parsers do not depend on the compiler's packing.
namespace rigel::os::storage {

// Control codes.
constexpr std::uint32_t kSmartRcvDriveData = 0x7C088;  // SMART_RCV_DRIVE_DATA
constexpr std::uint32_t kGetMediaTypesEx = 0x2D0C04;   // IOCTL_STORAGE_GET_MEDIA_TYPES_EX
constexpr std::uint32_t kQueryProperty = 0x2D1400;     // IOCTL_STORAGE_QUERY_PROPERTY
constexpr std::uint32_t kGetDeviceNumber = 0x2D1080;   // IOCTL_STORAGE_GET_DEVICE_NUMBER

// SENDCMDINPARAMS (packed): cBufferSize, IDEREGS irDriveRegs, bDriveNumber, reserved, and a
// one-byte bBuffer at 32.
constexpr std::size_t kCommandInSize = 33;
constexpr std::size_t kCommandInBufferSizeOffset = 0;
constexpr std::size_t kCommandInRegistersOffset = 4;  // features, sector count, sector number,
                                                      // cylinder low, cylinder high, drive/head,
                                                      // command, reserved
constexpr std::size_t kCommandInDriveNumberOffset = 12;
constexpr std::size_t kCommandInBufferOffset = 32;

// SENDCMDOUTPARAMS (packed): cBufferSize, DRIVERSTATUS (12 bytes), then bBuffer.
constexpr std::size_t kCommandOutBufferOffset = 16;
constexpr std::size_t kIdentifyBufferSize = 512;  // IDENTIFY_BUFFER_SIZE
constexpr std::size_t kCommandOutSize = kCommandOutBufferOffset + kIdentifyBufferSize + 1;

constexpr std::uint8_t kIdentifyDeviceCommand = 0xEC;  // ID_CMD
constexpr std::uint8_t kDriveHeadMaster = 0xA0;
constexpr std::uint8_t kDriveHeadSlave = 0x10;  // set for the second drive of a channel

// IDENTIFY DEVICE data: texts as 16-bit words with their two bytes swapped.
constexpr std::size_t kIdentifySerialOffset = 20;  // words 10 to 19
constexpr std::size_t kIdentifySerialLength = 20;
constexpr std::size_t kIdentifyFirmwareOffset = 46;  // words 23 to 26
constexpr std::size_t kIdentifyFirmwareLength = 8;
constexpr std::size_t kIdentifyModelOffset = 54;  // words 27 to 46
constexpr std::size_t kIdentifyModelLength = 40;

// STORAGE_PROPERTY_QUERY: PropertyId, QueryType, AdditionalParameters[1], padded to 12 bytes.
constexpr std::size_t kPropertyQuerySize = 12;
constexpr std::uint32_t kStorageDeviceProperty = 0;   // StorageDeviceProperty
constexpr std::uint32_t kStorageAdapterProperty = 1;  // StorageAdapterProperty
constexpr std::uint32_t kPropertyStandardQuery = 0;   // PropertyStandardQuery

// STORAGE_DESCRIPTOR_HEADER: Version, Size.
constexpr std::size_t kDescriptorHeaderSize = 8;
constexpr std::size_t kDescriptorVersionOffset = 0;
constexpr std::size_t kDescriptorSizeOffset = 4;

// STORAGE_DEVICE_DESCRIPTOR.
constexpr std::size_t kDeviceDescriptorSize = 40;
constexpr std::size_t kDeviceVendorIdOffset = 12;
constexpr std::size_t kDeviceProductIdOffset = 16;
constexpr std::size_t kDeviceProductRevisionOffset = 20;
constexpr std::size_t kDeviceSerialNumberOffset = 24;
constexpr std::size_t kDeviceBusTypeOffset = 28;

// STORAGE_ADAPTER_DESCRIPTOR.
constexpr std::size_t kAdapterDescriptorSize = 32;
constexpr std::size_t kAdapterBusTypeOffset = 24;

// GET_MEDIA_TYPES starts with the device type; the buffer the disk query uses.
constexpr std::size_t kMediaTypesBufferSize = 1040;
constexpr std::uint32_t kFileDeviceDisk = 7;    // FILE_DEVICE_DISK
constexpr std::uint32_t kFileDeviceDvd = 0x33;  // FILE_DEVICE_DVD

// STORAGE_DEVICE_NUMBER: DeviceType, DeviceNumber, PartitionNumber.
constexpr std::size_t kDeviceNumberSize = 12;
constexpr std::size_t kDeviceNumberOffset = 4;

// STORAGE_BUS_TYPE.
constexpr std::uint8_t kBusTypeUnknown = 0;
constexpr std::uint8_t kBusTypeScsi = 1;
constexpr std::uint8_t kBusTypeAta = 3;
constexpr std::uint8_t kBusTypeUsb = 7;
constexpr std::uint8_t kBusTypeRaid = 8;
constexpr std::uint8_t kBusTypeIScsi = 9;
constexpr std::uint8_t kBusTypeSas = 10;
constexpr std::uint8_t kBusTypeSata = 11;

}  // namespace rigel::os::storage
