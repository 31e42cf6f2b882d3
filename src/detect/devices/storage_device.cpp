#include "detect/devices/storage_device.h"

#include <algorithm>

#include "os/services.h"

namespace rigel {

StorageDevice::StorageDevice() : device_(0, os::DeviceCloser(*os::Current().deviceIo)) {}

bool StorageDevice::Open(const std::wstring& path, std::uint32_t& error) {
    os::DeviceIo& io = *os::Current().deviceIo;
    os::HDevice handle = 0;
    if (!io.Open(path, 0, os::DeviceIo::kShareRead | os::DeviceIo::kShareWrite,
                 os::DeviceIo::kOpenExisting, 0, handle, error)) {
        return false;
    }
    device_ = os::UniqueDevice(handle, os::DeviceCloser(io));
    return true;
}

bool StorageDevice::Query(std::uint32_t code, const Bytes& in, std::size_t inSize, Bytes& reply,
                          std::size_t room, std::uint32_t& error) {
    room = std::min(room, reply.size());
    std::uint32_t returned = 0;
    const bool sent = os::Current().deviceIo->Control(
        device_.get(), code, in.empty() ? nullptr : in.data(),
        static_cast<std::uint32_t>(std::min(inSize, in.size())), reply.data(),
        static_cast<std::uint32_t>(room), returned, error);
    if (sent) reply.resize(std::min<std::size_t>(returned, room));
    return sent;
}

bool StorageDevice::Query(std::uint32_t code, Bytes& reply, std::uint32_t& error) {
    return Query(code, Bytes(), 0, reply, reply.size(), error);
}

}  // namespace rigel
