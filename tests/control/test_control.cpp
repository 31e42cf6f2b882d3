// A C++ client of the control DLL: loads it without registration, creates SysInfo through the
// class factory and checks the scripting members, the container interfaces, the module's
// lifetime rules and, last, its registration in the test's Wine prefix.

#include <windows.h>

#include <objbase.h>
#include <objsafe.h>
#include <ocidl.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "control/logic/detection_identifiers.h"
#include "control/registry_key_closer.h"
#include "control/unique_bstr.h"
#include "control/unique_variant.h"
#include "detection.h"

// MinGW's objsafe.h declares no __uuidof for this interface.
__CRT_UUID_DECL(IObjectSafety, 0xcb5bdc81, 0x93c1, 0x11cf, 0x8f, 0x20, 0x00, 0x80, 0x5f, 0x2c, 0xd0,
                0x64)

namespace rigel {
namespace {

using Microsoft::WRL::ComPtr;

// ---- The DLL --------------------------------------------------------------------------------

using GetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
using NoArgumentFunction = HRESULT(STDAPICALLTYPE*)();
using InstallFunction = HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR);

template <typename Function>
Function Export(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

// The control DLL, loaded once for the whole program (its session lives as long as the process).
struct Control {
    static const Control& Get() {
        static const Control control;
        return control;
    }

    HMODULE module = nullptr;
    std::wstring path;
    GetClassObjectFunction getClassObject = nullptr;
    NoArgumentFunction canUnloadNow = nullptr;
    NoArgumentFunction registerServer = nullptr;
    NoArgumentFunction unregisterServer = nullptr;
    InstallFunction install = nullptr;

  private:
    Control() {
        std::wstring file = L"Z:" RIGEL_CONTROL_DLL;
        std::replace(file.begin(), file.end(), L'/', L'\\');
        module = LoadLibraryW(file.c_str());
        if (module == nullptr) return;
        wchar_t buffer[MAX_PATH] = {};
        path.assign(buffer, GetModuleFileNameW(module, buffer, MAX_PATH));
        getClassObject = Export<GetClassObjectFunction>(module, "DllGetClassObject");
        canUnloadNow = Export<NoArgumentFunction>(module, "DllCanUnloadNow");
        registerServer = Export<NoArgumentFunction>(module, "DllRegisterServer");
        unregisterServer = Export<NoArgumentFunction>(module, "DllUnregisterServer");
        install = Export<InstallFunction>(module, "DllInstall");
    }
};

ComPtr<IClassFactory> Factory() {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(Control::Get().getClassObject(CLSID_SysInfo, IID_PPV_ARGS(&factory)), S_OK);
    return factory;
}

ComPtr<ISysInfo> NewSysInfo() {
    ComPtr<ISysInfo> object;
    EXPECT_EQ(Factory()->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
    return object;
}

// ---- Debugger output ------------------------------------------------------------------------

// The control logs through OutputDebugString, which raises these exceptions (Wine raises the
// narrow one only); a vectored handler sees them before the system's default handling.
constexpr DWORD kDebugPrint = 0x40010006;
constexpr DWORD kDebugPrintWide = 0x4001000A;

std::vector<std::wstring>& DebugLines() {
    static std::vector<std::wstring> lines;
    return lines;
}

LONG CALLBACK CaptureDebugOutput(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode == kDebugPrint && record.NumberParameters >= 2) {
        const auto* text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
        std::wstring line;
        for (; *text != '\0'; ++text)
            line += static_cast<wchar_t>(static_cast<unsigned char>(*text));
        DebugLines().push_back(line);
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    if (record.ExceptionCode == kDebugPrintWide && record.NumberParameters >= 2) {
        DebugLines().emplace_back(reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]));
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

struct LogLine {
    std::wstring level;
    std::wstring message;
};

// The log lines written from its construction on, split into level name and message.
class LogCapture {
  public:
    LogCapture() { DebugLines().clear(); }

    std::vector<LogLine> Lines() const {
        std::vector<LogLine> lines;
        for (std::wstring text : DebugLines()) {
            while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r')) text.pop_back();
            const std::size_t bar = text.find(L" | ");
            if (bar == std::wstring::npos) continue;
            // The level name is padded to five characters.
            std::wstring prefix = text.substr(0, bar);
            prefix.erase(prefix.find_last_not_of(L' ') + 1);
            const std::size_t levelStart = prefix.find_last_of(L' ');
            std::wstring message = text.substr(bar + 3);
            while (message.compare(0, 2, L". ") == 0) message.erase(0, 2);
            lines.push_back({prefix.substr(levelStart + 1), message});
        }
        return lines;
    }

    std::vector<std::wstring> Messages() const {
        std::vector<std::wstring> messages;
        for (const LogLine& line : Lines()) messages.push_back(line.message);
        return messages;
    }

    bool Has(const std::wstring& level, const std::wstring& message) const {
        for (const LogLine& line : Lines()) {
            if (line.level == level && line.message == message) return true;
        }
        return false;
    }

    // Position of the first line with the message, or the number of lines when there is none.
    std::size_t Position(const std::wstring& message) const {
        const std::vector<std::wstring> messages = Messages();
        return static_cast<std::size_t>(std::find(messages.begin(), messages.end(), message) -
                                        messages.begin());
    }
};

// ---- Small helpers --------------------------------------------------------------------------

std::wstring Text(const UniqueBstr& bstr) { return UniqueBstr::Text(bstr.get()); }

template <typename Getter>
std::wstring Read(Getter getter) {
    UniqueBstr value;
    EXPECT_EQ(getter(value.out()), S_OK);
    return Text(value);
}

std::wstring GuidText(REFGUID guid) {
    wchar_t text[40] = {};
    StringFromGUID2(guid, text, 40);
    return text;
}

// ---- COM objects of the tests (automatic storage: Release never deletes) ---------------------

// Counts its references and answers only IUnknown.
class FakeSite final : public IUnknown {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (iid != IID_IUnknown) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    ULONG references = 0;
};

// An object that aggregates SysInfo and hands out its ISysInfo as its own.
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

// A property bag of texts that records what is read and written.
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
        reads.emplace_back(name);
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
    std::vector<std::wstring> reads;
    std::vector<std::pair<std::wstring, std::wstring>> writes;
};

// ---- Module: class objects and lifetime -----------------------------------------------------

TEST(ControlModule, LoadsWithTheFiveExports) {
    const Control& control = Control::Get();
    ASSERT_NE(control.module, nullptr) << "LoadLibrary error " << GetLastError();
    EXPECT_NE(control.getClassObject, nullptr);
    EXPECT_NE(control.canUnloadNow, nullptr);
    EXPECT_NE(control.registerServer, nullptr);
    EXPECT_NE(control.unregisterServer, nullptr);
    EXPECT_NE(control.install, nullptr);
}

TEST(ControlModule, ServesOnlyTheSysInfoClass) {
    const CLSID other = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
    void* object = reinterpret_cast<void*>(1);
    EXPECT_EQ(Control::Get().getClassObject(other, IID_IClassFactory, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);

    ComPtr<IClassFactory> first = Factory();
    ComPtr<IClassFactory> second = Factory();
    ASSERT_TRUE(first);
    EXPECT_EQ(first.Get(), second.Get()) << "the class factory is cached";
}

TEST(ControlModule, CanUnloadOnlyWithoutObjectsFactoriesOrLocks) {
    const Control& control = Control::Get();
    EXPECT_EQ(control.canUnloadNow(), S_OK);

    ComPtr<IClassFactory> factory = Factory();
    EXPECT_EQ(control.canUnloadNow(), S_FALSE);
    ComPtr<ISysInfo> object;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
    factory.Reset();
    EXPECT_EQ(control.canUnloadNow(), S_FALSE) << "a live object keeps the module";
    object.Reset();
    EXPECT_EQ(control.canUnloadNow(), S_OK);

    factory = Factory();
    ASSERT_EQ(factory->LockServer(TRUE), S_OK);
    factory.Reset();
    EXPECT_EQ(control.canUnloadNow(), S_FALSE) << "a server lock keeps the module";
    factory = Factory();
    ASSERT_EQ(factory->LockServer(FALSE), S_OK);
    factory.Reset();
    EXPECT_EQ(control.canUnloadNow(), S_OK);
}

TEST(ControlModule, ObjectAnswersItsInterfacesWithOneIdentity) {
    ComPtr<ISysInfo> object = NewSysInfo();
    ASSERT_TRUE(object);
    ComPtr<IDispatch> dispatch;
    ComPtr<IObjectWithSite> withSite;
    ComPtr<IObjectSafety> safety;
    ComPtr<IPersistPropertyBag> persist;
    EXPECT_EQ(object.As(&dispatch), S_OK);
    EXPECT_EQ(object.As(&withSite), S_OK);
    EXPECT_EQ(object.As(&safety), S_OK);
    EXPECT_EQ(object.As(&persist), S_OK);
    ComPtr<IClassFactory> notServed;
    EXPECT_EQ(object.As(&notServed), E_NOINTERFACE);

    ComPtr<IUnknown> fromObject;
    ComPtr<IUnknown> fromSafety;
    ASSERT_EQ(object.As(&fromObject), S_OK);
    ASSERT_EQ(safety.As(&fromSafety), S_OK);
    EXPECT_EQ(fromObject.Get(), fromSafety.Get());
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

        EXPECT_EQ(Read([&](BSTR* value) { return sysInfo->get_Version(value); }), L"4.5.22.0");
    }
    EXPECT_EQ(outer.references, 0u);
    outer.inner.Reset();
    factory.Reset();
    EXPECT_EQ(Control::Get().canUnloadNow(), S_OK) << "the last inner release deletes the object";
}

// ---- ISysInfo -------------------------------------------------------------------------------

class SysInfoMembers : public ::testing::Test {
  protected:
    void SetUp() override {
        object = NewSysInfo();
        ASSERT_TRUE(object);
    }

    std::wstring Get(HRESULT (STDMETHODCALLTYPE ISysInfo::*getter)(BSTR*)) {
        return Read([&](BSTR* value) { return (object.Get()->*getter)(value); });
    }
    void Put(HRESULT (STDMETHODCALLTYPE ISysInfo::*setter)(BSTR), const std::wstring& text) {
        const UniqueBstr value(text);
        EXPECT_EQ((object.Get()->*setter)(value.get()), S_OK);
    }
    std::wstring Value(const std::wstring& id) {
        const UniqueBstr text(id);
        return Read([&](BSTR* value) { return object->get_Value(text.get(), value); });
    }

    ComPtr<ISysInfo> object;
};

TEST_F(SysInfoMembers, VersionIsFixedAndNeedsNoDetection) {
    Put(&ISysInfo::put_Logging, L"7");
    const LogCapture log;
    EXPECT_EQ(Get(&ISysInfo::get_Version), L"4.5.22.0");
    EXPECT_EQ(object->get_Version(nullptr), S_OK);
    EXPECT_EQ(log.Position(L"Entering: rigel::System::Detect"), log.Messages().size());
}

TEST_F(SysInfoMembers, SessionIDIsGeneratedAndEmptyTextsLeaveIt) {
    const std::wstring generated = Get(&ISysInfo::get_SessionID);
    const std::wregex shape(L"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    EXPECT_TRUE(std::regex_match(generated, shape))
        << "session identifier of " << generated.size() << " characters";

    Put(&ISysInfo::put_SessionID, L"");
    EXPECT_EQ(Get(&ISysInfo::get_SessionID), generated);
    EXPECT_EQ(object->put_SessionID(nullptr), S_OK);
    EXPECT_EQ(Get(&ISysInfo::get_SessionID), generated);
}

TEST_F(SysInfoMembers, IdentifiersReadBackWithTheSessionsRules) {
    Put(&ISysInfo::put_ReferrerID, L"r1");
    Put(&ISysInfo::put_ReferrerID, L"");
    EXPECT_EQ(Get(&ISysInfo::get_ReferrerID), L"r1");

    Put(&ISysInfo::put_UserID, L"u1");
    EXPECT_EQ(Get(&ISysInfo::get_UserID), L"u1");
    EXPECT_EQ(object->put_UserID(nullptr), S_OK);
    EXPECT_EQ(Get(&ISysInfo::get_UserID), L"");

    Put(&ISysInfo::put_ComputerID, L"c1");
    Put(&ISysInfo::put_ComputerID, L"");
    EXPECT_EQ(Get(&ISysInfo::get_ComputerID), L"c1");
}

TEST_F(SysInfoMembers, DebugReadsOneWhenSetToAnythingButEmptyOrZero) {
    Put(&ISysInfo::put_Debug, L"0");
    EXPECT_EQ(Get(&ISysInfo::get_Debug), L"0");
    Put(&ISysInfo::put_Debug, L"false");
    EXPECT_EQ(Get(&ISysInfo::get_Debug), L"1");
    Put(&ISysInfo::put_Debug, L"");
    EXPECT_EQ(Get(&ISysInfo::get_Debug), L"0");
}

TEST_F(SysInfoMembers, LoggingIsCappedAtSevenAndDetectRaisesIt) {
    Put(&ISysInfo::put_Logging, L"3");
    EXPECT_EQ(Get(&ISysInfo::get_Logging), L"3");

    const LogCapture log;
    Put(&ISysInfo::put_Logging, L"12");
    EXPECT_EQ(Get(&ISysInfo::get_Logging), L"7");
    EXPECT_TRUE(log.Has(L"TRACE", L"Setting level to: 12"));

    Put(&ISysInfo::put_Logging, L" -2x");
    EXPECT_EQ(Get(&ISysInfo::get_Logging), L"-2");
    Put(&ISysInfo::put_Logging, L"3");
    EXPECT_EQ(object->Detect(), S_OK);
    EXPECT_EQ(Get(&ISysInfo::get_Logging), L"7");
}

TEST_F(SysInfoMembers, DetectTracesItselfAndSucceedsWhateverTheNetworkDoes) {
    Put(&ISysInfo::put_Logging, L"0");
    const LogCapture log;
    EXPECT_EQ(object->Detect(), S_OK);
    const std::size_t entering = log.Position(L"Entering: CSysInfo::Detect");
    EXPECT_LT(entering, log.Messages().size()) << "the level is raised before the trace";
    EXPECT_LT(entering, log.Position(L"Entering: rigel::System::Detect"));
    EXPECT_LT(log.Position(L"Entering: rigel::System::Detect"),
              log.Position(L"Exiting: CSysInfo::Detect"));
}

TEST_F(SysInfoMembers, ValueOfAnAbsentIdentifierLeavesTheResultUnwritten) {
    UniqueBstr result(L"untouched");
    const BSTR before = result.get();
    const UniqueBstr id(L"4000000000");
    BSTR out = before;
    const LogCapture log;
    EXPECT_EQ(object->get_Value(id.get(), &out), S_OK);
    EXPECT_EQ(out, before);
    EXPECT_EQ(Text(result), L"untouched");
    EXPECT_TRUE(log.Has(L"ERR", L"Caught exception."));
    EXPECT_EQ(object->get_Value(id.get(), nullptr), S_OK);
}

TEST_F(SysInfoMembers, ConfigureFeedsTheSessionAndTheStore) {
    const UniqueBstr configuration(
        L"<user_id>u7</user_id><debug>1</debug>"
        L"<groups><group index=\"0\" id=\"71446\"><value>Agent &amp; X</value></group></groups>");
    ASSERT_EQ(object->Configure(configuration.get()), S_OK);
    EXPECT_EQ(Get(&ISysInfo::get_UserID), L"u7");
    EXPECT_EQ(Get(&ISysInfo::get_Debug), L"1");

    // Only the leading digits of the identifier count, and the index is always 0.
    EXPECT_EQ(Value(L"71446"), L"Agent &amp; X");
    EXPECT_EQ(Value(L"71446#1"), L"Agent &amp; X");

    const LogCapture log;
    const std::wstring report = Get(&ISysInfo::get_SysInfo);
    if (log.Has(L"ERR", L"Caught exception.")) {
        EXPECT_EQ(report, L"") << "a failed detection gives an empty report";
    } else {
        EXPECT_NE(report.find(L"<group index=\"0\" id=\"71446\"><value>Agent &amp;amp; X</value>"
                              L"</group>"),
                  std::wstring::npos);
        EXPECT_NE(report.find(L"<group index=\"0\" id=\"71206\"><value>u7</value></group>"),
                  std::wstring::npos);
    }
    Put(&ISysInfo::put_Debug, L"0");
}

TEST_F(SysInfoMembers, SystemIgnoresItsFilterAndWritingSysInfoChangesNothing) {
    Put(&ISysInfo::put_Logging, L"7");
    const std::wstring report = Get(&ISysInfo::get_SysInfo);
    const UniqueBstr filter(L"x");
    const LogCapture log;
    EXPECT_EQ(Read([&](BSTR* value) { return object->get_System(filter.get(), value); }), report);
    EXPECT_LT(log.Position(L"Entering: CSysInfo::get_System"),
              log.Position(L"Entering: CSysInfo::get_SysInfo"));
    EXPECT_EQ(Read([&](BSTR* value) { return object->get_System(nullptr, value); }), report);

    Put(&ISysInfo::put_SysInfo, L"<groups></groups>  ");
    EXPECT_EQ(Get(&ISysInfo::get_SysInfo), report);
}

TEST_F(SysInfoMembers, AnalysisDetectsFirstAndAlwaysSucceeds) {
    Put(&ISysInfo::put_Logging, L"7");
    const UniqueBstr id(L"item");
    const UniqueBstr format(L"xml");
    const UniqueBstr schema(L"1");
    UniqueBstr result(L"untouched");
    const BSTR before = result.get();
    BSTR out = before;
    const LogCapture log;
    EXPECT_EQ(object->get_Analysis(id.get(), format.get(), schema.get(), &out), S_OK);

    const std::size_t analysis = log.Position(L"Entering: CSysInfo::get_Analysis");
    EXPECT_LT(analysis, log.Position(L"Entering: CSysInfo::Detect"));
    // The web client's failures, as the member reports them.
    const std::vector<std::wstring> requestFailures{
        L"Caught exception: Can't open Internet.",
        L"Caught exception: Can't open Internet connection.",
        L"Caught exception: Can't open Internet request.",
        L"Caught exception: Can't send Internet request."};
    bool failed = false;
    for (const std::wstring& failure : requestFailures) failed = failed || log.Has(L"ERR", failure);
    if (failed) {
        EXPECT_EQ(out, before) << "a failed request leaves the result unwritten";
    } else {
        EXPECT_NE(out, before);
        SysFreeString(out);
    }
}

// ---- IObjectSafety, IObjectWithSite ----------------------------------------------------------

TEST(ObjectSafety, SupportsScriptingAndInitialisationOnly) {
    ComPtr<IObjectSafety> safety;
    ASSERT_EQ(NewSysInfo().As(&safety), S_OK);

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
    EXPECT_EQ(safety->SetInterfaceSafetyOptions(IID_IDispatch, 1, 0), S_OK);
    ASSERT_EQ(safety->GetInterfaceSafetyOptions(IID_IDispatch, &supported, &enabled), S_OK);
    EXPECT_EQ(enabled, 2u);
}

TEST(ObjectSafety, RefusesInterfacesTheObjectDoesNotHave) {
    ComPtr<IObjectSafety> safety;
    ASSERT_EQ(NewSysInfo().As(&safety), S_OK);
    DWORD supported = 9;
    DWORD enabled = 9;
    EXPECT_EQ(safety->GetInterfaceSafetyOptions(IID_IClassFactory, &supported, &enabled),
              E_NOINTERFACE);
    EXPECT_EQ(supported, 0u);
    EXPECT_EQ(enabled, 0u);
    EXPECT_EQ(safety->SetInterfaceSafetyOptions(IID_IClassFactory, 3, 3), E_NOINTERFACE);
    EXPECT_EQ(safety->GetInterfaceSafetyOptions(IID_IDispatch, nullptr, &enabled), E_POINTER);
}

TEST(ObjectWithSite, KeepsOneCountedReferenceToTheSite) {
    ComPtr<IObjectWithSite> withSite;
    ASSERT_EQ(NewSysInfo().As(&withSite), S_OK);
    ComPtr<IUnknown> none;
    EXPECT_EQ(withSite->GetSite(IID_PPV_ARGS(&none)), E_FAIL);
    EXPECT_FALSE(none);

    FakeSite site;
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

// ---- IPersistPropertyBag --------------------------------------------------------------------

TEST(PersistPropertyBag, LoadsThePresentTagsInItsOrder) {
    ComPtr<ISysInfo> object = NewSysInfo();
    ComPtr<IPersistPropertyBag> persist;
    ASSERT_EQ(object.As(&persist), S_OK);
    const std::wstring session = Read([&](BSTR* value) { return object->get_SessionID(value); });
    const UniqueBstr zero(L"0");
    ASSERT_EQ(object->put_Debug(zero.get()), S_OK);

    FakeBag bag;
    bag.texts[L"DEBUG"] = L"1";
    bag.texts[L"SESSION_ID"] = L"";
    EXPECT_EQ(persist->Load(&bag, nullptr), S_OK);

    const std::vector<std::wstring> reads{L"LOGGING", L"SESSION_ID", L"REFERRER_ID", L"USER_ID",
                                          L"DEBUG"};
    EXPECT_EQ(bag.reads, reads);
    EXPECT_EQ(Read([&](BSTR* value) { return object->get_Debug(value); }), L"1");
    EXPECT_EQ(Read([&](BSTR* value) { return object->get_SessionID(value); }), session);
    ASSERT_EQ(object->put_Debug(zero.get()), S_OK);
}

TEST(PersistPropertyBag, LoadAppliesTagsThroughThePropertiesRules) {
    ComPtr<ISysInfo> object = NewSysInfo();
    ComPtr<IPersistPropertyBag> persist;
    ASSERT_EQ(object.As(&persist), S_OK);

    FakeBag bag;
    bag.texts[L"LOGGING"] = L"42";
    bag.texts[L"REFERRER_ID"] = L"ref-9";
    bag.texts[L"USER_ID"] = L"user-9";
    const LogCapture log;
    EXPECT_EQ(persist->Load(&bag, nullptr), S_OK);
    EXPECT_EQ(Read([&](BSTR* value) { return object->get_Logging(value); }), L"7");
    EXPECT_EQ(Read([&](BSTR* value) { return object->get_ReferrerID(value); }), L"ref-9");
    EXPECT_EQ(Read([&](BSTR* value) { return object->get_UserID(value); }), L"user-9");
    EXPECT_LT(log.Position(L"Entering: CSysInfo::put_ReferrerID"), log.Messages().size());
}

TEST(PersistPropertyBag, SavesEveryTagInTableOrder) {
    ComPtr<ISysInfo> object = NewSysInfo();
    ComPtr<IPersistPropertyBag> persist;
    ASSERT_EQ(object.As(&persist), S_OK);
    const UniqueBstr referrer(L"ref-save");
    const UniqueBstr user(L"user-save");
    const UniqueBstr logging(L"2");
    const UniqueBstr debug(L"0");
    ASSERT_EQ(object->put_Debug(debug.get()), S_OK);
    ASSERT_EQ(object->put_ReferrerID(referrer.get()), S_OK);
    ASSERT_EQ(object->put_UserID(user.get()), S_OK);
    ASSERT_EQ(object->put_Logging(logging.get()), S_OK);
    const std::wstring session = Read([&](BSTR* value) { return object->get_SessionID(value); });

    FakeBag bag;
    EXPECT_EQ(persist->Save(&bag, TRUE, TRUE), S_OK);
    const std::vector<std::pair<std::wstring, std::wstring>> writes{{L"LOGGING", L"2"},
                                                                    {L"REFERRER_ID", L"ref-save"},
                                                                    {L"SESSION_ID", session},
                                                                    {L"USER_ID", L"user-save"},
                                                                    {L"DEBUG", L"0"}};
    EXPECT_EQ(bag.writes, writes);
}

TEST(PersistPropertyBag, NamesTheClassAndNeedsNoInitialisation) {
    ComPtr<IPersistPropertyBag> persist;
    ASSERT_EQ(NewSysInfo().As(&persist), S_OK);
    CLSID clsid = {};
    ASSERT_EQ(persist->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_SysInfo);
    EXPECT_EQ(persist->GetClassID(nullptr), E_POINTER);
    EXPECT_EQ(persist->InitNew(), S_OK);
}

// ---- IDispatch ------------------------------------------------------------------------------

TEST(Dispatch, NamesMapToTheInterfacesDispids) {
    ComPtr<IDispatch> dispatch;
    ASSERT_EQ(NewSysInfo().As(&dispatch), S_OK);
    UINT count = 0;
    ASSERT_EQ(dispatch->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);

    const std::vector<std::pair<std::wstring, DISPID>> expected{
        {L"Analysis", 1},   {L"Logging", 2},  {L"ReferrerID", 3}, {L"SessionID", 4},
        {L"System", 5},     {L"UserID", 6},   {L"Version", 7},    {L"Detect", 8},
        {L"Value", 9},      {L"SysInfo", 10}, {L"Debug", 11},     {L"Configure", 12},
        {L"ComputerID", 13}};
    for (const auto& [name, dispid] : expected) {
        std::wstring text = name;
        LPOLESTR names[] = {text.data()};
        DISPID found = DISPID_UNKNOWN;
        ASSERT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &found), S_OK);
        EXPECT_EQ(found, dispid) << std::string(name.begin(), name.end());
    }
    std::wstring unknown = L"Nothing";
    LPOLESTR names[] = {unknown.data()};
    DISPID found = 0;
    EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &found),
              DISP_E_UNKNOWNNAME);
}

TEST(Dispatch, InvokesPropertiesThroughTheTypeLibrary) {
    ComPtr<IDispatch> dispatch;
    ASSERT_EQ(NewSysInfo().As(&dispatch), S_OK);

    UniqueVariant version;
    DISPPARAMS none{};
    ASSERT_EQ(dispatch->Invoke(7, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                               version.get(), nullptr, nullptr),
              S_OK);
    ASSERT_EQ(V_VT(version.get()), VT_BSTR);
    EXPECT_EQ(UniqueBstr::Text(V_BSTR(version.get())), L"4.5.22.0");

    UniqueVariant level;
    V_VT(level.get()) = VT_BSTR;
    V_BSTR(level.get()) = UniqueBstr(L"4").release();
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS put{level.get(), &named, 1, 1};
    ASSERT_EQ(dispatch->Invoke(2, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &put,
                               nullptr, nullptr, nullptr),
              S_OK);
    UniqueVariant readBack;
    ASSERT_EQ(dispatch->Invoke(2, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                               readBack.get(), nullptr, nullptr),
              S_OK);
    EXPECT_EQ(UniqueBstr::Text(V_BSTR(readBack.get())), L"4");

    EXPECT_EQ(dispatch->Invoke(7, IID_IDispatch, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                               nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
}

TEST(Dispatch, TypeLibraryMatchesTheRegisteredIdentifiers) {
    EXPECT_EQ(GuidText(CLSID_SysInfo), kSysInfoClassID);
    EXPECT_EQ(GuidText(LIBID_DetectionLib), kDetectionLibID);
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
const std::wstring kTypeLibKey = std::wstring(L"TypeLib\\") + kDetectionLibID;
const std::wstring kAppIDKey = std::wstring(L"AppID\\") + kDetectionAppID;

TEST(Registration, RegisterServerWritesTheClassAndUnregisterRemovesIt) {
    const Control& control = Control::Get();
    ASSERT_EQ(control.registerServer(), S_OK);

    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, kClassKey + L"\\InprocServer32"), control.path);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, kClassKey + L"\\InprocServer32", L"ThreadingModel"),
              L"Apartment");
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, kClassKey, L"AppID"), kDetectionAppID);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, kClassKey + L"\\TypeLib"), kDetectionLibID);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, kClassKey + L"\\MiscStatus\\1"), L"132241");
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, kClassKey + L"\\ToolboxBitmap32"),
              control.path + L", 102");
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, kClassKey + L"\\Control"));
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"RigelDetection_Test64.SysInfo\\CurVer"),
              L"RigelDetection_Test64.SysInfo.1");
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, L"RigelDetection_Test64.SysInfo.1\\CLSID"),
              kSysInfoClassID);
    EXPECT_EQ(ReadString(HKEY_CLASSES_ROOT, kAppIDKey), L"Detection");
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, kTypeLibKey + L"\\1.0"));

    {
        // Registered, the class is reachable the way a script host reaches it.
        CLSID fromProgID = {};
        ASSERT_EQ(CLSIDFromProgID(L"RigelDetection_Test64.SysInfo", &fromProgID), S_OK);
        EXPECT_EQ(fromProgID, CLSID_SysInfo);
        ComPtr<ISysInfo> created;
        ASSERT_EQ(
            CoCreateInstance(fromProgID, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&created)),
            S_OK);
        EXPECT_EQ(Read([&](BSTR* value) { return created->get_Version(value); }), L"4.5.22.0");
    }

    ASSERT_EQ(control.unregisterServer(), S_OK);
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, kClassKey));
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"RigelDetection_Test64.SysInfo"));
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"RigelDetection_Test64.SysInfo.1"));
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, kAppIDKey));
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, kTypeLibKey));
    EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"CLSID"));
}

TEST(Registration, InstallWithAnyOtherCommandRegistersMachineWide) {
    const Control& control = Control::Get();
    ASSERT_EQ(control.install(TRUE, L"users"), S_OK);
    EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, L"Software\\Classes\\" + kClassKey));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, L"Software\\Classes\\" + kClassKey));
    ASSERT_EQ(control.install(FALSE, nullptr), S_OK);
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, L"Software\\Classes\\" + kClassKey));
}

TEST(Registration, InstallForUserWritesBelowTheUsersClasses) {
    const Control& control = Control::Get();
    ASSERT_EQ(control.install(TRUE, L"USER"), S_OK);
    const std::wstring userClasses = L"Software\\Classes\\";
    EXPECT_EQ(ReadString(HKEY_CURRENT_USER, userClasses + kClassKey + L"\\InprocServer32"),
              control.path);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, userClasses + kAppIDKey));
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, userClasses + L"RigelDetection_Test64.SysInfo.1"));
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, userClasses + kClassKey));

    // The switch lasts for the process: a plain unregistration now works per user too.
    ASSERT_EQ(control.unregisterServer(), S_OK);
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, userClasses + kClassKey));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, userClasses + kAppIDKey));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, userClasses + L"RigelDetection_Test64.SysInfo"));
}

}  // namespace
}  // namespace rigel

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    AddVectoredExceptionHandler(1, rigel::CaptureDebugOutput);
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const int result = RUN_ALL_TESTS();
    CoUninitialize();
    return result;
}
