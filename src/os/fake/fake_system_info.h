#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "os/system_info.h"

namespace rigel::os {

// A system whose facts a test sets; each call answers from its field, and a call that can fail
// fails when its flag says so.
class FakeSystemInfo : public SystemInfo {
  public:
    bool versionSucceeds = true;
    OsVersion version;
    ProcessorSystemInfo systemInfo{kArchitectureAmd64, 1};
    ProcessorSystemInfo nativeSystemInfo{kArchitectureAmd64, 1};
    bool productInfoSucceeds = true;
    std::uint32_t productType = 0;
    std::map<int, int> metrics;
    bool wow64Succeeds = true;
    bool wow64 = false;
    std::uint32_t lcid = 0x0409;
    bool memoryStatusExSucceeds = true;
    MemoryStatus memoryStatusEx;
    MemoryStatus memoryStatus;
    bool powerCapabilitiesSucceed = true;
    PowerCapabilities powerCapabilities;
    std::int32_t guidStatus = 0;
    std::wstring guidText = L"{00000000-0000-0000-0000-000000000000}";
    std::wstring windowsDirectory = L"C:\\Windows";
    std::wstring systemDirectory = L"C:\\Windows\\system32";
    std::wstring moduleFileName = L"C:\\Program Files\\Rigel\\rigel_detection.dll";
    // Names (without the percent signs, matched exactly) and their values.
    std::map<std::wstring, std::wstring> environment;
    // The volumes, listed in this order; a root matches exactly.
    struct Drive {
        std::wstring root;  // such as C:\ (with the backslash)
        std::uint32_t type = kDriveFixed;
        bool spaceSucceeds = true;
        DiskSpace space;
    };
    std::vector<Drive> drives;
    bool driveStringsSucceed = true;

    bool GetVersion(OsVersion& out) override {
        if (versionSucceeds) out = version;
        return versionSucceeds;
    }
    ProcessorSystemInfo GetSystemInfo() override { return systemInfo; }
    ProcessorSystemInfo GetNativeSystemInfo() override { return nativeSystemInfo; }
    bool GetProductInfo(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                        std::uint32_t& type) override {
        type = productInfoSucceeds ? productType : 0;
        return productInfoSucceeds;
    }
    int GetSystemMetrics(int index) override {
        auto found = metrics.find(index);
        return found != metrics.end() ? found->second : 0;
    }
    bool IsWow64Process(bool& out) override {
        if (wow64Succeeds) out = wow64;
        return wow64Succeeds;
    }
    std::uint32_t GetUserDefaultLcid() override { return lcid; }
    bool GlobalMemoryStatusEx(MemoryStatus& out) override {
        if (memoryStatusExSucceeds) out = memoryStatusEx;
        return memoryStatusExSucceeds;
    }
    void GlobalMemoryStatus(MemoryStatus& out) override { out = memoryStatus; }
    bool GetPowerCapabilities(PowerCapabilities& out) override {
        if (powerCapabilitiesSucceed) out = powerCapabilities;
        return powerCapabilitiesSucceed;
    }
    std::int32_t CreateGuidText(std::wstring& text) override {
        if (guidStatus >= 0) text = guidText;
        return guidStatus;
    }
    std::uint32_t WindowsDirectory(std::uint32_t capacity, std::wstring& text) override {
        return Fill(windowsDirectory, capacity, text, false);
    }
    std::uint32_t SystemDirectory(std::uint32_t capacity, std::wstring& text) override {
        return Fill(systemDirectory, capacity, text, false);
    }
    std::uint32_t ExpandEnvironment(const std::wstring& source, std::uint32_t capacity,
                                    std::wstring& text) override {
        return Fill(Expand(source), capacity, text, true);
    }
    std::uint32_t OwnModuleFileName(std::uint32_t capacity, std::wstring& path) override {
        // GetModuleFileNameW truncates instead of asking for more.
        if (capacity == 0) return 0;
        path = moduleFileName.substr(0, capacity - 1);
        return static_cast<std::uint32_t>(path.size());
    }

    std::uint32_t LogicalDriveStrings(std::uint32_t capacity, std::wstring& text) override {
        if (!driveStringsSucceed) return 0;
        std::wstring strings;
        for (const Drive& drive : drives) strings += drive.root + L'\0';
        const auto length = static_cast<std::uint32_t>(strings.size());
        // The final terminator must fit in the capacity given; otherwise the room is asked for.
        if (length + 1 > capacity) return length + 1;
        text = strings;
        return length;
    }
    std::uint32_t DriveType(const std::wstring& root) override {
        const Drive* drive = Find(root);
        return drive != nullptr ? drive->type : kDriveNoRootDir;
    }
    bool DiskFreeSpace(const std::wstring& root, DiskSpace& space) override {
        const Drive* drive = Find(root);
        if (drive == nullptr || !drive->spaceSucceeds) return false;
        space = drive->space;
        return true;
    }
    // Each byte as the code point of the same number: code page 1252 outside 0x80 to 0x9F.
    std::uint32_t AnsiToWide(const std::string& bytes, std::wstring& text) override {
        if (bytes.empty()) return 0;  // as MultiByteToWideChar refuses an empty input
        text.clear();
        for (char c : bytes) text.push_back(static_cast<wchar_t>(static_cast<unsigned char>(c)));
        return static_cast<std::uint32_t>(text.size());
    }

    // %NAME% replaced by its value; unknown names stay as written, as in Windows.
    std::wstring Expand(const std::wstring& source) const {
        std::wstring out;
        std::size_t pos = 0;
        while (pos < source.size()) {
            const std::size_t open = source.find(L'%', pos);
            const std::size_t close =
                open == std::wstring::npos ? std::wstring::npos : source.find(L'%', open + 1);
            if (close == std::wstring::npos) {
                out += source.substr(pos);
                break;
            }
            out += source.substr(pos, open - pos);
            auto found = environment.find(source.substr(open + 1, close - open - 1));
            if (found != environment.end()) {
                out += found->second;
                pos = close + 1;
            } else {
                out += source.substr(open, close - open);
                pos = close;
            }
        }
        return out;
    }

  private:
    const Drive* Find(const std::wstring& root) const {
        for (const Drive& drive : drives) {
            if (drive.root == root) return &drive;
        }
        return nullptr;
    }

    // The Windows buffer protocol: the size needed (with the terminator) when it does not fit;
    // otherwise the length, which counts the terminator for the environment call alone.
    static std::uint32_t Fill(const std::wstring& value, std::uint32_t capacity, std::wstring& text,
                              bool countTerminator) {
        const auto needed = static_cast<std::uint32_t>(value.size() + 1);
        if (needed > capacity) return needed;
        text = value;
        return countTerminator ? needed : needed - 1;
    }
};

}  // namespace rigel::os
