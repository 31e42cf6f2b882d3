#include "detect/platform/file_version.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "os/file_versions.h"
#include "os/services.h"

namespace rigel {
namespace {

std::uint32_t DwordAt(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value |= std::uint32_t{bytes[offset + i]} << (8 * i);
    return value;
}

std::wstring Parts(std::uint32_t high, std::uint32_t low) {
    return std::to_wstring(high >> 16) + L"." + std::to_wstring(high & 0xFFFF) + L"." +
           std::to_wstring(low >> 16) + L"." + std::to_wstring(low & 0xFFFF);
}

}  // namespace

bool FileVersion::Get(const std::wstring& path, std::wstring& text) {
    std::uint64_t version = 0;
    if (!GetNumber(path, version)) return false;
    text = Parts(static_cast<std::uint32_t>(version >> 32), static_cast<std::uint32_t>(version));
    return true;
}

bool FileVersion::GetNumber(const std::wstring& path, std::uint64_t& version) {
    if (path.empty()) return false;
    os::FileVersions& files = *os::Current().fileVersions;
    std::uint32_t error = 0;
    const std::uint32_t size = files.InfoSize(path, error);
    if (size == 0) return false;
    std::vector<std::uint8_t> data(size, 0);
    std::vector<std::uint8_t> fixedInfo;
    if (!files.Info(path, data) || !files.QueryFixedInfo(data, fixedInfo)) return false;
    // A root block shorter than the fixed file information is a damaged resource.
    if (fixedInfo.size() < os::FileVersions::kFixedInfoSize) return false;
    version = std::uint64_t{DwordAt(fixedInfo, os::FileVersions::kFileVersionMsOffset)} << 32 |
              DwordAt(fixedInfo, os::FileVersions::kFileVersionLsOffset);
    return true;
}

}  // namespace rigel
