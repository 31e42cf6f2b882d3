#include "detect/devices/storage_replies.h"

#include <algorithm>

#include "os/storage_control.h"

namespace rigel {
namespace {

namespace storage = os::storage;

// No descriptor is near this large: a header that claims more is not believed.
constexpr std::uint32_t kLargestDescriptor = 64 * 1024;

void WriteUint32(StorageReplies::Bytes& bytes, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

std::uint8_t ByteAt(const StorageReplies::Bytes& bytes, std::size_t offset) {
    return offset < bytes.size() ? bytes[offset] : 0;
}

// The text up to its terminator or the end of the bytes, whichever comes first.
std::string TextUntilNul(const char* begin, const char* end) {
    return std::string(begin, std::find(begin, end, '\0'));
}

std::string TrimBlanks(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) return std::string();
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

std::uint32_t StorageReplies::ReadUint32(const Bytes& bytes, std::size_t offset) {
    if (offset > bytes.size() || bytes.size() - offset < 4) return 0;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        value |= static_cast<std::uint32_t>(bytes[offset + i]) << (8 * i);
    }
    return value;
}

StorageReplies::Bytes StorageReplies::IdentifyCommand(std::uint32_t drive) {
    Bytes command(storage::kCommandInSize, 0);
    WriteUint32(command, storage::kCommandInBufferSizeOffset,
                static_cast<std::uint32_t>(storage::kIdentifyBufferSize));
    const std::uint8_t driveHead = (drive & 1) != 0
                                       ? storage::kDriveHeadMaster | storage::kDriveHeadSlave
                                       : storage::kDriveHeadMaster;
    const std::uint8_t registers[] = {0, 1, 1, 0, 0, driveHead, storage::kIdentifyDeviceCommand};
    std::copy(std::begin(registers), std::end(registers),
              command.begin() + storage::kCommandInRegistersOffset);
    command[storage::kCommandInDriveNumberOffset] = static_cast<std::uint8_t>(drive & 0xFF);
    return command;
}

StorageReplies::Bytes StorageReplies::IdentifyResultBuffer() {
    Bytes result(storage::kCommandOutSize, 0);
    WriteUint32(result, 0, static_cast<std::uint32_t>(storage::kCommandOutSize));
    return result;
}

std::string StorageReplies::SwappedText(const Bytes& result, std::size_t offset,
                                        std::size_t length) {
    std::string text(length, '\0');
    const std::size_t start = storage::kCommandOutBufferOffset + offset;
    for (std::size_t i = 0; i + 1 < length; i += 2) {
        text[i] = static_cast<char>(ByteAt(result, start + i + 1));
        text[i + 1] = static_cast<char>(ByteAt(result, start + i));
    }
    return TrimBlanks(TextUntilNul(text.data(), text.data() + text.size()));
}

StorageReplies::Identify StorageReplies::ParseIdentify(const Bytes& result) {
    Identify identify;
    identify.model =
        SwappedText(result, storage::kIdentifyModelOffset, storage::kIdentifyModelLength);
    identify.serial =
        SwappedText(result, storage::kIdentifySerialOffset, storage::kIdentifySerialLength);
    identify.firmware =
        SwappedText(result, storage::kIdentifyFirmwareOffset, storage::kIdentifyFirmwareLength);
    return identify;
}

StorageReplies::Bytes StorageReplies::PropertyQuery(std::uint32_t propertyId) {
    Bytes query(storage::kPropertyQuerySize, 0);
    WriteUint32(query, 0, propertyId);
    WriteUint32(query, 4, storage::kPropertyStandardQuery);
    return query;
}

std::uint32_t StorageReplies::DescriptorBufferSize(bool headerAnswered, const Bytes& header,
                                                   std::uint32_t defaultSize) {
    if (!headerAnswered) return defaultSize;
    const std::uint32_t reported = ReadUint32(header, storage::kDescriptorSizeOffset);
    if (reported < defaultSize || reported > kLargestDescriptor) return defaultSize;
    return reported;
}

StorageReplies::Bytes StorageReplies::DescriptorBuffer(std::uint32_t size, std::uint32_t version) {
    Bytes buffer(std::max<std::size_t>(size, storage::kDescriptorHeaderSize), 0);
    WriteUint32(buffer, storage::kDescriptorVersionOffset, version);
    WriteUint32(buffer, storage::kDescriptorSizeOffset, size);
    return buffer;
}

std::optional<std::string> StorageReplies::TextAt(const Bytes& reply, std::size_t offsetField) {
    const std::uint32_t offset = ReadUint32(reply, offsetField);
    if (offset == 0 || offset >= reply.size()) return std::nullopt;
    const auto* begin = reinterpret_cast<const char*>(reply.data());
    return TextUntilNul(begin + offset, begin + reply.size());
}

StorageReplies::DeviceDescriptor StorageReplies::ParseDeviceDescriptor(const Bytes& reply) {
    DeviceDescriptor descriptor;
    descriptor.busType = ByteAt(reply, storage::kDeviceBusTypeOffset);
    descriptor.vendor = TextAt(reply, storage::kDeviceVendorIdOffset);
    descriptor.product = TextAt(reply, storage::kDeviceProductIdOffset);
    descriptor.revision = TextAt(reply, storage::kDeviceProductRevisionOffset);
    descriptor.serial = TextAt(reply, storage::kDeviceSerialNumberOffset);
    return descriptor;
}

std::uint8_t StorageReplies::ParseAdapterBusType(const Bytes& reply) {
    return ByteAt(reply, storage::kAdapterBusTypeOffset);
}

bool StorageReplies::NamesDeviceType(const Bytes& reply, std::uint32_t deviceType) {
    return reply.size() >= 4 && ReadUint32(reply, 0) == deviceType;
}

std::optional<std::uint32_t> StorageReplies::ParseDeviceNumber(const Bytes& reply) {
    if (reply.size() < storage::kDeviceNumberOffset + 4) return std::nullopt;
    return ReadUint32(reply, storage::kDeviceNumberOffset);
}

}  // namespace rigel
