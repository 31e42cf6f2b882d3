#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "detect/devices/bios_info.h"
#include "detect/devices/sound_info.h"
#include "detect/platform/cpu_info.h"
#include "os/registry.h"
#include "os/registry_closer.h"
#include "values/source.h"

namespace rigel {

// Registry reads under HKEY_LOCAL_MACHINE: the processor, BIOS and baseboard descriptions, and
// the string reads the detectors share.
class Registry : public Source {
  public:
    // What a strict string read found.
    enum class StringRead {
        kText,           // REG_SZ or REG_EXPAND_SZ, even length, ending in NUL (or empty)
        kMissing,        // the value is absent or cannot be read
        kNotText,        // a type other than REG_SZ and REG_EXPAND_SZ
        kOddLength,      // half a UTF-16 unit at the end
        kNotTerminated,  // the last unit is not NUL
        kTooLong,        // the value does not fit the buffer
    };

    static Registry& Instance();
    // Drops the instance (the product never calls it).
    static void DestroyInstanceForTesting();

    // Opens a key; the handle is empty when that fails.
    os::UniqueKey OpenKey(os::HKey root, const std::wstring& subkey, std::uint32_t access);

    // One way to open a key under HKEY_LOCAL_MACHINE.
    struct KeyChoice {
        const wchar_t* subkey;
        std::uint32_t access;
    };
    // The first of the choices that opens, tried in order; empty when none does.
    os::UniqueKey OpenFirstKey(std::initializer_list<KeyChoice> choices);

    // The value under root\subkey as text, whatever its type: REG_DWORD as decimal, REG_BINARY
    // with its NUL units moved behind the others, anything else up to its first NUL. False when
    // the key or the value cannot be read.
    bool ReadString(os::HKey root, const std::wstring& subkey, const std::wstring& valueName,
                    std::wstring& text);

    // A string value read the strict way, into a buffer of bufferBytes: text is set only for
    // kText. A text of bufferBytes / 2 - 1 units still fits; one more does not.
    StringRead ReadText(os::HKey key, const std::wstring& valueName, std::uint32_t bufferBytes,
                        std::wstring& text);

    // The text ReadString makes of a value's type and bytes.
    static std::wstring TextOfData(std::uint32_t type, const std::vector<std::uint8_t>& data);

    // Name, speed, platform ID, microcode update and chipset INF version. Always true.
    bool GetCpuInfo(CpuInfo& info);
    // The version ("BIOSVendor", a blank and "BIOSVersion") and the date. Always true.
    bool GetBiosValues(BiosInfo& bios);
    // The board version ("BaseBoardVersion") into driverVersion. Always true.
    bool GetMotherboardValues(SoundInfo& board);

  private:
    struct Data {
        std::uint32_t type = 0;
        std::vector<std::uint8_t> bytes;
    };

    Registry();

    // The value's type and bytes, read into a buffer of its size plus extraBytes zeros.
    std::optional<Data> ReadData(os::HKey key, const std::wstring& valueName,
                                 std::uint32_t extraBytes);
    void ReadMicrocodeUpdate(CpuInfo& info);
    void ReadChipsetInfVersion(CpuInfo& info);
};

}  // namespace rigel
