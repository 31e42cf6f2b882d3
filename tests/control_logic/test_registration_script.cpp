#include <gtest/gtest.h>

#include "control/logic/registration_script.h"
#include "fake_registry.h"

namespace rigel {
namespace {

using test::FakeRegistry;
using Removal = RegistryKey::Removal;
using Root = RegistryWriter::Root;

const RegistrationScript::Replacements kReplacements{{L"MODULE", L"C:\\bin\\x.dll"},
                                                     {L"ID", L"{1}"}};

// A script with one shared root, one class key with its own subtree and a plain child.
RegistrationScript SampleScript() {
    return RegistrationScript({
        {L"Prog", Removal::kNone, L"Sample", nullptr, nullptr},
        {L"Prog\\CLSID", Removal::kNone, L"%ID%", nullptr, nullptr},
        {L"CLSID", Removal::kNoRemove, nullptr, nullptr, nullptr},
        {L"CLSID\\%ID%", Removal::kForceRemove, L"Sample", L"AppID", L"%ID%"},
        {L"CLSID\\%ID%\\InprocServer32", Removal::kNone, L"%MODULE%", L"ThreadingModel",
         L"Apartment"},
    });
}

TEST(RegistrationScriptExpand, ReplacesPlaceholdersAndDoubledPercent) {
    std::wstring out = L"old";
    ASSERT_TRUE(RegistrationScript::Expand(L"%MODULE%, 102 at 100%% for %ID%", kReplacements, out));
    EXPECT_EQ(out, L"C:\\bin\\x.dll, 102 at 100% for {1}");

    ASSERT_TRUE(RegistrationScript::Expand(L"plain", kReplacements, out));
    EXPECT_EQ(out, L"plain");
}

TEST(RegistrationScriptExpand, RejectsUnknownOrUnclosedPlaceholders) {
    std::wstring out = L"old";
    EXPECT_FALSE(RegistrationScript::Expand(L"%OLEMISC%", kReplacements, out));
    EXPECT_FALSE(RegistrationScript::Expand(L"%MODULE", kReplacements, out));
    EXPECT_EQ(out, L"old");
}

TEST(RegistrationScriptRegister, WritesEveryKeyWithItsValues) {
    FakeRegistry registry;
    ASSERT_EQ(SampleScript().Register(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);

    const FakeRegistry::Keys expected{
        {{Root::kClassesRoot, L"Prog"}, {{L"", L"Sample"}}},
        {{Root::kClassesRoot, L"Prog\\CLSID"}, {{L"", L"{1}"}}},
        {{Root::kClassesRoot, L"CLSID"}, {}},
        {{Root::kClassesRoot, L"CLSID\\{1}"}, {{L"", L"Sample"}, {L"AppID", L"{1}"}}},
        {{Root::kClassesRoot, L"CLSID\\{1}\\InprocServer32"},
         {{L"", L"C:\\bin\\x.dll"}, {L"ThreadingModel", L"Apartment"}}},
    };
    EXPECT_EQ(registry.keys, expected);
}

TEST(RegistrationScriptRegister, PerUserWritesBelowTheUsersClasses) {
    FakeRegistry registry;
    ASSERT_EQ(SampleScript().Register(registry, RegistrationScope::kPerUser, kReplacements),
              RegistryWriter::kSuccess);

    for (const auto& [location, values] : registry.keys) {
        EXPECT_EQ(location.first, Root::kCurrentUser) << location.second;
    }
    const FakeRegistry::Values server{{L"", L"C:\\bin\\x.dll"}, {L"ThreadingModel", L"Apartment"}};
    EXPECT_EQ(
        registry.keys.at({Root::kCurrentUser, L"Software\\Classes\\CLSID\\{1}\\InprocServer32"}),
        server);
    EXPECT_EQ(registry.keys.count({Root::kCurrentUser, L"Software\\Classes\\Prog\\CLSID"}), 1u);
}

TEST(RegistrationScriptRegister, ForceRemoveClearsStaleSubkeysFirst) {
    FakeRegistry registry;
    registry.keys[{Root::kClassesRoot, L"CLSID\\{1}\\Implemented Categories\\{old}"}] = {};
    registry.keys[{Root::kClassesRoot, L"CLSID\\{1}"}] = {{L"Stale", L"x"}};
    registry.keys[{Root::kClassesRoot, L"CLSID\\{2}"}] = {{L"", L"Other"}};

    ASSERT_EQ(SampleScript().Register(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);

    EXPECT_EQ(
        registry.keys.count({Root::kClassesRoot, L"CLSID\\{1}\\Implemented Categories\\{old}"}),
        0u);
    const FakeRegistry::Values classValues{{L"", L"Sample"}, {L"AppID", L"{1}"}};
    EXPECT_EQ(registry.keys.at({Root::kClassesRoot, L"CLSID\\{1}"}), classValues);
    EXPECT_EQ(registry.keys.at({Root::kClassesRoot, L"CLSID\\{2}"}).at(L""), L"Other");
}

TEST(RegistrationScriptRegister, StopsAtTheFirstFailure) {
    FakeRegistry registry;
    registry.FailOn(L"CreateKey HKCR\\CLSID\\{1}", 5);
    EXPECT_EQ(SampleScript().Register(registry, RegistrationScope::kMachine, kReplacements), 5);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"CLSID\\{1}"}), 0u);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"CLSID\\{1}\\InprocServer32"}), 0u);

    FakeRegistry stale;
    stale.keys[{Root::kClassesRoot, L"CLSID\\{1}\\Stale"}] = {};
    stale.FailOn(L"DeleteTree HKCR\\CLSID\\{1}", 5);
    EXPECT_EQ(SampleScript().Register(stale, RegistrationScope::kMachine, kReplacements), 5);
    EXPECT_EQ(stale.keys.count({Root::kClassesRoot, L"CLSID\\{1}\\InprocServer32"}), 0u);

    FakeRegistry values;
    values.FailOn(L"SetString HKCR\\Prog\\CLSID|", 1);
    EXPECT_EQ(SampleScript().Register(values, RegistrationScope::kMachine, kReplacements), 1);
    EXPECT_EQ(values.keys.count({Root::kClassesRoot, L"CLSID"}), 0u);
}

TEST(RegistrationScriptRegister, UnknownPlaceholderWritesNothingFurther) {
    const RegistrationScript script({
        {L"A", Removal::kNone, L"ok", nullptr, nullptr},
        {L"B", Removal::kNone, L"%UNKNOWN%", nullptr, nullptr},
        {L"C", Removal::kNone, nullptr, nullptr, nullptr},
    });
    FakeRegistry registry;
    EXPECT_EQ(script.Register(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kInvalidData);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"A"}), 1u);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"B"}), 0u);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"C"}), 0u);
}

TEST(RegistrationScriptUnregister, RemovesWhatRegisterWroteAndKeepsForeignKeys) {
    FakeRegistry registry;
    registry.keys[{Root::kClassesRoot, L"CLSID"}] = {};
    registry.keys[{Root::kClassesRoot, L"CLSID\\{2}"}] = {{L"", L"Other"}};
    const FakeRegistry::Keys before = registry.keys;

    const RegistrationScript script = SampleScript();
    ASSERT_EQ(script.Register(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);
    EXPECT_EQ(script.Unregister(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);
    EXPECT_EQ(registry.keys, before);
}

TEST(RegistrationScriptUnregister, KeepsNoRemoveKeysEvenWhenEmpty) {
    FakeRegistry registry;
    const RegistrationScript script = SampleScript();
    ASSERT_EQ(script.Register(registry, RegistrationScope::kPerUser, kReplacements),
              RegistryWriter::kSuccess);
    ASSERT_EQ(script.Unregister(registry, RegistrationScope::kPerUser, kReplacements),
              RegistryWriter::kSuccess);

    const FakeRegistry::Keys expected{
        {{Root::kCurrentUser, L"Software"}, {}},
        {{Root::kCurrentUser, L"Software\\Classes"}, {}},
        {{Root::kCurrentUser, L"Software\\Classes\\CLSID"}, {}},
    };
    EXPECT_EQ(registry.keys, expected);
}

TEST(RegistrationScriptUnregister, DeletesChildrenFirstAndForceRemoveKeysAsTrees) {
    FakeRegistry registry;
    const RegistrationScript script = SampleScript();
    ASSERT_EQ(script.Register(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);
    registry.calls.clear();
    ASSERT_EQ(script.Unregister(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);

    const std::vector<std::wstring> expected{
        L"DeleteTree HKCR\\CLSID\\{1}", L"HasSubkeys HKCR\\Prog\\CLSID",
        L"DeleteKey HKCR\\Prog\\CLSID", L"HasSubkeys HKCR\\Prog",
        L"DeleteKey HKCR\\Prog",
    };
    EXPECT_EQ(registry.calls, expected);
}

TEST(RegistrationScriptUnregister, PlainKeyWithForeignSubkeyStaysWithoutOurValue) {
    FakeRegistry registry;
    const RegistrationScript script({
        {L"Shared", Removal::kNone, L"ours", L"Mine", L"1"},
    });
    ASSERT_EQ(script.Register(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);
    registry.keys[{Root::kClassesRoot, L"Shared\\Theirs"}] = {};

    ASSERT_EQ(script.Unregister(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);
    const FakeRegistry::Values left{{L"", L"ours"}};
    EXPECT_EQ(registry.keys.at({Root::kClassesRoot, L"Shared"}), left);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"Shared\\Theirs"}), 1u);
}

TEST(RegistrationScriptUnregister, MissingKeysAreNoErrorAndFailuresDoNotStopTheWalk) {
    FakeRegistry empty;
    EXPECT_EQ(SampleScript().Unregister(empty, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);

    FakeRegistry registry;
    ASSERT_EQ(SampleScript().Register(registry, RegistrationScope::kMachine, kReplacements),
              RegistryWriter::kSuccess);
    registry.FailOn(L"DeleteTree HKCR\\CLSID\\{1}", 5);
    EXPECT_EQ(SampleScript().Unregister(registry, RegistrationScope::kMachine, kReplacements), 5);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"CLSID\\{1}"}), 1u);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"Prog"}), 0u);
}

}  // namespace
}  // namespace rigel
