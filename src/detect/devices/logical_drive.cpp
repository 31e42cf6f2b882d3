#include "detect/devices/logical_drive.h"

#include <algorithm>
#include <string>

#include "core/group_id.h"
#include "detect/devices/storage_device.h"
#include "detect/devices/storage_replies.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"
#include "os/storage_control.h"
#include "os/system_info.h"
#include "values/count.h"
#include "values/name.h"
#include "values/size.h"

namespace rigel {
namespace {

constexpr std::uint32_t kLargestFree = 71436;
constexpr std::uint32_t kFree = 71076;
constexpr std::uint32_t kTotal = 71075;
constexpr std::uint32_t kUsed = 71379;
constexpr std::uint32_t kRoot = 71387;
constexpr std::uint32_t kDiskNumber = 71435;
constexpr std::uint32_t kTotalOfAll = 71380;

// The root strings are read into 400 characters.
constexpr std::uint32_t kDriveStringsCapacity = 400;

// The roots in the order listed; nothing when the call fails or they do not fit.
std::vector<std::wstring> DriveRoots() {
    std::wstring strings;
    const std::uint32_t length =
        os::Current().systemInfo->LogicalDriveStrings(kDriveStringsCapacity, strings);
    std::vector<std::wstring> roots;
    if (length == 0 || length > kDriveStringsCapacity) return roots;
    std::size_t start = 0;
    while (start < strings.size()) {
        std::size_t end = strings.find(L'\0', start);
        if (end == std::wstring::npos) end = strings.size();
        if (end > start) roots.push_back(strings.substr(start, end - start));
        start = end + 1;
    }
    return roots;
}

// The number of the disk that holds the volume, 0 when it cannot be asked.
std::uint32_t DiskNumberOf(const std::wstring& root) {
    StorageDevice device;
    std::uint32_t error = 0;
    StorageReplies::Bytes reply(os::storage::kDeviceNumberSize, 0);
    if (!device.Open(L"\\\\.\\" + root.substr(0, 2), error) ||
        !device.Query(os::storage::kGetDeviceNumber, reply, error)) {
        return 0;
    }
    return StorageReplies::ParseDeviceNumber(reply).value_or(0);
}

}  // namespace

LogicalDrive::LogicalDrive()
    : Detector(L"rigel::LogicalDrive::Detect", L"Error in LogicalDrive detection.") {}

void LogicalDrive::Initialize() { ScopeTrace trace(L"rigel::LogicalDrive::Initialize"); }

void LogicalDrive::GetDriveInformation(std::vector<LogicalDriveInfo>& drives,
                                       std::uint64_t& total) {
    ScopeTrace trace(L"rigel::LogicalDrive::GetDriveInformation");
    drives.clear();
    total = 0;
    try {
        os::SystemInfo& system = *os::Current().systemInfo;
        for (const std::wstring& root : DriveRoots()) {
            os::DiskSpace space;
            if (system.DriveType(root) != os::SystemInfo::kDriveFixed ||
                !system.DiskFreeSpace(root, space)) {
                continue;
            }
            LogicalDriveInfo drive{};
            drive.freeBytes = space.totalFreeBytes;
            drive.totalBytes = space.totalBytes;
            drive.usedBytes = space.totalBytes - space.totalFreeBytes;
            root.copy(drive.root, LogicalDriveInfo::kRootCapacity - 1);
            total += space.totalBytes;
            drive.diskNumber = DiskNumberOf(root);
            drives.push_back(drive);
        }
    } catch (...) {
        Log::Instance().Line(Log::kError, L"Error getting harddrive information.");
    }
}

void LogicalDrive::Run() {
    std::vector<LogicalDriveInfo> drives;
    std::uint64_t total = 0;
    GetDriveInformation(drives, total);
    const auto storeSize = [](std::uint32_t group, std::uint64_t bytes, std::uint32_t index) {
        Size size(bytes);
        AddValue(GroupID(group), size, index);
    };
    std::sort(drives.begin(), drives.end(),
              [](const LogicalDriveInfo& a, const LogicalDriveInfo& b) {
                  return a.freeBytes > b.freeBytes;
              });
    if (!drives.empty()) storeSize(kLargestFree, drives.front().freeBytes, 0);
    std::uint32_t index = 0;
    for (const LogicalDriveInfo& drive : drives) {
        storeSize(kFree, drive.freeBytes, index);
        storeSize(kTotal, drive.totalBytes, index);
        storeSize(kUsed, drive.usedBytes, index);
        Name root(drive.root);
        AddValue(GroupID(kRoot), root, index);
        Count diskNumber(drive.diskNumber);
        AddValue(GroupID(kDiskNumber), diskNumber, index);
        ++index;
    }
    storeSize(kTotalOfAll, total, 0);
}

}  // namespace rigel
