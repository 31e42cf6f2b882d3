#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "os/shared_memory.h"

namespace rigel::os {

// Named memory blocks in this process, zero-filled when new. A block lives while a handle or a view
// holds it, as in Windows, so another party (a test playing the probe program) can write into it
// only while its creator keeps it.
class FakeSharedMemory : public SharedMemory {
  public:
    std::uint32_t createError = 0;  // when set, every creation fails with it
    bool mapFails = false;

    // Writes bytes at offset into the live block of that name; false when there is none or the
    // bytes do not fit.
    bool Write(const std::wstring& name, std::size_t offset,
               const std::vector<std::uint8_t>& bytes);
    // A text as UTF-16 units, little-endian, with its terminator.
    bool WriteText(const std::wstring& name, const std::wstring& text);

    // Handles and views not given back yet.
    std::size_t OpenCount() const { return mappings_.size() + views_.size(); }

    bool Create(const std::wstring& name, std::uint32_t protect, std::uint32_t size,
                HMapping& mapping, std::uint32_t& error) override;
    void* Map(HMapping mapping, std::uint32_t access, std::size_t size) override;
    void Unmap(void* view) override;
    void Close(HMapping mapping) override;

  private:
    using Block = std::shared_ptr<std::vector<std::uint8_t>>;

    std::map<std::wstring, std::weak_ptr<std::vector<std::uint8_t>>> named_;
    std::map<HMapping, Block> mappings_;
    std::map<void*, Block> views_;
    HMapping nextHandle_ = 1;
};

}  // namespace rigel::os
