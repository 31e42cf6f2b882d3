#include "os/fake/fake_file_versions.h"

#include <algorithm>
#include <utility>

#include "os/fake/lower_case_path.h"

namespace rigel::os {
namespace {

// Leads every block the fake hands out, so that a block of anything else is refused.
constexpr std::uint8_t kMarker[] = {'F', 'V', 'E', 'R'};
constexpr std::size_t kMarkerSize = sizeof(kMarker);

void PutDword(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

}  // namespace

std::vector<std::uint8_t> FakeFileVersions::FixedInfo(std::uint16_t a, std::uint16_t b,
                                                      std::uint16_t c, std::uint16_t d) {
    std::vector<std::uint8_t> info(kFixedInfoSize, 0);
    PutDword(info, 0, kFixedInfoSignature);
    PutDword(info, kFileVersionMsOffset, std::uint32_t{a} << 16 | b);
    PutDword(info, kFileVersionLsOffset, std::uint32_t{c} << 16 | d);
    return info;
}

void FakeFileVersions::AddFile(const std::wstring& path, std::uint16_t a, std::uint16_t b,
                               std::uint16_t c, std::uint16_t d) {
    AddFileWithFixedInfo(path, FixedInfo(a, b, c, d));
}

void FakeFileVersions::AddFileWithFixedInfo(const std::wstring& path,
                                            std::vector<std::uint8_t> fixedInfo) {
    File& file = files_[LowerCasePath(path)];
    file.hasResource = true;
    file.block.assign(std::begin(kMarker), std::end(kMarker));
    file.block.insert(file.block.end(), fixedInfo.begin(), fixedInfo.end());
}

void FakeFileVersions::AddFileWithoutVersion(const std::wstring& path) {
    files_[LowerCasePath(path)] = File{};
}

void FakeFileVersions::FailInfo(const std::wstring& path) {
    files_[LowerCasePath(path)].infoFails = true;
}

const FakeFileVersions::File* FakeFileVersions::Find(const std::wstring& path) const {
    auto found = files_.find(LowerCasePath(path));
    return found != files_.end() ? &found->second : nullptr;
}

std::uint32_t FakeFileVersions::InfoSize(const std::wstring& path, std::uint32_t& error) {
    sizeQueries.push_back(path);
    const File* file = Find(path);
    if (file == nullptr) {
        error = kErrorFileNotFound;
        return 0;
    }
    if (!file->hasResource) {
        error = kErrorResourceTypeNotFound;
        return 0;
    }
    return static_cast<std::uint32_t>(file->block.size());
}

bool FakeFileVersions::Info(const std::wstring& path, std::vector<std::uint8_t>& data) {
    const File* file = Find(path);
    if (file == nullptr || !file->hasResource || file->infoFails) return false;
    std::copy_n(file->block.begin(), std::min(data.size(), file->block.size()), data.begin());
    return true;
}

bool FakeFileVersions::QueryFixedInfo(const std::vector<std::uint8_t>& data,
                                      std::vector<std::uint8_t>& fixedInfo) {
    if (data.size() <= kMarkerSize ||
        !std::equal(std::begin(kMarker), std::end(kMarker), data.begin())) {
        return false;
    }
    fixedInfo.assign(data.begin() + kMarkerSize, data.end());
    return true;
}

}  // namespace rigel::os
