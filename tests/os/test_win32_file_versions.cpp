#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "detect/platform/file_version.h"
#include "os/fake/fake_file_versions.h"
#include "os/file_versions.h"
#include "os/services.h"
#include "os/system_info.h"
#ifdef _WIN32
#include "os/win32/win32_file_versions.h"
#endif

namespace rigel::os {
namespace {

std::uint32_t DwordAt(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
    return bytes[offset] | bytes[offset + 1] << 8 | bytes[offset + 2] << 16 |
           std::uint32_t{bytes[offset + 3]} << 24;
}

// What the file-version reader relies on, asked of one implementation: a file with a version
// resource gives its fixed file information, a file without one and a missing file give a size
// of 0 with the error that tells them apart.
void CheckFileVersionsContract(FileVersions& files, const std::wstring& withVersion,
                               const std::wstring& withoutVersion, const std::wstring& missing) {
    std::uint32_t error = 0;
    const std::uint32_t size = files.InfoSize(withVersion, error);
    ASSERT_GT(size, 0u);
    std::vector<std::uint8_t> data(size, 0);
    ASSERT_TRUE(files.Info(withVersion, data));
    std::vector<std::uint8_t> fixedInfo;
    ASSERT_TRUE(files.QueryFixedInfo(data, fixedInfo));
    ASSERT_GE(fixedInfo.size(), FileVersions::kFixedInfoSize);
    EXPECT_EQ(DwordAt(fixedInfo, 0), FileVersions::kFixedInfoSignature);

    EXPECT_EQ(files.InfoSize(withoutVersion, error), 0u);
    EXPECT_EQ(error, FileVersions::kErrorResourceTypeNotFound);
    EXPECT_EQ(files.InfoSize(missing, error), 0u);
    EXPECT_EQ(error, FileVersions::kErrorFileNotFound);
}

TEST(FakeFileVersionsTest, AnswersAsVersionResourcesDo) {
    FakeFileVersions files;
    files.AddFile(L"C:\\Windows\\system32\\kernel32.dll", 6, 1, 7601, 24545);
    files.AddFileWithoutVersion(L"C:\\tests\\os_tests.exe");
    CheckFileVersionsContract(files, L"c:\\windows\\SYSTEM32\\kernel32.dll",
                              L"C:\\tests\\os_tests.exe", L"C:\\Windows\\no_such_file.dll");
    std::vector<std::uint8_t> notAVersionBlock(80, 0);
    std::vector<std::uint8_t> fixedInfo;
    EXPECT_FALSE(files.QueryFixedInfo(notAVersionBlock, fixedInfo));
}

#ifdef _WIN32
std::wstring OwnFolder() {
    std::wstring path;
    Current().systemInfo->OwnModuleFileName(2000, path);
    return path.substr(0, path.rfind(L'\\'));
}

std::wstring SystemFolder() {
    std::wstring folder;
    Current().systemInfo->SystemDirectory(2000, folder);
    return folder;
}

TEST(Win32FileVersionsTest, WinesVersionResourcesAnswerTheContract) {
    Win32FileVersions files;
    std::wstring ownPath;
    Current().systemInfo->OwnModuleFileName(2000, ownPath);
    CheckFileVersionsContract(files, SystemFolder() + L"\\kernel32.dll", ownPath,
                              SystemFolder() + L"\\no_such_file.dll");
}

TEST(Win32FileVersionsTest, TheVersionOfAFileOfOursIsTheOneItsResourceCarries) {
    std::wstring text;
    ASSERT_TRUE(FileVersion::Get(OwnFolder() + L"\\widiutil.dll", text));
    EXPECT_EQ(text, L"1.2.3.4");
    std::wstring system;
    EXPECT_TRUE(FileVersion::Get(SystemFolder() + L"\\kernel32.dll", system));
    EXPECT_NE(system.find(L'.'), std::wstring::npos) << system;
}
#endif

}  // namespace
}  // namespace rigel::os
