#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "control/logic/installer_rows.h"
#include "control/logic/server_registration.h"
#include "fake_registry.h"

namespace rigel {
namespace {

using test::FakeRegistry;
using Removal = RegistryKey::Removal;
using Row = InstallerRows::Row;
using Value = std::tuple<std::wstring, std::wstring, std::wstring>;  // key, name, data

const std::wstring kModule = L"C:\\Program Files\\Rigel\\RigelDetection.dll";
const std::wstring kFolder = L"C:\\Program Files\\Rigel\\";

// The values that self-registration leaves in an empty registry (with a type library registrar
// that writes nothing itself), as (key, name, data).
std::set<Value> SelfRegisteredValues(std::set<std::wstring>& keys) {
    class NoTypeLib : public TypeLibRegistrar {
        std::int32_t Register(RegistrationScope) override { return 0; }
        std::int32_t Unregister(RegistrationScope) override { return 0; }
    } typeLib;
    FakeRegistry registry;
    EXPECT_EQ(ServerRegistration(registry, typeLib, kModule).Register(RegistrationScope::kMachine),
              ServerRegistration::kOk);
    std::set<Value> values;
    for (const auto& [location, named] : registry.keys) {
        keys.insert(location.second);
        for (const auto& [name, data] : named) values.insert({location.second, name, data});
    }
    return values;
}

bool IsBelow(const std::wstring& key, const std::wstring& ancestor) {
    return key.compare(0, ancestor.size() + 1, ancestor + L"\\") == 0;
}

TEST(InstallerRows, WriteExactlyTheValuesOfSelfRegistrationAndOwnTheForceRemoveKeysWhole) {
    std::vector<Row> rows;
    const auto replacements = ServerRegistration::Replacements(kModule, kFolder);
    for (const RegistrationScript* script : ServerRegistration::Scripts()) {
        ASSERT_TRUE(InstallerRows::Append(*script, replacements, rows));
    }
    std::set<Value> written;
    std::set<std::wstring> wholeKeys;
    for (const Row& row : rows) {
        if (row.name == InstallerRows::kWholeKey) {
            EXPECT_EQ(row.value, L"");
            wholeKeys.insert(row.key);
        } else {
            EXPECT_TRUE(written.insert({row.key, row.name, row.value}).second) << "a row twice";
        }
    }
    std::set<std::wstring> registeredKeys;
    EXPECT_EQ(written, SelfRegisteredValues(registeredKeys));

    const std::wstring classKey = L"CLSID\\{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}";
    EXPECT_EQ(wholeKeys,
              (std::set<std::wstring>{classKey, classKey + L"\\Programmable",
                                      classKey + L"\\Control", classKey + L"\\ToolboxBitmap32"}));
    // Every other key self-registration makes is created by a row below it, or is shared.
    for (const std::wstring& key : registeredKeys) {
        const bool made = wholeKeys.count(key) > 0 ||
                          std::any_of(written.begin(), written.end(), [&](const Value& value) {
                              return std::get<0>(value) == key || IsBelow(std::get<0>(value), key);
                          });
        const bool shared =
            key == L"AppID" || key == L"CLSID" || key == L"TypeLib" || key == L"Interface";
        EXPECT_TRUE(made || shared) << std::string(key.begin(), key.end());
    }
}

TEST(InstallerRows, SkipSharedKeysAndAppendNothingForAMissingReplacement) {
    const RegistrationScript script({
        {L"Shared", Removal::kNoRemove, nullptr, nullptr, nullptr},
        {L"Shared\\%ID%", Removal::kNone, L"%ID%", L"Path", L"[#file]"},
        {L"Shared\\%ID%\\Whole", Removal::kForceRemove, nullptr, nullptr, nullptr},
    });
    std::vector<Row> rows{{L"earlier", L"", L"kept"}};
    ASSERT_TRUE(InstallerRows::Append(script, {{L"ID", L"{1}"}}, rows));
    EXPECT_EQ(rows, (std::vector<Row>{{L"earlier", L"", L"kept"},
                                      {L"Shared\\{1}", L"", L"{1}"},
                                      {L"Shared\\{1}", L"Path", L"[#file]"},
                                      {L"Shared\\{1}\\Whole", L"*", L""}}));

    EXPECT_FALSE(InstallerRows::Append(script, {{L"OTHER", L"x"}}, rows));
    EXPECT_EQ(rows.size(), 4u);
}

}  // namespace
}  // namespace rigel
