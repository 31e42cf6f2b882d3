#pragma once

#include <cstdint>
#include <string>

namespace rigel::os {

// An opaque registry key handle (HKEY); 0 means none.
using HKey = std::uintptr_t;

// The registry: one method per call, Windows error codes passed up unchanged.
class Registry {
  public:
    // HKEY_LOCAL_MACHINE: (HKEY)(LONG)0x80000002, sign-extended to the pointer's width.
    static constexpr HKey kLocalMachine =
        static_cast<HKey>(static_cast<std::intptr_t>(-0x7FFFFFFE));

    // Access masks.
    static constexpr std::uint32_t kKeyRead = 0x20019;     // KEY_READ
    static constexpr std::uint32_t kWow64_64Key = 0x0100;  // KEY_WOW64_64KEY

    // Value types.
    static constexpr std::uint32_t kNone = 0;          // REG_NONE
    static constexpr std::uint32_t kString = 1;        // REG_SZ
    static constexpr std::uint32_t kExpandString = 2;  // REG_EXPAND_SZ
    static constexpr std::uint32_t kBinary = 3;        // REG_BINARY
    static constexpr std::uint32_t kDword = 4;         // REG_DWORD
    static constexpr std::uint32_t kMultiString = 7;   // REG_MULTI_SZ
    static constexpr std::uint32_t kQword = 11;        // REG_QWORD

    // Status codes the callers tell apart.
    static constexpr std::int32_t kSuccess = 0;        // ERROR_SUCCESS
    static constexpr std::int32_t kFileNotFound = 2;   // ERROR_FILE_NOT_FOUND
    static constexpr std::int32_t kAccessDenied = 5;   // ERROR_ACCESS_DENIED
    static constexpr std::int32_t kInvalidHandle = 6;  // ERROR_INVALID_HANDLE
    static constexpr std::int32_t kMoreData = 234;     // ERROR_MORE_DATA
    static constexpr std::int32_t kNoMoreItems = 259;  // ERROR_NO_MORE_ITEMS

    virtual ~Registry() = default;

    // RegOpenKeyExW; root is a predefined root or an open key. key is 0 unless it succeeds.
    virtual std::int32_t OpenKey(HKey root, const std::wstring& subkey, std::uint32_t access,
                                 HKey& key) = 0;

    // RegQueryValueExW. With a null data pointer only type and size are asked for. size comes in
    // as the buffer's size in bytes and goes out as the value's size; a buffer that is too small
    // gives kMoreData. An empty name is the key's default value.
    virtual std::int32_t QueryValue(HKey key, const std::wstring& name, std::uint32_t& type,
                                    std::uint8_t* data, std::uint32_t& size) = 0;

    // RegEnumKeyExW into a name buffer of capacity characters, terminator included; a name that
    // does not fit gives kMoreData, an index past the last subkey kNoMoreItems.
    virtual std::int32_t EnumKey(HKey key, std::uint32_t index, std::uint32_t capacity,
                                 std::wstring& name) = 0;

    // RegCloseKey.
    virtual std::int32_t CloseKey(HKey key) = 0;
};

}  // namespace rigel::os
