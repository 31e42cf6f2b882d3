#include <gtest/gtest.h>

#include "control/logic/registration_script.h"
#include "fake_registry.h"

namespace rigel {
namespace {

using test::FakeRegistry;
using Removal = RegistryKey::Removal;
using Root = RegistryWriter::Root;
using Scope = RegistrationScope;

const RegistrationScript::Replacements kReplacements{{L"MODULE", L"C:\\bin\\x.dll"},
                                                     {L"ID", L"{1}"}};

// A script with one shared root, one class key with its own subtree and a plain child. (The
// server registration's tests check every key and value of the real scripts.)
const RegistrationScript kSample({
    {L"Prog", Removal::kNone, L"Sample", nullptr, nullptr},
    {L"Prog\\CLSID", Removal::kNone, L"%ID%", nullptr, nullptr},
    {L"CLSID", Removal::kNoRemove, nullptr, nullptr, nullptr},
    {L"CLSID\\%ID%", Removal::kForceRemove, L"Sample", L"AppID", L"%ID%"},
    {L"CLSID\\%ID%\\InprocServer32", Removal::kNone, L"%MODULE%", L"ThreadingModel", L"Apartment"},
});

FakeRegistry::Keys::key_type Machine(const std::wstring& path) {
    return {Root::kClassesRoot, path};
}

std::int32_t Register(FakeRegistry& registry, Scope scope = Scope::kMachine,
                      const RegistrationScript& script = kSample) {
    return script.Register(registry, scope, kReplacements);
}

std::int32_t Unregister(FakeRegistry& registry, Scope scope = Scope::kMachine) {
    return kSample.Unregister(registry, scope, kReplacements);
}

TEST(RegistrationScript, ExpandReplacesPlaceholdersAndDoubledPercentOrFails) {
    std::wstring out = L"old";
    ASSERT_TRUE(RegistrationScript::Expand(L"%MODULE%, 102 at 100%% for %ID%", kReplacements, out));
    EXPECT_EQ(out, L"C:\\bin\\x.dll, 102 at 100% for {1}");
    ASSERT_TRUE(RegistrationScript::Expand(L"plain", kReplacements, out));
    EXPECT_EQ(out, L"plain");

    EXPECT_FALSE(RegistrationScript::Expand(L"%OLEMISC%", kReplacements, out));
    EXPECT_FALSE(RegistrationScript::Expand(L"%MODULE", kReplacements, out));
    EXPECT_EQ(out, L"plain");
}

// Where per-user registration writes is checked with the real scripts.
TEST(RegistrationScript, PerUserUnregistrationKeepsNoRemoveKeysBelowTheUsersClasses) {
    FakeRegistry registry;
    ASSERT_EQ(Register(registry, Scope::kPerUser), RegistryWriter::kSuccess);
    ASSERT_EQ(Unregister(registry, Scope::kPerUser), RegistryWriter::kSuccess);
    const FakeRegistry::Keys expected{
        {{Root::kCurrentUser, L"Software"}, {}},
        {{Root::kCurrentUser, L"Software\\Classes"}, {}},
        {{Root::kCurrentUser, L"Software\\Classes\\CLSID"}, {}},
    };
    EXPECT_EQ(registry.keys, expected);
}

TEST(RegistrationScript, RegisterClearsStaleSubkeysOfForceRemoveKeysFirst) {
    FakeRegistry registry;
    registry.keys[Machine(L"CLSID\\{1}\\Implemented Categories\\{old}")] = {};
    registry.keys[Machine(L"CLSID\\{1}")] = {{L"Stale", L"x"}};
    registry.keys[Machine(L"CLSID\\{2}")] = {{L"", L"Other"}};
    ASSERT_EQ(Register(registry), RegistryWriter::kSuccess);

    EXPECT_EQ(registry.keys.count(Machine(L"CLSID\\{1}\\Implemented Categories\\{old}")), 0u);
    const FakeRegistry::Values classValues{{L"", L"Sample"}, {L"AppID", L"{1}"}};
    EXPECT_EQ(registry.keys.at(Machine(L"CLSID\\{1}")), classValues);
    EXPECT_EQ(registry.keys.at(Machine(L"CLSID\\{2}")).at(L""), L"Other");
}

TEST(RegistrationScript, RegisterStopsAtTheFirstFailure) {
    const struct {
        const wchar_t* call;
        std::int32_t error;
        const wchar_t* notWritten;
    } cases[] = {
        {L"CreateKey HKCR\\CLSID\\{1}", 5, L"CLSID\\{1}"},
        {L"DeleteTree HKCR\\CLSID\\{1}", 5, L"CLSID\\{1}\\InprocServer32"},
        {L"SetString HKCR\\Prog\\CLSID|", 1, L"CLSID"},
    };
    for (const auto& c : cases) {
        FakeRegistry registry;
        registry.keys[Machine(L"CLSID\\{1}\\Stale")] = {};
        registry.FailOn(c.call, c.error);
        EXPECT_EQ(Register(registry), c.error) << c.call;
        EXPECT_EQ(registry.keys.count(Machine(c.notWritten)), 0u) << c.call;
    }

    const RegistrationScript unknownPlaceholder({
        {L"A", Removal::kNone, L"ok", nullptr, nullptr},
        {L"B", Removal::kNone, L"%UNKNOWN%", nullptr, nullptr},
        {L"C", Removal::kNone, nullptr, nullptr, nullptr},
    });
    FakeRegistry registry;
    EXPECT_EQ(Register(registry, Scope::kMachine, unknownPlaceholder),
              RegistryWriter::kInvalidData);
    EXPECT_EQ(registry.keys, (FakeRegistry::Keys{{Machine(L"A"), {{L"", L"ok"}}}}));
}

TEST(RegistrationScript, UnregisterDeletesChildrenFirstAndKeepsForeignKeys) {
    FakeRegistry registry;
    registry.keys[Machine(L"CLSID")] = {};
    registry.keys[Machine(L"CLSID\\{2}")] = {{L"", L"Other"}};
    const FakeRegistry::Keys before = registry.keys;
    ASSERT_EQ(Register(registry), RegistryWriter::kSuccess);
    registry.calls.clear();
    ASSERT_EQ(Unregister(registry), RegistryWriter::kSuccess);

    EXPECT_EQ(registry.keys, before);
    const std::vector<std::wstring> expected{
        L"DeleteTree HKCR\\CLSID\\{1}", L"HasSubkeys HKCR\\Prog\\CLSID",
        L"DeleteKey HKCR\\Prog\\CLSID", L"HasSubkeys HKCR\\Prog",
        L"DeleteKey HKCR\\Prog",
    };
    EXPECT_EQ(registry.calls, expected);
}

TEST(RegistrationScript, UnregisterLeavesAPlainKeyWithAForeignSubkeyWithoutOurValue) {
    FakeRegistry registry;
    const RegistrationScript script({{L"Shared", Removal::kNone, L"ours", L"Mine", L"1"}});
    ASSERT_EQ(Register(registry, Scope::kMachine, script), RegistryWriter::kSuccess);
    registry.keys[Machine(L"Shared\\Theirs")] = {};

    ASSERT_EQ(script.Unregister(registry, Scope::kMachine, kReplacements),
              RegistryWriter::kSuccess);
    const FakeRegistry::Keys expected{{Machine(L"Shared"), {{L"", L"ours"}}},
                                      {Machine(L"Shared\\Theirs"), {}}};
    EXPECT_EQ(registry.keys, expected);
}

TEST(RegistrationScript, UnregisterTakesMissingKeysAsGoneAndGoesOnAfterAFailure) {
    FakeRegistry empty;
    EXPECT_EQ(Unregister(empty), RegistryWriter::kSuccess);

    FakeRegistry registry;
    ASSERT_EQ(Register(registry), RegistryWriter::kSuccess);
    registry.FailOn(L"DeleteTree HKCR\\CLSID\\{1}", 5);
    EXPECT_EQ(Unregister(registry), 5);
    EXPECT_EQ(registry.keys.count(Machine(L"CLSID\\{1}")), 1u);
    EXPECT_EQ(registry.keys.count(Machine(L"Prog")), 0u);
}

}  // namespace
}  // namespace rigel
