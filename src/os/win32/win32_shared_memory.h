#pragma once

#include "os/shared_memory.h"

namespace rigel::os {

class Win32SharedMemory : public SharedMemory {
  public:
    bool Create(const std::wstring& name, std::uint32_t protect, std::uint32_t size,
                HMapping& mapping, std::uint32_t& error) override;
    void* Map(HMapping mapping, std::uint32_t access, std::size_t size) override;
    void Unmap(void* view) override;
    void Close(HMapping mapping) override;
};

}  // namespace rigel::os
