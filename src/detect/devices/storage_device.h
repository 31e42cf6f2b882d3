#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "detect/devices/storage_replies.h"
#include "os/device_closer.h"

namespace rigel {

// A disk, volume or optical drive opened for queries only: no access rights asked, shared for
// reading and writing, so that it opens without elevation. Closed with the object.
class StorageDevice {
  public:
    using Bytes = StorageReplies::Bytes;

    StorageDevice();

    // False with the system's error when the device cannot be opened.
    bool Open(const std::wstring& path, std::uint32_t& error);

    // Sends the first inSize bytes of in and offers the first room bytes of reply; on success
    // reply is cut to the bytes the device wrote.
    bool Query(std::uint32_t code, const Bytes& in, std::size_t inSize, Bytes& reply,
               std::size_t room, std::uint32_t& error);
    // A query without input that offers the whole reply buffer.
    bool Query(std::uint32_t code, Bytes& reply, std::uint32_t& error);

  private:
    os::UniqueDevice device_;
};

}  // namespace rigel
