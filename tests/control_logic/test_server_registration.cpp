#include <gtest/gtest.h>

#include <algorithm>
#include <string>

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
const std::wstring kClassID = L"{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}";
const std::wstring kAppID = L"{892519D6-8D23-4203-824D-F8DDBACD29BB}";
const std::wstring kProgID = L"RigelDetection_Test64.SysInfo";
const std::wstring kLibID = L"{BFA93D95-8544-4914-9BDD-4A26817125F1}";
const std::wstring kInterfaceID = L"{092C26A6-C957-4A3C-BB9D-CAF2DDA29142}";
const std::wstring kMarshaler = L"{00020424-0000-0000-C000-000000000046}";

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

TEST_F(ServerRegistrationTest, RegistersAppIDClassAndTypeLibraryAndUnregistersInTheOppositeOrder) {
    const std::wstring foreignClass = L"CLSID\\{00000000-0000-0000-0000-000000000001}";
    registry.keys = FakeRegistry::ClassesKeys(
        {{L"CLSID", {}}, {foreignClass, {}}, {L"AppID", {}}, {L"TypeLib", {}}, {L"Interface", {}}});
    const FakeRegistry::Keys before = registry.keys;
    ASSERT_EQ(registration.Register(RegistrationScope::kMachine), ServerRegistration::kOk);

    const std::wstring classKey = L"CLSID\\" + kClassID;
    const std::wstring library = L"TypeLib\\" + kLibID + L"\\1.0";
    const std::wstring interfaceKey = L"Interface\\" + kInterfaceID;
    const FakeRegistry::Keys expected = FakeRegistry::ClassesKeys({
        {L"AppID", {}},
        {L"AppID\\" + kAppID, {{L"", L"Detection"}}},
        {kProgID + L".1", {{L"", L"SysInfo Class"}}},
        {kProgID + L".1\\CLSID", {{L"", kClassID}}},
        {kProgID, {{L"", L"SysInfo Class"}}},
        {kProgID + L"\\CLSID", {{L"", kClassID}}},
        {kProgID + L"\\CurVer", {{L"", kProgID + L".1"}}},
        {L"CLSID", {}},
        {foreignClass, {}},
        {classKey, {{L"", L"SysInfo Class"}, {L"AppID", kAppID}}},
        {classKey + L"\\ProgID", {{L"", kProgID + L".1"}}},
        {classKey + L"\\VersionIndependentProgID", {{L"", kProgID}}},
        {classKey + L"\\Programmable", {}},
        {classKey + L"\\InprocServer32", {{L"", kModule}, {L"ThreadingModel", L"Apartment"}}},
        {classKey + L"\\Control", {}},
        {classKey + L"\\ToolboxBitmap32", {{L"", kModule + L", 102"}}},
        {classKey + L"\\MiscStatus", {{L"", L"0"}}},
        // Invisible at run time, client site first, inside-out, no link inside, recompose.
        {classKey + L"\\MiscStatus\\1", {{L"", L"132241"}}},
        {classKey + L"\\TypeLib", {{L"", kLibID}}},
        {classKey + L"\\Version", {{L"", L"1.0"}}},
        {L"TypeLib", {}},
        {L"TypeLib\\" + kLibID, {}},
        {library, {{L"", L"DetectionLib 1.0 Type Library"}}},
        {library + L"\\FLAGS", {{L"", L"0"}}},
        {library + L"\\HELPDIR", {{L"", L"C:\\Program Files\\Rigel\\"}}},
        {library + L"\\0", {}},
        {library + L"\\0\\win64", {{L"", kModule}}},
        {library + L"\\409", {}},
        {library + L"\\409\\win64", {{L"", kModule}}},
        {L"Interface", {}},
        {interfaceKey, {{L"", L"ISysInfo"}}},
        {interfaceKey + L"\\ProxyStubClsid", {{L"", kMarshaler}}},
        {interfaceKey + L"\\ProxyStubClsid32", {{L"", kMarshaler}}},
        {interfaceKey + L"\\TypeLib", {{L"", kLibID}, {L"Version", L"1.0"}}},
    });
    EXPECT_EQ(registry.keys, expected);
    EXPECT_TRUE(typeLib.registered);

    const std::size_t appID = CallIndex(L"CreateKey HKCR\\AppID\\" + kAppID);
    const std::size_t progID = CallIndex(L"CreateKey HKCR\\" + kProgID + L".1");
    const std::size_t typeLibrary = CallIndex(L"RegisterTypeLib machine");
    const std::size_t neutral = CallIndex(L"CreateKey HKCR\\" + library + L"\\0\\win64");
    EXPECT_LT(appID, progID);
    EXPECT_LT(progID, typeLibrary);
    EXPECT_LT(typeLibrary, neutral);

    // Unregistration leaves the foreign keys.
    registry.calls.clear();
    ASSERT_EQ(registration.Unregister(RegistrationScope::kMachine), ServerRegistration::kOk);
    EXPECT_EQ(registry.keys, before);
    EXPECT_FALSE(typeLib.registered);
    const std::size_t classDeleted = CallIndex(L"DeleteTree HKCR\\CLSID\\" + kClassID);
    const std::size_t progIDDeleted = CallIndex(L"DeleteKey HKCR\\" + kProgID + L".1");
    const std::size_t typeLibraryDeleted = CallIndex(L"UnRegisterTypeLib machine");
    const std::size_t neutralDeleted = CallIndex(L"DeleteKey HKCR\\" + library + L"\\0\\win64");
    const std::size_t appIDDeleted = CallIndex(L"DeleteKey HKCR\\AppID\\" + kAppID);
    EXPECT_LT(classDeleted, progIDDeleted);
    EXPECT_LT(progIDDeleted, typeLibraryDeleted);
    EXPECT_LT(typeLibraryDeleted, neutralDeleted);
    EXPECT_LT(neutralDeleted, appIDDeleted);
}

TEST_F(ServerRegistrationTest, PerUserInstallWritesBelowTheUsersClassesAndUninstallRunsEveryStep) {
    ASSERT_EQ(registration.Install(true, RegistrationScope::kPerUser), ServerRegistration::kOk);
    for (const auto& [location, values] : registry.keys) {
        EXPECT_EQ(location.first, Root::kCurrentUser)
            << std::string(location.second.begin(), location.second.end());
    }
    const std::wstring userClasses = L"Software\\Classes\\";
    EXPECT_EQ(registry.keys.at(
                  {Root::kCurrentUser, userClasses + L"CLSID\\" + kClassID + L"\\InprocServer32"}),
              (FakeRegistry::Values{{L"", kModule}, {L"ThreadingModel", L"Apartment"}}));
    EXPECT_LT(CallIndex(L"RegisterTypeLib user"),
              CallIndex(L"CreateKey HKCU\\" + userClasses + L"TypeLib\\" + kLibID));
    EXPECT_TRUE(typeLib.registered);

    // A failing type library does not stop the walk, and the result is the last step's: the
    // AppID key's removal, which succeeds.
    typeLib.unregisterResult = kTypeLibRegistryAccess;
    EXPECT_EQ(registration.Install(false, RegistrationScope::kPerUser), ServerRegistration::kOk);
    EXPECT_FALSE(typeLib.registered);
    for (const std::wstring& gone :
         {kProgID, L"CLSID\\" + kClassID, L"TypeLib\\" + kLibID, L"AppID\\" + kAppID}) {
        EXPECT_EQ(registry.keys.count({Root::kCurrentUser, userClasses + gone}), 0u)
            << std::string(gone.begin(), gone.end());
    }
}

TEST_F(ServerRegistrationTest, UnregistrationReturnsTheApplicationIdentifiersResultOnly) {
    ASSERT_EQ(registration.Register(RegistrationScope::kMachine), ServerRegistration::kOk);
    registry.FailOn(L"DeleteKey HKCR\\AppID\\" + kAppID, 5);
    EXPECT_EQ(registration.Unregister(RegistrationScope::kMachine), kAccessDeniedResult);
    // Everything before the failing last step was removed all the same.
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"CLSID\\" + kClassID}), 0u);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"TypeLib\\" + kLibID}), 0u);
    EXPECT_EQ(registry.keys.count({Root::kClassesRoot, L"AppID\\" + kAppID}), 1u);
}

TEST_F(ServerRegistrationTest, AFailedScriptStopsTheRegistration) {
    for (const std::wstring& call :
         {L"SetString HKCR\\AppID\\" + kAppID + L"|", L"CreateKey HKCR\\CLSID\\" + kClassID}) {
        FakeRegistry failing;
        FakeTypeLib failingTypeLib{failing};
        failing.FailOn(call, 5);
        EXPECT_EQ(ServerRegistration(failing, failingTypeLib, kModule)
                      .Register(RegistrationScope::kMachine),
                  kAccessDeniedResult);
        EXPECT_FALSE(failingTypeLib.registered);
        EXPECT_EQ(failing.calls.back(), call) << "nothing is written after the failure";
    }
}

TEST_F(ServerRegistrationTest, InstallUndoesAFailedRegistrationAndReturnsItsResult) {
    registry.keys = FakeRegistry::ClassesKeys({{L"CLSID", {}}, {L"AppID", {}}});
    const FakeRegistry::Keys before = registry.keys;
    typeLib.registerResult = kTypeLibRegistryAccess;
    typeLib.unregisterResult = kAccessDeniedResult;

    EXPECT_EQ(registration.Install(true, RegistrationScope::kMachine), kTypeLibRegistryAccess);
    EXPECT_EQ(registry.keys, before);
    EXPECT_EQ(registry.calls.back().compare(0, 10, L"DeleteKey "), 0);
}

TEST(ServerRegistrationHResult, ConvertsWindowsErrorsLikeHResultFromWin32) {
    EXPECT_EQ(ServerRegistration::HResultFromWin32(0), 0);
    EXPECT_EQ(ServerRegistration::HResultFromWin32(5), kAccessDeniedResult);
    EXPECT_EQ(ServerRegistration::HResultFromWin32(0x12345),
              static_cast<std::int32_t>(0x80072345u));
    EXPECT_EQ(ServerRegistration::HResultFromWin32(kTypeLibRegistryAccess), kTypeLibRegistryAccess);
}

TEST(InstallCommand, OnlyTheWholeWordUserInAnyCaseMeansPerUser) {
    for (const wchar_t* command : {L"user", L"USER", L"uSeR"})
        EXPECT_TRUE(IsPerUserCommand(command));
    for (const wchar_t* command :
         {L"users", L"use", L" user", L"", static_cast<const wchar_t*>(nullptr)}) {
        EXPECT_FALSE(IsPerUserCommand(command)) << (command ? "" : "null");
    }
}

}  // namespace
}  // namespace rigel
