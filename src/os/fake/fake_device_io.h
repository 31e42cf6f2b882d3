#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "os/device_io.h"

namespace rigel::os {

// Devices in memory: a path opens when a test has added it (or fails with the error it chose),
// and each control code answers with the bytes or the error a test set for that path. Paths match
// without regard to case, as in Windows. Every call is recorded.
class FakeDeviceIo : public DeviceIo {
  public:
    // What one control code gives back: bytes (cut to the caller's buffer) or an error.
    struct Reply {
        std::vector<std::uint8_t> bytes;
        std::uint32_t error = 0;
        // When set, computes the reply from the input bytes instead.
        std::function<Reply(const std::vector<std::uint8_t>& in)> responder;
        // When set, a reply longer than the buffer fills the buffer and succeeds, as storage
        // property queries do for a buffer that holds at least the descriptor's header.
        bool fillsShortBuffer = false;
    };

    void AddDevice(const std::wstring& path);
    void FailOpen(const std::wstring& path, std::uint32_t error);
    void SetReply(const std::wstring& path, std::uint32_t code, Reply reply);

    struct Call {
        std::wstring path;
        std::uint32_t code = 0;
        std::vector<std::uint8_t> in;
        std::uint32_t outSize = 0;
    };
    // Every open asked for: path, access, share, disposition, flags.
    struct OpenCall {
        std::wstring path;
        std::uint32_t access = 0;
        std::uint32_t share = 0;
        std::uint32_t disposition = 0;
        std::uint32_t flags = 0;
    };
    std::vector<OpenCall> opens;
    std::vector<Call> calls;
    std::size_t OpenCount() const { return open_.size(); }

    bool Open(const std::wstring& path, std::uint32_t access, std::uint32_t share,
              std::uint32_t disposition, std::uint32_t flags, HDevice& device,
              std::uint32_t& error) override;
    bool Control(HDevice device, std::uint32_t code, const void* in, std::uint32_t inSize,
                 void* out, std::uint32_t outSize, std::uint32_t& returned,
                 std::uint32_t& error) override;
    void Close(HDevice device) override;

  private:
    struct Device {
        std::uint32_t openError = 0;
        std::map<std::uint32_t, Reply> replies;
    };
    static std::wstring Key(const std::wstring& path);

    std::map<std::wstring, Device> devices_;
    std::map<HDevice, std::wstring> open_;
    HDevice nextHandle_ = 1;
};

}  // namespace rigel::os
