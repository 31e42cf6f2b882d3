#include "os/fake/fake_device_io.h"

#include <algorithm>
#include <cstring>

#include "os/fake/lower_case_path.h"

namespace rigel::os {

std::wstring FakeDeviceIo::Key(const std::wstring& path) { return LowerCasePath(path); }

void FakeDeviceIo::AddDevice(const std::wstring& path) { devices_[Key(path)]; }

void FakeDeviceIo::FailOpen(const std::wstring& path, std::uint32_t error) {
    devices_[Key(path)].openError = error;
}

void FakeDeviceIo::SetReply(const std::wstring& path, std::uint32_t code, Reply reply) {
    devices_[Key(path)].replies[code] = std::move(reply);
}

bool FakeDeviceIo::Open(const std::wstring& path, std::uint32_t access, std::uint32_t share,
                        std::uint32_t disposition, std::uint32_t flags, HDevice& device,
                        std::uint32_t& error) {
    opens.push_back(OpenCall{path, access, share, disposition, flags});
    device = 0;
    auto found = devices_.find(Key(path));
    if (found == devices_.end()) {
        error = kErrorFileNotFound;
        return false;
    }
    if (found->second.openError != 0) {
        error = found->second.openError;
        return false;
    }
    device = nextHandle_++;
    open_[device] = found->first;
    return true;
}

bool FakeDeviceIo::Control(HDevice device, std::uint32_t code, const void* in, std::uint32_t inSize,
                           void* out, std::uint32_t outSize, std::uint32_t& returned,
                           std::uint32_t& error) {
    returned = 0;
    auto handle = open_.find(device);
    if (handle == open_.end()) {
        error = 6;  // ERROR_INVALID_HANDLE
        return false;
    }
    const auto* inBytes = static_cast<const std::uint8_t*>(in);
    std::vector<std::uint8_t> input(inBytes, inBytes + (in != nullptr ? inSize : 0));
    calls.push_back(Call{handle->second, code, input, outSize});

    Device& target = devices_[handle->second];
    auto reply = target.replies.find(code);
    if (reply == target.replies.end()) {
        error = kErrorInvalidFunction;
        return false;
    }
    Reply answer = reply->second.responder ? reply->second.responder(input) : reply->second;
    if (answer.error != 0) {
        error = answer.error;
        return false;
    }
    const auto count = static_cast<std::uint32_t>(
        std::min<std::size_t>(answer.bytes.size(), out != nullptr ? outSize : 0));
    if (count > 0) std::memcpy(out, answer.bytes.data(), count);
    returned = count;
    if (count < answer.bytes.size() && !answer.fillsShortBuffer) {
        error = kErrorMoreData;
        return false;
    }
    return true;
}

void FakeDeviceIo::Close(HDevice device) { open_.erase(device); }

}  // namespace rigel::os
