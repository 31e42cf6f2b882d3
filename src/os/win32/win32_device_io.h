#pragma once

#include "os/device_io.h"

namespace rigel::os {

class Win32DeviceIo : public DeviceIo {
  public:
    bool Open(const std::wstring& path, std::uint32_t access, std::uint32_t share,
              std::uint32_t disposition, std::uint32_t flags, HDevice& device,
              std::uint32_t& error) override;
    bool Control(HDevice device, std::uint32_t code, const void* in, std::uint32_t inSize,
                 void* out, std::uint32_t outSize, std::uint32_t& returned,
                 std::uint32_t& error) override;
    void Close(HDevice device) override;
};

}  // namespace rigel::os
