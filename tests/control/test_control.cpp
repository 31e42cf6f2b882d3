// A C++ client of the control DLL: loads it without registration, creates SysInfo through the
// class factory and checks the scripting members, the container interfaces, the module's
// lifetime rules and, last, its registration in the test's Wine prefix.

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "control/logic/detection_identifiers.h"
#include "control/registry_key_closer.h"
#include "control/unique_bstr.h"
#include "control/unique_variant.h"
#include "control_client.h"
#include "fake_sites.h"

namespace rigel {
namespace {

HRESULT Install(BOOL install, LPCWSTR command) {
    return Control::Get().Call<BOOL, LPCWSTR>("DllInstall", install, command);
}

// ---- COM objects of the tests (automatic storage: Release never deletes) ---------------------

// Counts its references and answers only IUnknown; as an outer object, it hands out the ISysInfo
// of the object it aggregates as its own.
class Outer final : public IUnknown {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (iid == IID_IUnknown) {
            *object = this;
            AddRef();
            return S_OK;
        }
        if (iid == IID_ISysInfo && inner) return inner->QueryInterface(iid, object);
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    ComPtr<IUnknown> inner;
    ULONG references = 0;
};

// A property bag of texts that records what is written.
class FakeBag final : public IPropertyBag {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (iid != IID_IUnknown && iid != IID_IPropertyBag) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = this;
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
        const auto found = texts.find(name);
        if (found == texts.end()) return E_INVALIDARG;
        V_VT(value) = VT_BSTR;
        V_BSTR(value) = UniqueBstr(found->second).release();
        return S_OK;
    }
    STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override {
        UniqueVariant text;
        if (FAILED(VariantChangeType(text.get(), value, 0, VT_BSTR))) return E_FAIL;
        writes.emplace_back(name, UniqueBstr::Text(V_BSTR(text.get())));
        return S_OK;
    }

    std::map<std::wstring, std::wstring> texts;
    std::vector<std::pair<std::wstring, std::wstring>> writes;
};

// ---- Module: class objects and lifetime -----------------------------------------------------

TEST(ControlModule, ExportsFiveFunctionsAndServesOnlyTheSysInfoClass) {
    const Control& control = Control::Get();
    ASSERT_NE(control.module, nullptr) << "LoadLibrary error " << GetLastError();
    for (const char* name : {"DllGetClassObject", "DllCanUnloadNow", "DllRegisterServer",
                             "DllUnregisterServer", "DllInstall"}) {
        ASSERT_NE(GetProcAddress(control.module, name), nullptr) << name;
    }

    const CLSID other = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
    void* object = reinterpret_cast<void*>(1);
    EXPECT_EQ(GetClassObject(other, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    ComPtr<IClassFactory> first = Factory();
    ASSERT_TRUE(first);
    EXPECT_EQ(first.Get(), Factory().Get()) << "the class factory is cached";
}

TEST(ControlModule, CanUnloadOnlyWithoutObjectsFactoriesOrLocks) {
    const Control& control = Control::Get();
    EXPECT_EQ(control.CanUnloadNow(), S_OK);

    ComPtr<IClassFactory> factory = Factory();
    EXPECT_EQ(control.CanUnloadNow(), S_FALSE);
    ComPtr<ISysInfo> object;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
    factory.Reset();
    EXPECT_EQ(control.CanUnloadNow(), S_FALSE) << "a live object keeps the module";
    object.Reset();
    EXPECT_EQ(control.CanUnloadNow(), S_OK);

    ASSERT_EQ(Factory()->LockServer(TRUE), S_OK);
    EXPECT_EQ(control.CanUnloadNow(), S_FALSE) << "a server lock keeps the module";
    ASSERT_EQ(Factory()->LockServer(FALSE), S_OK);
    EXPECT_EQ(control.CanUnloadNow(), S_OK);
}

TEST(ControlModule, ObjectAnswersItsInterfacesWithOneIdentity) {
    const ComPtr<ISysInfo> object = NewSysInfo();
    ASSERT_TRUE(object);
    EXPECT_TRUE(As<IDispatch>(object));
    EXPECT_TRUE(As<IObjectWithSite>(object));
    EXPECT_TRUE(As<IPersistPropertyBag>(object));
    ComPtr<IClassFactory> notServed;
    EXPECT_EQ(object.As(&notServed), E_NOINTERFACE);

    ComPtr<IUnknown> fromSafety;
    ASSERT_EQ(As<IObjectSafety>(object).As(&fromSafety), S_OK);
    EXPECT_EQ(As<IUnknown>(object).Get(), fromSafety.Get());
}

TEST(ControlModule, AggregatedObjectCountsOnItsOuterObject) {
    Outer outer;
    ComPtr<IClassFactory> factory = Factory();
    ComPtr<ISysInfo> refused;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_PPV_ARGS(&refused)), CLASS_E_NOAGGREGATION);
    EXPECT_FALSE(refused);

    ASSERT_EQ(factory->CreateInstance(&outer, IID_PPV_ARGS(&outer.inner)), S_OK);
    EXPECT_EQ(outer.references, 0u) << "the inner unknown is counted on its own";
    {
        ComPtr<ISysInfo> sysInfo;
        ASSERT_EQ(outer.QueryInterface(IID_PPV_ARGS(&sysInfo)), S_OK);
        EXPECT_EQ(outer.references, 1u);

        ComPtr<IUnknown> identity;
        ASSERT_EQ(sysInfo.As(&identity), S_OK);
        EXPECT_EQ(identity.Get(), static_cast<IUnknown*>(&outer));
        ComPtr<IObjectSafety> unknownToOuter;
        EXPECT_EQ(sysInfo.As(&unknownToOuter), E_NOINTERFACE) << "queries go to the outer object";
        EXPECT_EQ(Get(sysInfo, &ISysInfo::get_Version), L"4.5.22.0");
    }
    EXPECT_EQ(outer.references, 0u);
    outer.inner.Reset();
    factory.Reset();
    EXPECT_EQ(Control::Get().CanUnloadNow(), S_OK) << "the last inner release deletes the object";
}

// ---- One SysInfo object per test --------------------------------------------------------------

class SysInfoObject : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(object); }

    std::wstring Get(HRESULT (STDMETHODCALLTYPE ISysInfo::*getter)(BSTR*)) {
        return rigel::Get(object, getter);
    }
    void Put(HRESULT (STDMETHODCALLTYPE ISysInfo::*setter)(BSTR), const std::wstring& text) {
        rigel::Put(object, setter, text);
    }
    ComPtr<ISysInfo> object = NewSysInfo();
};

// What scripts see of the members is checked end to end by the e2e scenarios; these tests cover
// what a script cannot pass or observe: null pointers, untouched results and trace order.
TEST_F(SysInfoObject, NullPointersAreAcceptedAndNullTextsCountAsEmpty) {
    EXPECT_EQ(object->get_Version(nullptr), S_OK);
    const std::wstring generated = Get(&ISysInfo::get_SessionID);
    EXPECT_EQ(object->put_SessionID(nullptr), S_OK);
    EXPECT_EQ(Get(&ISysInfo::get_SessionID), generated);
    Put(&ISysInfo::put_UserID, L"u1");
    EXPECT_EQ(object->put_UserID(nullptr), S_OK);
    EXPECT_EQ(Get(&ISysInfo::get_UserID), L"");
    EXPECT_EQ(Read([&](BSTR* value) { return object->get_System(nullptr, value); }),
              Get(&ISysInfo::get_SysInfo));
}

TEST_F(SysInfoObject, DetectTracesItselfAndSucceedsWhateverTheNetworkDoes) {
    Put(&ISysInfo::put_Logging, L"0");
    const LogCapture log;
    EXPECT_EQ(object->Detect(), S_OK);
    const std::size_t entering = log.Position(L"Entering: CSysInfo::Detect");
    EXPECT_TRUE(log.Logged(L"Entering: CSysInfo::Detect"))
        << "the level is raised before the trace";
    EXPECT_LT(entering, log.Position(L"Entering: rigel::System::Detect"));
    EXPECT_LT(log.Position(L"Entering: rigel::System::Detect"),
              log.Position(L"Exiting: CSysInfo::Detect"));
}

TEST_F(SysInfoObject, ValueOfAnAbsentIdentifierLeavesTheResultUnwritten) {
    UniqueBstr result(L"untouched");
    const UniqueBstr id(L"4000000000");
    BSTR out = result.get();
    const LogCapture log;
    EXPECT_EQ(object->get_Value(id.get(), &out), S_OK);
    EXPECT_EQ(out, result.get());
    EXPECT_EQ(UniqueBstr::Text(result.get()), L"untouched");
    EXPECT_TRUE(log.Has(L"ERR", L"Caught exception."));
    EXPECT_EQ(object->get_Value(id.get(), nullptr), S_OK);
}

// A page can pass anything: huge and malformed texts through every member leave the object
// answering, and the session is put back afterwards for the other tests.
TEST_F(SysInfoObject, HugeAndMalformedTextsThroughEveryMemberStillAnswer) {
    const std::wstring session = Get(&ISysInfo::get_SessionID);
    const std::wstring referrer = Get(&ISysInfo::get_ReferrerID);
    std::wstring huge(1024 * 1024, L'<');
    for (std::size_t i = 0; i < huge.size(); i += 7) huge[i] = static_cast<wchar_t>(i % 0xD900);
    huge[10] = L'\0';
    const std::wstring configuration = L"<groups><group id=\"71206\" index=\"-1\"><value>" + huge +
                                       L"<logging>" + huge + L"</logging><session_id>";
    const UniqueBstr text(huge);
    UniqueBstr out;
    for (auto setter : {&ISysInfo::put_Logging, &ISysInfo::put_ReferrerID, &ISysInfo::put_SessionID,
                        &ISysInfo::put_UserID, &ISysInfo::put_Debug, &ISysInfo::put_ComputerID,
                        &ISysInfo::put_SysInfo}) {
        EXPECT_EQ((object.Get()->*setter)(text.get()), S_OK);
    }
    EXPECT_EQ(object->Configure(UniqueBstr(configuration).get()), S_OK);
    EXPECT_EQ(object->get_Value(text.get(), out.out()), S_OK);
    EXPECT_EQ(object->get_System(text.get(), UniqueBstr().out()), S_OK);
    EXPECT_EQ(object->get_Analysis(text.get(), text.get(), text.get(), UniqueBstr().out()), S_OK);
    EXPECT_EQ(Get(&ISysInfo::get_Version), L"4.5.22.0");
    EXPECT_EQ(Get(&ISysInfo::get_Logging), L"7");

    Put(&ISysInfo::put_SessionID, session);
    Put(&ISysInfo::put_ReferrerID, referrer);
    Put(&ISysInfo::put_UserID, L"");
    Put(&ISysInfo::put_Debug, L"0");
    EXPECT_EQ(Get(&ISysInfo::get_SessionID), session);
}

// ---- IObjectSafety, IObjectWithSite ----------------------------------------------------------

TEST_F(SysInfoObject, SafetyOptionsCoverScriptingAndInitialisationOfItsInterfacesOnly) {
    const ComPtr<IObjectSafety> safety = As<IObjectSafety>(object);
    ASSERT_TRUE(safety);
    DWORD supported = 9;
    DWORD enabled = 9;
    ASSERT_EQ(safety->GetInterfaceSafetyOptions(IID_IDispatch, &supported, &enabled), S_OK);
    EXPECT_EQ(supported, 3u);
    EXPECT_EQ(enabled, 0u);
    EXPECT_EQ(safety->SetInterfaceSafetyOptions(IID_IDispatch, 4, 4), E_FAIL);
    EXPECT_EQ(safety->SetInterfaceSafetyOptions(IID_IDispatch, 3, 3), S_OK);
    ASSERT_EQ(safety->GetInterfaceSafetyOptions(IID_IPersistPropertyBag, &supported, &enabled),
              S_OK);
    EXPECT_EQ(supported, 3u);
    EXPECT_EQ(enabled, 3u);

    EXPECT_EQ(safety->GetInterfaceSafetyOptions(IID_IClassFactory, &supported, &enabled),
              E_NOINTERFACE);
    EXPECT_EQ(supported, 0u);
    EXPECT_EQ(enabled, 0u);
    EXPECT_EQ(safety->SetInterfaceSafetyOptions(IID_IClassFactory, 3, 3), E_NOINTERFACE);
    EXPECT_EQ(safety->GetInterfaceSafetyOptions(IID_IDispatch, nullptr, &enabled), E_POINTER);
}

TEST_F(SysInfoObject, KeepsOneCountedReferenceToItsSite) {
    ComPtr<IObjectWithSite> withSite = As<IObjectWithSite>(object);
    ASSERT_TRUE(withSite);
    object.Reset();
    ComPtr<IUnknown> none;
    EXPECT_EQ(withSite->GetSite(IID_PPV_ARGS(&none)), E_FAIL);
    EXPECT_FALSE(none);

    Outer site;
    ASSERT_EQ(withSite->SetSite(&site), S_OK);
    EXPECT_EQ(site.references, 1u);
    {
        ComPtr<IUnknown> kept;
        ASSERT_EQ(withSite->GetSite(IID_PPV_ARGS(&kept)), S_OK);
        EXPECT_EQ(kept.Get(), static_cast<IUnknown*>(&site));
        ComPtr<IDispatch> notOnSite;
        EXPECT_EQ(withSite->GetSite(IID_PPV_ARGS(&notOnSite)), E_NOINTERFACE);
    }
    ASSERT_EQ(withSite->SetSite(nullptr), S_OK);
    EXPECT_EQ(site.references, 0u);

    ASSERT_EQ(withSite->SetSite(&site), S_OK);
    withSite.Reset();
    EXPECT_EQ(site.references, 0u) << "the object releases its site when it dies";
}

// Without a list of allowed sites built in, the page that hosts the control does not matter.
TEST_F(SysInfoObject, WithoutAListOfAllowedSitesAnyPageMayScriptIt) {
    FakeBrowserSite site(std::wstring(L"https://user:pw@anywhere.example.net/"));
    const ComPtr<IObjectWithSite> withSite = As<IObjectWithSite>(object);
    ASSERT_EQ(withSite->SetSite(&site), S_OK);
    const LogCapture log;
    EXPECT_EQ(SafetyOf(object).supported, 3u);
    EXPECT_EQ(SetSafety(object, 1, 1), S_OK);
    EXPECT_EQ(Get(&ISysInfo::get_Version), L"4.5.22.0");
    EXPECT_EQ(site.browser.references, 0u) << "the page's address is not even read";
    EXPECT_FALSE(
        log.Logged(L"Site lock: the hosting page's address carries a user name or "
                   L"password; the control stays inactive."));
    ASSERT_EQ(withSite->SetSite(nullptr), S_OK);
    EXPECT_EQ(site.references, 0u);
}

// ---- IPersistPropertyBag --------------------------------------------------------------------

TEST_F(SysInfoObject, LoadAppliesThePresentTagsThroughThePropertiesRules) {
    const ComPtr<IPersistPropertyBag> persist = As<IPersistPropertyBag>(object);
    ASSERT_TRUE(persist);
    const std::wstring session = Get(&ISysInfo::get_SessionID);
    Put(&ISysInfo::put_Debug, L"0");

    FakeBag bag;
    bag.texts = {{L"DEBUG", L"1"},
                 {L"SESSION_ID", L""},
                 {L"LOGGING", L"42"},
                 {L"REFERRER_ID", L"ref-9"},
                 {L"USER_ID", L"user-9"}};
    const LogCapture log;
    EXPECT_EQ(persist->Load(&bag, nullptr), S_OK);

    EXPECT_EQ(Get(&ISysInfo::get_Debug), L"1");
    EXPECT_EQ(Get(&ISysInfo::get_SessionID), session);
    EXPECT_EQ(Get(&ISysInfo::get_Logging), L"7");
    EXPECT_EQ(Get(&ISysInfo::get_ReferrerID), L"ref-9");
    EXPECT_EQ(Get(&ISysInfo::get_UserID), L"user-9");
    EXPECT_TRUE(log.Logged(L"Entering: CSysInfo::put_ReferrerID"));
    Put(&ISysInfo::put_Debug, L"0");

    FakeBag nothing;
    EXPECT_EQ(persist->Load(&nothing, nullptr), S_OK);
    EXPECT_EQ(Get(&ISysInfo::get_UserID), L"user-9") << "absent tags are skipped";
}

TEST_F(SysInfoObject, SaveWritesEveryTagInTableOrderAndTheClassIsNamed) {
    const ComPtr<IPersistPropertyBag> persist = As<IPersistPropertyBag>(object);
    ASSERT_TRUE(persist);
    Put(&ISysInfo::put_Debug, L"0");
    Put(&ISysInfo::put_ReferrerID, L"ref-save");
    Put(&ISysInfo::put_UserID, L"user-save");
    Put(&ISysInfo::put_Logging, L"2");

    FakeBag bag;
    EXPECT_EQ(persist->Save(&bag, TRUE, TRUE), S_OK);
    EXPECT_EQ(bag.writes, (std::vector<std::pair<std::wstring, std::wstring>>{
                              {L"LOGGING", L"2"},
                              {L"REFERRER_ID", L"ref-save"},
                              {L"SESSION_ID", Get(&ISysInfo::get_SessionID)},
                              {L"USER_ID", L"user-save"},
                              {L"DEBUG", L"0"}}));

    CLSID clsid = {};
    ASSERT_EQ(persist->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_SysInfo);
    EXPECT_EQ(persist->GetClassID(nullptr), E_POINTER);
    EXPECT_EQ(persist->InitNew(), S_OK);
}

// ---- IDispatch ------------------------------------------------------------------------------

TEST_F(SysInfoObject, DispatchNamesMapToTheInterfacesDispids) {
    const ComPtr<IDispatch> dispatch = As<IDispatch>(object);
    ASSERT_TRUE(dispatch);
    UINT count = 0;
    ASSERT_EQ(dispatch->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);

    const std::vector<std::pair<std::wstring, DISPID>> expected{
        {L"Analysis", 1},    {L"Logging", 2},
        {L"ReferrerID", 3},  {L"SessionID", 4},
        {L"System", 5},      {L"UserID", 6},
        {L"Version", 7},     {L"Detect", 8},
        {L"Value", 9},       {L"SysInfo", 10},
        {L"Debug", 11},      {L"Configure", 12},
        {L"ComputerID", 13}, {L"Nothing", DISPID_UNKNOWN}};
    for (const auto& [name, dispid] : expected) {
        std::wstring text = name;
        LPOLESTR names[] = {text.data()};
        DISPID found = 0;
        EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &found),
                  dispid == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK);
        EXPECT_EQ(found, dispid) << std::string(name.begin(), name.end());
    }
}

TEST_F(SysInfoObject, DispatchInvokesPropertiesThroughTheTypeLibrary) {
    const ComPtr<IDispatch> dispatch = As<IDispatch>(object);
    ASSERT_TRUE(dispatch);
    const auto get = [&](DISPID dispid) {
        UniqueVariant result;
        DISPPARAMS none{};
        EXPECT_EQ(dispatch->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                                   &none, result.get(), nullptr, nullptr),
                  S_OK);
        return V_VT(result.get()) == VT_BSTR ? UniqueBstr::Text(V_BSTR(result.get())) : L"?";
    };
    EXPECT_EQ(get(7), L"4.5.22.0");

    UniqueVariant level;
    V_VT(level.get()) = VT_BSTR;
    V_BSTR(level.get()) = UniqueBstr(L"4").release();
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS put{level.get(), &named, 1, 1};
    ASSERT_EQ(dispatch->Invoke(2, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &put,
                               nullptr, nullptr, nullptr),
              S_OK);
    EXPECT_EQ(get(2), L"4");

    DISPPARAMS none{};
    EXPECT_EQ(dispatch->Invoke(7, IID_IDispatch, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                               nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
}

TEST(Dispatch, TypeLibraryMatchesTheRegisteredIdentifiers) {
    EXPECT_EQ(GuidText(CLSID_SysInfo), kSysInfoClassID);
    EXPECT_EQ(GuidText(LIBID_DetectionLib), kDetectionLibID);
    EXPECT_EQ(GuidText(IID_ISysInfo), kSysInfoInterfaceID);
    ComPtr<ITypeLib> library;
    ASSERT_EQ(LoadTypeLibEx(Control::Get().path.c_str(), REGKIND_NONE, &library), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, LIBID_DetectionLib);
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    EXPECT_EQ(attributes->lcid, 0x409u);
    EXPECT_EQ(attributes->syskind, SYS_WIN64);
    library->ReleaseTLibAttr(attributes);
}

// ---- Registration in the Wine prefix (last: per-user registration lasts for the process) -----
// The keys and their values are checked in full by the registration logic's own tests, and
// regsvr32's machine-wide registration by the e2e scenarios.

bool KeyExists(HKEY root, const std::wstring& path) {
    HKEY opened = nullptr;
    const bool exists = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS;
    const UniqueRegistryKey key(opened, RegistryKeyCloser{});
    return exists;
}

std::optional<std::wstring> ReadString(HKEY root, const std::wstring& path,
                                       const wchar_t* name = nullptr) {
    wchar_t buffer[1024] = {};
    DWORD bytes = sizeof(buffer);
    if (RegGetValueW(root, path.c_str(), name, RRF_RT_REG_SZ, nullptr, buffer, &bytes) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    return std::wstring(buffer);
}

const std::wstring kClassKey = std::wstring(L"CLSID\\") + kSysInfoClassID;
const std::wstring kAppIDKey = std::wstring(L"AppID\\") + kDetectionAppID;
const std::wstring kProgID = L"RigelDetection_Test64.SysInfo";
const std::wstring kUserClasses = L"Software\\Classes\\";

TEST(Registration, InstallRegistersPerUserOnlyForTheWordUserAndThenForTheWholeProcess) {
    ASSERT_EQ(Install(TRUE, L"users"), S_OK);
    EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, kUserClasses + kClassKey));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, kUserClasses + kClassKey));
    ASSERT_EQ(Install(FALSE, nullptr), S_OK);
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kUserClasses + kClassKey));

    ASSERT_EQ(Install(TRUE, L"USER"), S_OK);
    EXPECT_EQ(ReadString(HKEY_CURRENT_USER, kUserClasses + kClassKey + L"\\InprocServer32"),
              Control::Get().path);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, kUserClasses + kAppIDKey));
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kUserClasses + kClassKey));
    // A plain unregistration now works per user too.
    ASSERT_EQ(Control::Get().Call("DllUnregisterServer"), S_OK);
    for (const std::wstring& gone : {kClassKey, kAppIDKey, kProgID}) {
        EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, kUserClasses + gone));
    }
}

}  // namespace
}  // namespace rigel

int main(int argc, char** argv) { return rigel::RunControlClientTests(argc, argv); }
