#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "os/registry.h"

namespace rigel::os {

// Opaque handles: a device information set (HDEVINFO), an open INF file (HINF) and a loaded
// library (HMODULE); 0 means none (INVALID_HANDLE_VALUE never reaches callers).
using HDevInfo = std::uintptr_t;
using HInf = std::uintptr_t;
using HModule = std::uintptr_t;

// A GUID with the published layout.
struct ClassGuid {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};

    bool operator==(const ClassGuid& other) const {
        return data1 == other.data1 && data2 == other.data2 && data3 == other.data3 &&
               data4 == other.data4;
    }
};

// SP_DEVINFO_DATA (32 bytes on 64-bit Windows).
struct DeviceInfoData {
    std::uint32_t size = 0;  // cbSize
    ClassGuid classGuid;
    std::uint32_t devInst = 0;
    std::uintptr_t reserved = 0;
};

// INFCONTEXT.
struct InfContext {
    std::uintptr_t inf = 0;
    std::uintptr_t currentInf = 0;
    std::uint32_t section = 0;
    std::uint32_t line = 0;
};

// The Setup API, loaded at run time from its library: device lists per setup class, device
// properties and registry keys, INF files. One Windows call per method; error codes are the
// thread's last error, passed up unchanged.
class SetupApi {
  public:
    // Setup classes (GUID_DEVCLASS_*).
    static constexpr ClassGuid kDisplayClass{
        0x4D36E968, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
    static constexpr ClassGuid kCdromClass{
        0x4D36E965, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
    static constexpr ClassGuid kDiskDriveClass{
        0x4D36E967, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
    static constexpr ClassGuid kNetClass{
        0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
    static constexpr ClassGuid kScsiAdapterClass{
        0x4D36E97B, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
    static constexpr ClassGuid kMediaClass{
        0x4D36E96C, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

    static constexpr std::uint32_t kPresent = 2;          // DIGCF_PRESENT
    static constexpr std::uint32_t kDeviceInfoSize = 32;  // sizeof(SP_DEVINFO_DATA), 64-bit

    // Device registry properties (SPDRP_*).
    static constexpr std::uint32_t kDeviceDescription = 0;     // SPDRP_DEVICEDESC
    static constexpr std::uint32_t kHardwareId = 1;            // SPDRP_HARDWAREID
    static constexpr std::uint32_t kClassName = 7;             // SPDRP_CLASS
    static constexpr std::uint32_t kDriverKeyName = 9;         // SPDRP_DRIVER
    static constexpr std::uint32_t kFriendlyName = 12;         // SPDRP_FRIENDLYNAME
    static constexpr std::uint32_t kLocationInformation = 13;  // SPDRP_LOCATION_INFORMATION

    // SetupDiOpenDevRegKey arguments.
    static constexpr std::uint32_t kScopeGlobal = 1;  // DICS_FLAG_GLOBAL
    static constexpr std::uint32_t kDeviceKey = 1;    // DIREG_DEV
    static constexpr std::uint32_t kDriverKey = 2;    // DIREG_DRV

    static constexpr std::uint32_t kInfStyleWin4 = 2;  // INF_STYLE_WIN4

    // Error codes the callers tell apart or the fake gives.
    static constexpr std::uint32_t kErrorFileNotFound = 2;              // ERROR_FILE_NOT_FOUND
    static constexpr std::uint32_t kErrorInvalidData = 13;              // ERROR_INVALID_DATA
    static constexpr std::uint32_t kErrorInsufficientBuffer = 122;      // ERROR_INSUFFICIENT_BUFFER
    static constexpr std::uint32_t kErrorModNotFound = 126;             // ERROR_MOD_NOT_FOUND
    static constexpr std::uint32_t kErrorProcNotFound = 127;            // ERROR_PROC_NOT_FOUND
    static constexpr std::uint32_t kErrorNoMoreItems = 259;             // ERROR_NO_MORE_ITEMS
    static constexpr std::uint32_t kErrorSectionNotFound = 0xE0000101;  // ERROR_SECTION_NOT_FOUND
    static constexpr std::uint32_t kErrorLineNotFound = 0xE0000102;     // ERROR_LINE_NOT_FOUND
    static constexpr std::uint32_t kErrorKeyDoesNotExist = 0xE0000204;  // ERROR_KEY_DOES_NOT_EXIST

    virtual ~SetupApi() = default;

    // LoadLibraryW. module is 0 unless it succeeds, and error is set when it fails.
    virtual bool OpenLibrary(const std::wstring& name, HModule& module, std::uint32_t& error) = 0;
    // GetProcAddress: true when the library exports the entry point, which the calls below then
    // go through. A call whose entry point was not resolved fails with kErrorProcNotFound.
    virtual bool ResolveEntryPoint(HModule module, const std::string& name) = 0;
    // FreeLibrary; the resolved entry points are forgotten.
    virtual void CloseLibrary(HModule module) = 0;

    // SetupDiGetClassDevsW with no enumerator and no window.
    virtual bool GetClassDevices(const ClassGuid& setupClass, std::uint32_t flags, HDevInfo& set,
                                 std::uint32_t& error) = 0;
    // SetupDiEnumDeviceInfo; device.size must be set by the caller.
    virtual bool EnumDeviceInfo(HDevInfo set, std::uint32_t index, DeviceInfoData& device,
                                std::uint32_t& error) = 0;
    // SetupDiGetDeviceRegistryPropertyW into buffer of bufferSize bytes (buffer may be null with
    // size 0). requiredSize is the property's size in bytes.
    virtual bool GetDeviceRegistryProperty(HDevInfo set, const DeviceInfoData& device,
                                           std::uint32_t property, std::uint32_t& type,
                                           std::uint8_t* buffer, std::uint32_t bufferSize,
                                           std::uint32_t& requiredSize, std::uint32_t& error) = 0;
    // SetupDiOpenDevRegKey. key is a registry key for Registry, 0 unless it succeeds.
    virtual bool OpenDeviceKey(HDevInfo set, const DeviceInfoData& device, std::uint32_t scope,
                               std::uint32_t profile, std::uint32_t keyType, std::uint32_t access,
                               HKey& key, std::uint32_t& error) = 0;
    // SetupDiDestroyDeviceInfoList.
    virtual void DestroyDeviceInfoList(HDevInfo set) = 0;

    // SetupOpenInfFileW with no class and no error line.
    virtual bool OpenInfFile(const std::wstring& path, std::uint32_t style, HInf& inf,
                             std::uint32_t& error) = 0;
    // SetupCloseInfFile.
    virtual void CloseInfFile(HInf inf) = 0;
    // SetupFindFirstLineW with no key.
    virtual bool FindFirstLine(HInf inf, const std::wstring& section, InfContext& context,
                               std::uint32_t& error) = 0;
    // SetupFindNextLine.
    virtual bool FindNextLine(const InfContext& context, InfContext& next,
                              std::uint32_t& error) = 0;
    // SetupGetLineTextW of the line at context into a buffer of capacity characters, terminator
    // included. requiredSize counts the terminator; a text that does not fit gives
    // kErrorInsufficientBuffer.
    virtual bool GetLineText(const InfContext& context, std::uint32_t capacity, std::wstring& text,
                             std::uint32_t& requiredSize, std::uint32_t& error) = 0;
};

}  // namespace rigel::os
