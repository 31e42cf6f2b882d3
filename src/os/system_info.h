#pragma once

#include <cstdint>
#include <string>

namespace rigel::os {

// The fields of OSVERSIONINFOEXW.
struct OsVersion {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    std::uint32_t platformId = 0;
    std::wstring servicePack;  // szCSDVersion
    std::uint16_t servicePackMajor = 0;
    std::uint16_t servicePackMinor = 0;
    std::uint16_t suiteMask = 0;
    std::uint8_t productType = 0;
};

// The fields of SYSTEM_INFO that the detectors read.
struct ProcessorSystemInfo {
    std::uint16_t processorArchitecture = 0;  // 0 x86, 6 IA64, 9 AMD64
    std::uint32_t numberOfProcessors = 0;
};

// MEMORYSTATUSEX, or MEMORYSTATUS widened to it.
struct MemoryStatus {
    std::uint32_t memoryLoad = 0;
    std::uint64_t totalPhysical = 0;
    std::uint64_t availablePhysical = 0;
    std::uint64_t totalPageFile = 0;
    std::uint64_t availablePageFile = 0;
    std::uint64_t totalVirtual = 0;
    std::uint64_t availableVirtual = 0;
};

// The fields of SYSTEM_POWER_CAPABILITIES that the detectors read (bytes 30 and 31).
struct PowerCapabilities {
    bool systemBatteriesPresent = false;
    bool batteriesAreShortTerm = false;
};

// What GetDiskFreeSpaceExW reports for a volume.
struct DiskSpace {
    std::uint64_t freeBytesAvailable = 0;  // to the calling user
    std::uint64_t totalBytes = 0;
    std::uint64_t totalFreeBytes = 0;
};

// Facts about the running system, one Windows call per method.
class SystemInfo {
  public:
    static constexpr std::uint16_t kArchitectureX86 = 0;    // PROCESSOR_ARCHITECTURE_INTEL
    static constexpr std::uint16_t kArchitectureIa64 = 6;   // PROCESSOR_ARCHITECTURE_IA64
    static constexpr std::uint16_t kArchitectureAmd64 = 9;  // PROCESSOR_ARCHITECTURE_AMD64
    static constexpr std::uint32_t kPlatformNt = 2;         // VER_PLATFORM_WIN32_NT
    static constexpr int kServerR2Metric = 89;              // SM_SERVERR2
    static constexpr std::uint32_t kDriveNoRootDir = 1;     // DRIVE_NO_ROOT_DIR
    static constexpr std::uint32_t kDriveFixed = 3;         // DRIVE_FIXED

    virtual ~SystemInfo() = default;

    // GetVersionExW with the extended record.
    virtual bool GetVersion(OsVersion& version) = 0;
    // GetSystemInfo.
    virtual ProcessorSystemInfo GetSystemInfo() = 0;
    // GetNativeSystemInfo.
    virtual ProcessorSystemInfo GetNativeSystemInfo() = 0;
    // GetProductInfo.
    virtual bool GetProductInfo(std::uint32_t major, std::uint32_t minor,
                                std::uint32_t servicePackMajor, std::uint32_t servicePackMinor,
                                std::uint32_t& productType) = 0;
    // GetSystemMetrics.
    virtual int GetSystemMetrics(int index) = 0;
    // IsWow64Process on the current process.
    virtual bool IsWow64Process(bool& wow64) = 0;
    // GetUserDefaultLCID.
    virtual std::uint32_t GetUserDefaultLcid() = 0;
    // GlobalMemoryStatusEx.
    virtual bool GlobalMemoryStatusEx(MemoryStatus& status) = 0;
    // GlobalMemoryStatus, whose sizes are those of the process's address width.
    virtual void GlobalMemoryStatus(MemoryStatus& status) = 0;
    // GetPwrCapabilities.
    virtual bool GetPowerCapabilities(PowerCapabilities& capabilities) = 0;
    // CoCreateGuid; on success text is the braced form StringFromGUID2 writes. Returns the
    // HRESULT of CoCreateGuid.
    virtual std::int32_t CreateGuidText(std::wstring& text) = 0;

    // The next four fill text from a buffer of capacity characters and return what the Windows
    // call returns: 0 on failure, the length written, or (too small a buffer) the size needed.
    // GetWindowsDirectoryW.
    virtual std::uint32_t WindowsDirectory(std::uint32_t capacity, std::wstring& text) = 0;
    // GetSystemDirectoryW.
    virtual std::uint32_t SystemDirectory(std::uint32_t capacity, std::wstring& text) = 0;
    // ExpandEnvironmentStringsW (its result counts the terminator).
    virtual std::uint32_t ExpandEnvironment(const std::wstring& source, std::uint32_t capacity,
                                            std::wstring& text) = 0;
    // GetModuleFileNameW of the module that holds this code (the control's DLL, or the test
    // program), so that files shipped beside it can be found.
    virtual std::uint32_t OwnModuleFileName(std::uint32_t capacity, std::wstring& path) = 0;

    // GetLogicalDriveStringsW told of capacity characters (its buffer holds one more). Returns
    // what the call returns: 0 on failure, the size needed (terminator included) when the roots do
    // not fit, else their length without the final terminator; then text holds the roots, each
    // followed by its terminator.
    virtual std::uint32_t LogicalDriveStrings(std::uint32_t capacity, std::wstring& text) = 0;
    // GetDriveTypeW.
    virtual std::uint32_t DriveType(const std::wstring& root) = 0;
    // GetDiskFreeSpaceExW.
    virtual bool DiskFreeSpace(const std::wstring& root, DiskSpace& space) = 0;
    // MultiByteToWideChar from the thread's ANSI code page, into as many UTF-16 units as there
    // are bytes (always enough). Returns the units written, 0 on failure.
    virtual std::uint32_t AnsiToWide(const std::string& bytes, std::wstring& text) = 0;
};

}  // namespace rigel::os
