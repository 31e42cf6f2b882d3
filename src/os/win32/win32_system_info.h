#pragma once

#include "os/system_info.h"

namespace rigel::os {

class Win32SystemInfo : public SystemInfo {
  public:
    bool GetVersion(OsVersion& version) override;
    ProcessorSystemInfo GetSystemInfo() override;
    ProcessorSystemInfo GetNativeSystemInfo() override;
    bool GetProductInfo(std::uint32_t major, std::uint32_t minor, std::uint32_t servicePackMajor,
                        std::uint32_t servicePackMinor, std::uint32_t& productType) override;
    int GetSystemMetrics(int index) override;
    bool IsWow64Process(bool& wow64) override;
    std::uint32_t GetUserDefaultLcid() override;
    bool GlobalMemoryStatusEx(MemoryStatus& status) override;
    void GlobalMemoryStatus(MemoryStatus& status) override;
    bool GetPowerCapabilities(PowerCapabilities& capabilities) override;
    std::int32_t CreateGuidText(std::wstring& text) override;
    std::uint32_t WindowsDirectory(std::uint32_t capacity, std::wstring& text) override;
    std::uint32_t SystemDirectory(std::uint32_t capacity, std::wstring& text) override;
    std::uint32_t ExpandEnvironment(const std::wstring& source, std::uint32_t capacity,
                                    std::wstring& text) override;
    std::uint32_t OwnModuleFileName(std::uint32_t capacity, std::wstring& path) override;
    std::uint32_t LogicalDriveStrings(std::uint32_t capacity, std::wstring& text) override;
    std::uint32_t DriveType(const std::wstring& root) override;
    bool DiskFreeSpace(const std::wstring& root, DiskSpace& space) override;
    std::uint32_t AnsiToWide(const std::string& bytes, std::wstring& text) override;
};

}  // namespace rigel::os
