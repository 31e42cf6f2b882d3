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
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value |= std::uint32_t{bytes[offset + i]} << (8 * i);
    return value;
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
    EXPECT_TRUE(error == FileVersions::kErrorResourceDataNotFound ||
                error == FileVersions::kErrorResourceTypeNotFound)
        << error;
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
// Wine's kernel32.dll has a version resource, this test program none. The file reader then gives
// a file of ours the version its resource carries.
TEST(Win32FileVersionsTest, WinesVersionResourcesAnswerTheContract) {
    std::wstring own;
    Current().systemInfo->OwnModuleFileName(2000, own);
    std::wstring system;
    Current().systemInfo->SystemDirectory(2000, system);
    Win32FileVersions files;
    CheckFileVersionsContract(files, system + L"\\kernel32.dll", own,
                              system + L"\\no_such_file.dll");

    std::wstring text;
    ASSERT_TRUE(FileVersion::Get(own.substr(0, own.rfind(L'\\')) + L"\\widiutil.dll", text));
    EXPECT_EQ(text, L"1.2.3.4");
    std::wstring kernel;
    EXPECT_TRUE(FileVersion::Get(system + L"\\kernel32.dll", kernel));
    EXPECT_NE(kernel.find(L'.'), std::wstring::npos) << kernel;
}
#endif

}  // namespace
}  // namespace rigel::os
