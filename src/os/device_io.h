#pragma once

#include <cstdint>
#include <string>

namespace rigel::os {

// An opaque device handle (HANDLE); 0 means none (INVALID_HANDLE_VALUE never reaches callers).
using HDevice = std::uintptr_t;

// Devices opened by path and driven by control codes, one Windows call per method. Error codes
// are the thread's last error, passed up unchanged.
class DeviceIo {
  public:
    // Access and share bits, creation dispositions and flags of CreateFileW.
    static constexpr std::uint32_t kGenericRead = 0x80000000;   // GENERIC_READ
    static constexpr std::uint32_t kGenericWrite = 0x40000000;  // GENERIC_WRITE
    static constexpr std::uint32_t kShareRead = 1;              // FILE_SHARE_READ
    static constexpr std::uint32_t kShareWrite = 2;             // FILE_SHARE_WRITE
    static constexpr std::uint32_t kOpenExisting = 3;           // OPEN_EXISTING
    static constexpr std::uint32_t kAttributeNormal = 0x80;     // FILE_ATTRIBUTE_NORMAL

    static constexpr std::uint32_t kErrorFileNotFound = 2;          // ERROR_FILE_NOT_FOUND
    static constexpr std::uint32_t kErrorAccessDenied = 5;          // ERROR_ACCESS_DENIED
    static constexpr std::uint32_t kErrorInvalidFunction = 1;       // ERROR_INVALID_FUNCTION
    static constexpr std::uint32_t kErrorInsufficientBuffer = 122;  // ERROR_INSUFFICIENT_BUFFER
    static constexpr std::uint32_t kErrorMoreData = 234;            // ERROR_MORE_DATA

    virtual ~DeviceIo() = default;

    // CreateFileW with no security attributes and no template. device is 0 unless it succeeds,
    // and error is set when it fails.
    virtual bool Open(const std::wstring& path, std::uint32_t access, std::uint32_t share,
                      std::uint32_t disposition, std::uint32_t flags, HDevice& device,
                      std::uint32_t& error) = 0;

    // DeviceIoControl without overlapped I/O. returned is the byte count written to out; error
    // is set when the call fails.
    virtual bool Control(HDevice device, std::uint32_t code, const void* in, std::uint32_t inSize,
                         void* out, std::uint32_t outSize, std::uint32_t& returned,
                         std::uint32_t& error) = 0;

    // CloseHandle.
    virtual void Close(HDevice device) = 0;
};

}  // namespace rigel::os
