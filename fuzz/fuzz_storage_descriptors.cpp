// Feeds arbitrary bytes to the readers of disk replies (identify data, device and adapter
// descriptors, media types, device numbers, descriptor sizes) and holds them to what the detector
// relies on: no read outside the reply, texts without terminators or outer blanks, and each text
// found inside the reply at the offset its field gives.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "detect/devices/storage_replies.h"
#include "os/storage_control.h"

namespace {

using rigel::StorageReplies;
namespace storage = rigel::os::storage;

void CheckIdentifyText(const std::string& text, std::size_t length) {
    if (text.size() > length) __builtin_trap();
    if (text.find('\0') != std::string::npos) __builtin_trap();
    if (!text.empty() && (text.front() == ' ' || text.back() == ' ')) __builtin_trap();
}

void CheckDescriptorText(const StorageReplies::Bytes& reply, std::size_t field,
                         const std::optional<std::string>& text) {
    if (!text) return;
    const std::uint32_t offset = StorageReplies::ReadUint32(reply, field);
    if (offset == 0 || offset >= reply.size()) __builtin_trap();
    if (text->size() > reply.size() - offset) __builtin_trap();
    if (text->find('\0') != std::string::npos) __builtin_trap();
    const auto sameByte = [](char c, std::uint8_t byte) {
        return static_cast<unsigned char>(c) == byte;
    };
    if (!std::equal(text->begin(), text->end(), reply.begin() + offset, sameByte)) {
        __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const StorageReplies::Bytes reply(data, data + size);

    const StorageReplies::Identify identify = StorageReplies::ParseIdentify(reply);
    CheckIdentifyText(identify.model, storage::kIdentifyModelLength);
    CheckIdentifyText(identify.serial, storage::kIdentifySerialLength);
    CheckIdentifyText(identify.firmware, storage::kIdentifyFirmwareLength);

    const StorageReplies::DeviceDescriptor device = StorageReplies::ParseDeviceDescriptor(reply);
    CheckDescriptorText(reply, storage::kDeviceVendorIdOffset, device.vendor);
    CheckDescriptorText(reply, storage::kDeviceProductIdOffset, device.product);
    CheckDescriptorText(reply, storage::kDeviceProductRevisionOffset, device.revision);
    CheckDescriptorText(reply, storage::kDeviceSerialNumberOffset, device.serial);
    if (size <= storage::kDeviceBusTypeOffset && device.busType != 0) __builtin_trap();

    if (size <= storage::kAdapterBusTypeOffset && StorageReplies::ParseAdapterBusType(reply) != 0) {
        __builtin_trap();
    }
    if (size < 4 && StorageReplies::NamesDeviceType(reply, storage::kFileDeviceDisk))
        __builtin_trap();
    if (size < 8 && StorageReplies::ParseDeviceNumber(reply).has_value()) __builtin_trap();

    for (const std::uint32_t fallback :
         {static_cast<std::uint32_t>(storage::kDeviceDescriptorSize),
          static_cast<std::uint32_t>(storage::kAdapterDescriptorSize)}) {
        const std::uint32_t bufferSize =
            StorageReplies::DescriptorBufferSize(true, reply, fallback);
        if (bufferSize < fallback || bufferSize > 64 * 1024) __builtin_trap();
    }
    return 0;
}
