#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rigel {

// The requests sent to disks and volumes and the readers of their replies. A reply is the bytes
// the device wrote; whatever lies outside them reads as absent (zero bytes, no text), so a short
// reply or one whose offsets point outside it never reads past its end.
class StorageReplies {
  public:
    using Bytes = std::vector<std::uint8_t>;

    // The texts of ATA IDENTIFY DEVICE data, in the ANSI code page, trimmed of blanks.
    struct Identify {
        std::string model;
        std::string serial;
        std::string firmware;
    };

    // A storage device descriptor: the bus type and the texts it points at (none when absent).
    struct DeviceDescriptor {
        std::uint8_t busType = 0;
        std::optional<std::string> vendor;
        std::optional<std::string> product;
        std::optional<std::string> revision;
        std::optional<std::string> serial;
    };

    // The SMART receive command block that asks drive n for its identify data.
    static Bytes IdentifyCommand(std::uint32_t drive);
    // The SMART receive result buffer, its size field preset.
    static Bytes IdentifyResultBuffer();
    // The identify texts of a SMART receive result (identify data after the 16-byte header).
    static Identify ParseIdentify(const Bytes& result);

    // A standard query of one storage property (device or adapter).
    static Bytes PropertyQuery(std::uint32_t propertyId);
    // The buffer size for a descriptor: the size the header reports when the header query
    // answered with one that is plausible, else the descriptor's own size.
    static std::uint32_t DescriptorBufferSize(bool headerAnswered, const Bytes& header,
                                              std::uint32_t defaultSize);
    // A zeroed descriptor buffer whose version and size fields are preset.
    static Bytes DescriptorBuffer(std::uint32_t size, std::uint32_t version);
    static DeviceDescriptor ParseDeviceDescriptor(const Bytes& reply);
    static std::uint8_t ParseAdapterBusType(const Bytes& reply);

    // True when a media-types reply starts with the given device type (FILE_DEVICE_*).
    static bool NamesDeviceType(const Bytes& reply, std::uint32_t deviceType);
    // The disk number of a device-number reply, when it holds one.
    static std::optional<std::uint32_t> ParseDeviceNumber(const Bytes& reply);

    // The 32-bit little-endian field at offset, 0 when it does not lie wholly inside bytes.
    static std::uint32_t ReadUint32(const Bytes& bytes, std::size_t offset);

  private:
    static std::string SwappedText(const Bytes& result, std::size_t offset, std::size_t length);
    static std::optional<std::string> TextAt(const Bytes& reply, std::size_t offsetField);
};

}  // namespace rigel
