#include <gtest/gtest.h>

#include <algorithm>

#include "control/logic/install_command.h"
#include "control/logic/server_registration.h"
#include "fake_registry.h"

namespace rigel {
namespace {

using test::FakeRegistry;
using Root = RegistryWriter::Root;

constexpr std::int32_t kTypeLibRegistryAccess = static_cast<std::int32_t>(0x8002801Cu);
constexpr std::int32_t kAccessDeniedResult = static_cast<std::int32_t>(0x80070005u);
const std::wstring kModule = L"C:\\Program Files\\Rigel\\RigelDetection.dll";

// Records its calls in the registry's call list, so that the order of all steps shows.
class FakeTypeLib : public TypeLibRegistrar {
  public:
    explicit FakeTypeLib(FakeRegistry& registry) : registry_(registry) {}

    std::int32_t Register(RegistrationScope scope) override {
        registry_.calls.push_back(Describe(L"RegisterTypeLib", scope));
        if (registerResult == ServerRegistration::kOk) registered = true;
        return registerResult;
    }
    std::int32_t Unregister(RegistrationScope scope) override {
        registry_.calls.push_back(Describe(L"UnRegisterTypeLib", scope));
        registered = false;
        return unregisterResult;
    }

    std::int32_t registerResult = ServerRegistration::kOk;
    std::int32_t unregisterResult = ServerRegistration::kOk;
    bool registered = false;

  private:
    static std::wstring Describe(const wchar_t* call, RegistrationScope scope) {
        return std::wstring(call) + (scope == RegistrationScope::kPerUser ? L" user" : L" machine");
    }
    FakeRegistry& registry_;
};

class ServerRegistrationTest : public ::testing::Test {
  protected:
    // Index of the first recorded call that starts with the text.
    std::size_t CallIndex(const std::wstring& start) const {
        const auto found = std::find_if(
            registry.calls.begin(), registry.calls.end(),
            [&](const std::wstring& call) { return call.compare(0, start.size(), start) == 0; });
        EXPECT_NE(found, registry.calls.end())
            << "no call " << std::string(start.begin(), start.end());
        return static_cast<std::size_t>(found - registry.calls.begin());
    }

    FakeRegistry registry;
    FakeTypeLib typeLib{registry};
    ServerRegistration registration{registry, typeLib, kModule};
};

TEST_F(ServerRegistrationTest, RegistersTheServedIdentifiersWithTheirValues) {
    ASSERT_EQ(registration.Register(RegistrationScope::kMachine), ServerRegistration::kOk);

    const std::wstring clsid = L"CLSID\\{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}";
    const FakeRegistry::Keys expected{
        {{Root::kClassesRoot, L"AppID"}, {}},
        {{Root::kClassesRoot, L"AppID\\{892519D6-8D23-4203-824D-F8DDBACD29BB}"},
         {{L"", L"Detection"}}},
        {{Root::kClassesRoot, L"RigelDetection_Test64.SysInfo.1"}, {{L"", L"SysInfo Class"}}},
        {{Root::kClassesRoot, L"RigelDetection_Test64.SysInfo.1\\CLSID"},
         {{L"", L"{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}"}}},
        {{Root::kClassesRoot, L"RigelDetection_Test64.SysInfo"}, {{L"", L"SysInfo Class"}}},
        {{Root::kClassesRoot, L"RigelDetection_Test64.SysInfo\\CLSID"},
         {{L"", L"{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}"}}},
        {{Root::kClassesRoot, L"RigelDetection_Test64.SysInfo\\CurVer"},
         {{L"", L"RigelDetection_Test64.SysInfo.1"}}},
        {{Root::kClassesRoot, L"CLSID"}, {}},
        {{Root::kClassesRoot, clsid},
         {{L"", L"SysInfo Class"}, {L"AppID", L"{892519D6-8D23-4203-824D-F8DDBACD29BB}"}}},
        {{Root::kClassesRoot, clsid + L"\\ProgID"}, {{L"", L"RigelDetection_Test64.SysInfo.1"}}},
        {{Root::kClassesRoot, clsid + L"\\VersionIndependentProgID"},
         {{L"", L"RigelDetection_Test64.SysInfo"}}},
        {{Root::kClassesRoot, clsid + L"\\Programmable"}, {}},
        {{Root::kClassesRoot, clsid + L"\\InprocServer32"},
         {{L"", kModule}, {L"ThreadingModel", L"Apartment"}}},
        {{Root::kClassesRoot, clsid + L"\\Control"}, {}},
        {{Root::kClassesRoot, clsid + L"\\ToolboxBitmap32"}, {{L"", kModule + L", 102"}}},
        {{Root::kClassesRoot, clsid + L"\\MiscStatus"}, {{L"", L"0"}}},
        // Invisible at run time, client site first, inside-out, no link inside, recompose.
        {{Root::kClassesRoot, clsid + L"\\MiscStatus\\1"}, {{L"", L"132241"}}},
        {{Root::kClassesRoot, clsid + L"\\TypeLib"},
         {{L"", L"{BFA93D95-8544-4914-9BDD-4A26817125F1}"}}},
        {{Root::kClassesRoot, clsid + L"\\Version"}, {{L"", L"1.0"}}},
    };
    EXPECT_EQ(registry.keys, expected);
    EXPECT_TRUE(typeLib.registered);
}

TEST_F(ServerRegistrationTest, RegistersAppIDThenClassThenTypeLibrary) {
    ASSERT_EQ(registration.Register(RegistrationScope::kMachine), ServerRegistration::kOk);
    const std::size_t appID = CallIndex(L"CreateKey HKCR\\AppID\\{892519D6");
    const std::size_t progID = CallIndex(L"CreateKey HKCR\\RigelDetection_Test64.SysInfo.1");
    const std::size_t typeLibrary = CallIndex(L"RegisterTypeLib machine");
    EXPECT_LT(appID, progID);
    EXPECT_LT(progID, typeLibrary);
    EXPECT_EQ(typeLibrary, registry.calls.size() - 1);
}

TEST_F(ServerRegistrationTest, UnregistersInTheOppositeOrderAndLeavesForeignKeys) {
    registry.keys[{Root::kClassesRoot, L"CLSID"}] = {};
    registry.keys[{Root::kClassesRoot, L"CLSID\\{00000000-0000-0000-0000-000000000001}"}] = {
        {L"", L"Other"}};
    registry.keys[{Root::kClassesRoot, L"AppID"}] = {};
    const FakeRegistry::Keys before = registry.keys;

    ASSERT_EQ(registration.Register(RegistrationScope::kMachine), ServerRegistration::kOk);
    registry.calls.clear();
    ASSERT_EQ(registration.Unregister(RegistrationScope::kMachine), ServerRegistration::kOk);

    EXPECT_EQ(registry.keys, before);
    EXPECT_FALSE(typeLib.registered);
    const std::size_t classKey = CallIndex(L"DeleteTree HKCR\\CLSID\\{3234EB1E");
    const std::size_t progID = CallIndex(L"DeleteKey HKCR\\RigelDetection_Test64.SysInfo.1");
    const std::size_t typeLibrary = CallIndex(L"UnRegisterTypeLib machine");
    const std::size_t appID = CallIndex(L"DeleteKey HKCR\\AppID\\{892519D6");
    EXPECT_LT(classKey, progID);
    EXPECT_LT(progID, typeLibrary);
    EXPECT_LT(typeLibrary, appID);
}

TEST_F(ServerRegistrationTest, PerUserWritesOnlyBelowTheUsersClasses) {
    ASSERT_EQ(registration.Register(RegistrationScope::kPerUser), ServerRegistration::kOk);
    for (const auto& [location, values] : registry.keys) {
        EXPECT_EQ(location.first, Root::kCurrentUser)
            << std::string(location.second.begin(), location.second.end());
    }
    EXPECT_EQ(registry.keys
                  .at({Root::kCurrentUser,
                       L"Software\\Classes\\CLSID\\{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}"
                       L"\\InprocServer32"})
                  .at(L""),
              kModule);
    EXPECT_EQ(registry.calls.back(), L"RegisterTypeLib user");

    ASSERT_EQ(registration.Unregister(RegistrationScope::kPerUser), ServerRegistration::kOk);
    EXPECT_EQ(registry.keys.count({Root::kCurrentUser,
                                   L"Software\\Classes\\AppID\\"
                                   L"{892519D6-8D23-4203-824D-F8DDBACD29BB}"}),
              0u);
}

TEST_F(ServerRegistrationTest, FailedClassScriptStopsBeforeTheTypeLibrary) {
    registry.FailOn(L"CreateKey HKCR\\CLSID\\{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}", 5);
    EXPECT_EQ(registration.Register(RegistrationScope::kMachine), kAccessDeniedResult);
    EXPECT_FALSE(typeLib.registered);
    EXPECT_EQ(std::count(registry.calls.begin(), registry.calls.end(), L"RegisterTypeLib machine"),
              0);
}

TEST_F(ServerRegistrationTest, FailedAppIDScriptStopsEverything) {
    registry.FailOn(L"SetString HKCR\\AppID\\{892519D6-8D23-4203-824D-F8DDBACD29BB}|", 5);
    EXPECT_EQ(registration.Register(RegistrationScope::kMachine), kAccessDeniedResult);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"RigelDetection_Test64.SysInfo.1"}), 0u);
    EXPECT_FALSE(typeLib.registered);
}

TEST_F(ServerRegistrationTest, UnregisterRunsEveryStepAndReturnsTheFirstFailure) {
    ASSERT_EQ(registration.Register(RegistrationScope::kMachine), ServerRegistration::kOk);
    typeLib.unregisterResult = kTypeLibRegistryAccess;
    EXPECT_EQ(registration.Unregister(RegistrationScope::kMachine), kTypeLibRegistryAccess);
    EXPECT_EQ(
        registry.keys.count({Root::kClassesRoot, L"AppID\\{892519D6-8D23-4203-824D-F8DDBACD29BB}"}),
        0u);
}

TEST_F(ServerRegistrationTest, InstallUndoesAFailedRegistrationAndReturnsItsResult) {
    registry.keys[{Root::kClassesRoot, L"CLSID"}] = {};
    registry.keys[{Root::kClassesRoot, L"AppID"}] = {};
    const FakeRegistry::Keys before = registry.keys;
    typeLib.registerResult = kTypeLibRegistryAccess;
    typeLib.unregisterResult = kAccessDeniedResult;

    EXPECT_EQ(registration.Install(true, RegistrationScope::kMachine), kTypeLibRegistryAccess);
    EXPECT_EQ(registry.keys, before);
    EXPECT_EQ(registry.calls.back().compare(0, 10, L"DeleteKey "), 0);
}

TEST_F(ServerRegistrationTest, InstallFalseUnregisters) {
    ASSERT_EQ(registration.Install(true, RegistrationScope::kPerUser), ServerRegistration::kOk);
    EXPECT_TRUE(typeLib.registered);
    typeLib.unregisterResult = kTypeLibRegistryAccess;
    EXPECT_EQ(registration.Install(false, RegistrationScope::kPerUser), kTypeLibRegistryAccess);
    EXPECT_FALSE(typeLib.registered);
    EXPECT_EQ(registry.keys.count(
                  {Root::kCurrentUser, L"Software\\Classes\\RigelDetection_Test64.SysInfo"}),
              0u);
}

TEST(ServerRegistrationHResult, ConvertsWindowsErrorsLikeHResultFromWin32) {
    EXPECT_EQ(ServerRegistration::HResultFromWin32(0), 0);
    EXPECT_EQ(ServerRegistration::HResultFromWin32(5), kAccessDeniedResult);
    EXPECT_EQ(ServerRegistration::HResultFromWin32(0x12345),
              static_cast<std::int32_t>(0x80072345u));
    EXPECT_EQ(ServerRegistration::HResultFromWin32(kTypeLibRegistryAccess), kTypeLibRegistryAccess);
}

TEST(InstallCommand, OnlyTheWholeWordUserInAnyCaseMeansPerUser) {
    EXPECT_TRUE(IsPerUserCommand(L"user"));
    EXPECT_TRUE(IsPerUserCommand(L"USER"));
    EXPECT_TRUE(IsPerUserCommand(L"uSeR"));
    EXPECT_FALSE(IsPerUserCommand(L"users"));
    EXPECT_FALSE(IsPerUserCommand(L"use"));
    EXPECT_FALSE(IsPerUserCommand(L" user"));
    EXPECT_FALSE(IsPerUserCommand(L""));
    EXPECT_FALSE(IsPerUserCommand(nullptr));
}

}  // namespace
}  // namespace rigel
