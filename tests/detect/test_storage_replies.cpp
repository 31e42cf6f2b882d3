#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "detect/devices/storage_replies.h"
#include "os/storage_control.h"
#include "support/fake_disks.h"

namespace rigel {
namespace {

namespace storage = os::storage;
using test::Bytes;

// A parsed descriptor as one text: bus type, then vendor, product, revision and serial, "-" for
// a text that is absent.
std::string Described(const Bytes& reply) {
    const StorageReplies::DeviceDescriptor descriptor =
        StorageReplies::ParseDeviceDescriptor(reply);
    std::string text = std::to_string(descriptor.busType);
    for (const auto& part :
         {descriptor.vendor, descriptor.product, descriptor.revision, descriptor.serial}) {
        text += "|" + part.value_or("-");
    }
    return text;
}

TEST(StorageRepliesTest, IdentifyTextsAreWordSwappedAndTrimmed) {
    Bytes result = test::IdentifyResult("  WDC WD5000AAKS-00V1A0  ", "", "WD-WCAWF1234567");
    // The firmware field as the drive stores it: 1 0 2 X, then four blanks.
    const char firmware[] = {'1', '0', '2', 'X', ' ', ' ', ' ', ' '};
    std::copy(firmware, firmware + 8,
              result.begin() + storage::kCommandOutBufferOffset + storage::kIdentifyFirmwareOffset);

    const StorageReplies::Identify identify = StorageReplies::ParseIdentify(result);
    EXPECT_EQ(identify.firmware, "01X2");
    EXPECT_EQ(identify.model, "WDC WD5000AAKS-00V1A0");
    EXPECT_EQ(identify.serial, "WD-WCAWF1234567");

    // A short reply reads only what arrived.
    const Bytes full = test::IdentifyResult("SSD2SC240G", "CC38");
    // Cut inside the model: the part that arrived is kept, the rest is absent.
    const std::size_t modelStart = storage::kCommandOutBufferOffset + storage::kIdentifyModelOffset;
    const Bytes cut(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(modelStart + 4));
    const StorageReplies::Identify partial = StorageReplies::ParseIdentify(cut);
    EXPECT_EQ(partial.model, "SSD2");
    EXPECT_EQ(partial.firmware, "CC38");
    // An odd cut leaves out the byte whose partner did not arrive.
    const Bytes odd(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(modelStart + 3));
    EXPECT_EQ(StorageReplies::ParseIdentify(odd).model, "SS");

    const StorageReplies::Identify none = StorageReplies::ParseIdentify(Bytes(5, 0xFF));
    EXPECT_EQ(none.model, "");
    EXPECT_EQ(none.firmware, "");
}

TEST(StorageRepliesTest, IdentifyCommandAddressesTheDrive) {
    const Bytes even = StorageReplies::IdentifyCommand(2);
    ASSERT_EQ(even.size(), 33u);
    EXPECT_EQ(StorageReplies::ReadUint32(even, 0), 512u);
    const Bytes registers(even.begin() + 4, even.begin() + 12);
    EXPECT_EQ(registers, (Bytes{0, 1, 1, 0, 0, 0xA0, 0xEC, 0}));
    EXPECT_EQ(even[12], 2);
    const Bytes odd = StorageReplies::IdentifyCommand(0x105);
    EXPECT_EQ(odd[9], 0xB0) << "the second drive of a channel";
    EXPECT_EQ(odd[12], 0x05) << "the low 8 bits of the drive number";

    const Bytes result = StorageReplies::IdentifyResultBuffer();
    ASSERT_EQ(result.size(), 529u);
    EXPECT_EQ(StorageReplies::ReadUint32(result, 0), 529u);
}

TEST(StorageRepliesTest, DescriptorTextsStayInsideTheReply) {
    EXPECT_EQ(Described(test::DeviceDescriptor(11, "ATA     ", "INTEL SSDSA2M080", "2CV1", "CVPO")),
              "11|ATA     |INTEL SSDSA2M080|2CV1|CVPO");
    // The revision present but empty.
    EXPECT_EQ(Described(test::DeviceDescriptor(1, nullptr, nullptr, "")), "1|-|-||-");

    Bytes reply = test::DeviceDescriptor(3, "VEND", "PRODUCT", "REV1");
    reply.pop_back();  // the last text, the revision, loses its terminator
    const std::uint32_t revisionAt =
        StorageReplies::ReadUint32(reply, storage::kDeviceProductRevisionOffset);
    test::PutUint32(reply, storage::kDeviceProductIdOffset, revisionAt);
    test::PutUint32(reply, storage::kDeviceProductRevisionOffset, 0xFFFFFFF0u);
    test::PutUint32(reply, storage::kDeviceVendorIdOffset,
                    static_cast<std::uint32_t>(reply.size()));
    // The product runs to the end of the reply; the vendor points just past it, the revision far.
    EXPECT_EQ(Described(reply), "3|-|REV1|-|-");
    // The fixed part cut before the bus type and the offsets.
    EXPECT_EQ(Described(Bytes(reply.begin(), reply.begin() + 14)), "0|-|-|-|-");

    EXPECT_EQ(StorageReplies::ParseAdapterBusType(test::AdapterDescriptor(8)), 8);
    EXPECT_EQ(StorageReplies::ParseAdapterBusType(Bytes(24, 8)), 0) << "bus type not in reply";
}

TEST(StorageRepliesTest, DescriptorBufferSizeBelievesOnlyPlausibleHeaders) {
    Bytes header(8, 0);
    test::PutUint32(header, 4, 1024);
    EXPECT_EQ(StorageReplies::DescriptorBufferSize(true, header, 40), 1024u);
    EXPECT_EQ(StorageReplies::DescriptorBufferSize(false, header, 40), 40u);
    test::PutUint32(header, 4, 12);
    EXPECT_EQ(StorageReplies::DescriptorBufferSize(true, header, 40), 40u);
    test::PutUint32(header, 4, 0xFFFFFFFFu);
    EXPECT_EQ(StorageReplies::DescriptorBufferSize(true, header, 32), 32u);
    EXPECT_EQ(StorageReplies::DescriptorBufferSize(true, Bytes(6, 0xFF), 40), 40u);

    const Bytes buffer = StorageReplies::DescriptorBuffer(1024, 40);
    ASSERT_EQ(buffer.size(), 1024u);
    EXPECT_EQ(StorageReplies::ReadUint32(buffer, 0), 40u);
    EXPECT_EQ(StorageReplies::ReadUint32(buffer, 4), 1024u);

    const Bytes query = StorageReplies::PropertyQuery(1);
    EXPECT_EQ(query, (Bytes{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(StorageRepliesTest, MediaTypesAndDeviceNumber) {
    Bytes media(8, 0);
    test::PutUint32(media, 0, 7);
    EXPECT_TRUE(StorageReplies::NamesDeviceType(media, storage::kFileDeviceDisk));
    test::PutUint32(media, 0, 2);  // a CD-ROM
    EXPECT_FALSE(StorageReplies::NamesDeviceType(media, storage::kFileDeviceDisk));
    EXPECT_FALSE(StorageReplies::NamesDeviceType(Bytes{7, 0, 0}, storage::kFileDeviceDisk));

    Bytes number(12, 0);
    test::PutUint32(number, 0, 7);
    test::PutUint32(number, 4, 3);
    test::PutUint32(number, 8, 1);
    EXPECT_EQ(StorageReplies::ParseDeviceNumber(number), 3u);
    EXPECT_FALSE(StorageReplies::ParseDeviceNumber(Bytes(7, 1)).has_value());
}

}  // namespace
}  // namespace rigel
