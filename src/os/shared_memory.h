#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace rigel::os {

// An opaque file-mapping handle; 0 means none.
using HMapping = std::uintptr_t;

// Named memory shared between processes, backed by the paging file. One Windows call per
// method; errors are the thread's last error.
class SharedMemory {
  public:
    static constexpr std::uint32_t kPageReadWrite = 4;         // PAGE_READWRITE
    static constexpr std::uint32_t kMapWrite = 2;              // FILE_MAP_WRITE
    static constexpr std::uint32_t kMapRead = 4;               // FILE_MAP_READ
    static constexpr std::uint32_t kErrorAlreadyExists = 183;  // ERROR_ALREADY_EXISTS

    virtual ~SharedMemory() = default;

    // CreateFileMappingW on the paging file without security attributes. error is the last error
    // after the call whatever its outcome: kErrorAlreadyExists when the name was in use and the
    // existing block was opened.
    virtual bool Create(const std::wstring& name, std::uint32_t protect, std::uint32_t size,
                        HMapping& mapping, std::uint32_t& error) = 0;
    // MapViewOfFile from offset 0; null when it fails.
    virtual void* Map(HMapping mapping, std::uint32_t access, std::size_t size) = 0;
    // UnmapViewOfFile.
    virtual void Unmap(void* view) = 0;
    // CloseHandle.
    virtual void Close(HMapping mapping) = 0;
};

}  // namespace rigel::os
