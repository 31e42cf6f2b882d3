#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "os/fake/fake_device_io.h"
#include "os/storage_control.h"

namespace rigel::test {

using Bytes = std::vector<std::uint8_t>;

inline void PutUint32(Bytes& bytes, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// Writes text into a field of identify data as the drive does: each pair of characters with its
// two bytes swapped, the field padded with blanks.
inline void PutSwapped(Bytes& result, std::size_t fieldOffset, std::size_t length,
                       const std::string& text) {
    std::string padded = text;
    padded.resize(length, ' ');
    const std::size_t start = os::storage::kCommandOutBufferOffset + fieldOffset;
    for (std::size_t i = 0; i < length; i += 2) {
        result[start + i] = static_cast<std::uint8_t>(padded[i + 1]);
        result[start + i + 1] = static_cast<std::uint8_t>(padded[i]);
    }
}

// A SMART receive result holding identify data with these texts.
inline Bytes IdentifyResult(const std::string& model, const std::string& firmware,
                            const std::string& serial = "") {
    namespace storage = os::storage;
    Bytes result(storage::kCommandOutBufferOffset + storage::kIdentifyBufferSize, 0);
    PutUint32(result, 0, static_cast<std::uint32_t>(storage::kIdentifyBufferSize));
    PutSwapped(result, storage::kIdentifyModelOffset, storage::kIdentifyModelLength, model);
    PutSwapped(result, storage::kIdentifyFirmwareOffset, storage::kIdentifyFirmwareLength,
               firmware);
    PutSwapped(result, storage::kIdentifySerialOffset, storage::kIdentifySerialLength, serial);
    return result;
}

// A storage device descriptor with its texts after the fixed part; a null text is absent
// (offset 0).
inline Bytes DeviceDescriptor(std::uint8_t busType, const char* vendor, const char* product,
                              const char* revision, const char* serial = nullptr) {
    namespace storage = os::storage;
    Bytes descriptor(storage::kDeviceDescriptorSize, 0);
    PutUint32(descriptor, 0, static_cast<std::uint32_t>(storage::kDeviceDescriptorSize));
    descriptor[storage::kDeviceBusTypeOffset] = busType;
    const std::pair<std::size_t, const char*> texts[] = {
        {storage::kDeviceVendorIdOffset, vendor},
        {storage::kDeviceProductIdOffset, product},
        {storage::kDeviceProductRevisionOffset, revision},
        {storage::kDeviceSerialNumberOffset, serial}};
    for (const auto& [field, text] : texts) {
        if (text == nullptr) continue;
        PutUint32(descriptor, field, static_cast<std::uint32_t>(descriptor.size()));
        descriptor.insert(descriptor.end(), text, text + std::char_traits<char>::length(text) + 1);
    }
    PutUint32(descriptor, storage::kDescriptorSizeOffset,
              static_cast<std::uint32_t>(descriptor.size()));
    return descriptor;
}

inline Bytes AdapterDescriptor(std::uint8_t busType) {
    namespace storage = os::storage;
    Bytes descriptor(storage::kAdapterDescriptorSize, 0);
    PutUint32(descriptor, 0, static_cast<std::uint32_t>(storage::kAdapterDescriptorSize));
    PutUint32(descriptor, 4, static_cast<std::uint32_t>(storage::kAdapterDescriptorSize));
    descriptor[storage::kAdapterBusTypeOffset] = busType;
    return descriptor;
}

// A control code's reply: these bytes, or the error when it is set.
inline os::FakeDeviceIo::Reply Answer(Bytes bytes, std::uint32_t error = 0) {
    os::FakeDeviceIo::Reply reply;
    reply.bytes = std::move(bytes);
    reply.error = error;
    return reply;
}

// Errors of queries a disk does not answer, as Wine's first disk gives them.
constexpr std::uint32_t kErrorAccessDenied = 5;   // SMART without administrator rights
constexpr std::uint32_t kErrorNotSupported = 50;  // ERROR_NOT_SUPPORTED

// What a staged disk answers; an empty reply is a query the disk does not answer.
struct FakeDisk {
    Bytes identify;
    std::uint32_t mediaDeviceType = 0;  // 0: no answer
    Bytes device;
    Bytes adapter;
};

// Stages the disk at path: each query answers as Windows does, the property queries by the
// property asked for and filling a buffer too short for the whole descriptor.
inline void AddDisk(os::FakeDeviceIo& io, const std::wstring& path, const FakeDisk& disk) {
    namespace storage = os::storage;
    using Reply = os::FakeDeviceIo::Reply;
    io.AddDevice(path);
    io.SetReply(path, storage::kSmartRcvDriveData,
                Answer(disk.identify, disk.identify.empty() ? kErrorAccessDenied : 0));
    Bytes media;
    if (disk.mediaDeviceType != 0) {
        media.assign(16, 0);
        PutUint32(media, 0, disk.mediaDeviceType);
    }
    io.SetReply(path, storage::kGetMediaTypesEx,
                Answer(media, media.empty() ? kErrorNotSupported : 0));
    Reply property;
    property.responder = [device = disk.device, adapter = disk.adapter](const Bytes& in) {
        const bool adapterAsked = !in.empty() && in[0] == storage::kStorageAdapterProperty;
        Reply reply = Answer(adapterAsked ? adapter : device);
        if (reply.bytes.empty()) reply.error = kErrorNotSupported;
        reply.fillsShortBuffer = true;
        return reply;
    };
    io.SetReply(path, storage::kQueryProperty, property);
}

}  // namespace rigel::test
