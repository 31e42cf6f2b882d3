#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "os/fake/fake_registry.h"
#include "os/registry.h"
#ifdef _WIN32
#include "os/win32/win32_registry.h"
#endif

namespace rigel::os {
namespace {

const std::wstring kSystem = L"HARDWARE\\DESCRIPTION\\System";
const std::wstring kProcessor = L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";

// The status codes the portable readers tell apart, asked of one registry implementation: Wine's
// real registry under Windows, and the fake (given the keys that Wine's machine has) everywhere,
// so that the fake answers as Windows does.
void CheckRegistryContract(Registry& registry) {
    HKey processor = 0;
    ASSERT_EQ(registry.OpenKey(Registry::kLocalMachine, kProcessor, Registry::kKeyRead, processor),
              Registry::kSuccess);
    ASSERT_NE(processor, 0u);

    std::uint32_t type = 0;
    std::uint32_t size = 0;
    EXPECT_EQ(registry.QueryValue(processor, L"ProcessorNameString", type, nullptr, size),
              Registry::kSuccess);
    EXPECT_EQ(type, Registry::kString);
    ASSERT_GT(size, 2u);

    std::vector<std::uint8_t> small(2);
    std::uint32_t smallSize = 2;
    EXPECT_EQ(registry.QueryValue(processor, L"ProcessorNameString", type, small.data(), smallSize),
              Registry::kMoreData);
    EXPECT_EQ(smallSize, size);

    std::vector<std::uint8_t> whole(size);
    std::uint32_t wholeSize = size;
    EXPECT_EQ(registry.QueryValue(processor, L"ProcessorNameString", type, whole.data(), wholeSize),
              Registry::kSuccess);
    EXPECT_EQ(wholeSize, size);
    EXPECT_EQ(whole[size - 1], 0u);
    EXPECT_EQ(whole[size - 2], 0u);

    EXPECT_EQ(registry.QueryValue(processor, L"~MHz", type, nullptr, size), Registry::kSuccess);
    EXPECT_EQ(type, Registry::kDword);
    EXPECT_EQ(size, 4u);

    EXPECT_EQ(registry.QueryValue(processor, L"No such value", type, nullptr, size),
              Registry::kFileNotFound);
    EXPECT_EQ(registry.CloseKey(processor), Registry::kSuccess);

    HKey missing = 1;
    EXPECT_EQ(registry.OpenKey(Registry::kLocalMachine, L"SOFTWARE\\No\\Such\\Key",
                               Registry::kKeyRead, missing),
              Registry::kFileNotFound);
    EXPECT_EQ(missing, 0u);

    HKey system = 0;
    ASSERT_EQ(registry.OpenKey(Registry::kLocalMachine, L"hardware\\description\\SYSTEM",
                               Registry::kKeyRead | Registry::kWow64_64Key, system),
              Registry::kSuccess);
    std::vector<std::wstring> names;
    std::wstring name;
    std::uint32_t index = 0;
    std::int32_t status = Registry::kSuccess;
    while ((status = registry.EnumKey(system, index, 100, name)) == Registry::kSuccess) {
        names.push_back(name);
        ++index;
    }
    EXPECT_EQ(status, Registry::kNoMoreItems);
    EXPECT_NE(std::find(names.begin(), names.end(), L"CentralProcessor"), names.end());
    EXPECT_EQ(registry.EnumKey(system, 0, 1, name), Registry::kMoreData);
    EXPECT_EQ(registry.CloseKey(system), Registry::kSuccess);
}

TEST(FakeRegistryTest, AnswersAsTheRegistryDoes) {
    FakeRegistry registry;
    registry.SetString(Registry::kLocalMachine, kProcessor, L"ProcessorNameString", L"A CPU");
    registry.SetDword(Registry::kLocalMachine, kProcessor, L"~MHz", 2400);
    registry.AddKey(Registry::kLocalMachine, kSystem + L"\\BIOS");
    CheckRegistryContract(registry);
    EXPECT_EQ(registry.OpenKeyCount(), 0u);
}

#ifdef _WIN32
// Beyond the contract: a closed key is an invalid handle.
TEST(Win32RegistryTest, WinesRegistryAnswersTheContract) {
    Win32Registry registry;
    CheckRegistryContract(registry);
    HKey key = 0;
    ASSERT_EQ(registry.OpenKey(Registry::kLocalMachine, kSystem, Registry::kKeyRead, key),
              Registry::kSuccess);
    EXPECT_EQ(registry.CloseKey(key), Registry::kSuccess);
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    EXPECT_EQ(registry.QueryValue(key, L"Identifier", type, nullptr, size),
              Registry::kInvalidHandle);
}
#endif

}  // namespace
}  // namespace rigel::os
