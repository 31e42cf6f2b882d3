// A client in the multithreaded apartment: it creates SysInfo by its class identifier, which puts
// the apartment-threaded control on the process's main apartment thread and hands this thread a
// proxy, so every call goes through the type-library marshaler. It records what it got in the
// scenarios' results format (UTF-16 records of name, length and text) for the end-to-end runner.
//
//     mta_client RESULTS-FILE
//
// Exit code 0 when the control was created and both Version and SysInfo came back through the
// proxy, 1 when a call failed, 2 for bad usage or an unwritable results file.

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <cstdio>
#include <string>

#include "control/unique_bstr.h"
#include "detection.h"

namespace {

using Microsoft::WRL::ComPtr;

std::wstring HResultText(HRESULT result) {
    wchar_t text[16];
    std::swprintf(text, 16, L"0x%08lX", static_cast<unsigned long>(result));
    return text;
}

class Results {
  public:
    void Record(const std::wstring& name, const std::wstring& value) {
        text_ += name + L"\t" + std::to_wstring(value.size()) + L"\t" + value + L"\n";
    }

    bool Save(const char* path) const {
        std::FILE* file = std::fopen(path, "wb");
        if (file == nullptr) return false;
        const wchar_t mark = 0xFEFF;
        bool written =
            std::fwrite(&mark, sizeof(mark), 1, file) == 1 &&
            std::fwrite(text_.data(), sizeof(wchar_t), text_.size(), file) == text_.size();
        return std::fclose(file) == 0 && written;
    }

  private:
    std::wstring text_;
};

// Calls a BSTR getter through the proxy and records its result and text.
bool RecordGetter(Results& results, const std::wstring& name, ISysInfo& info,
                  HRESULT (STDMETHODCALLTYPE ISysInfo::*getter)(BSTR*)) {
    rigel::UniqueBstr text;
    const HRESULT result = (info.*getter)(text.out());
    results.Record(name + L".hr", HResultText(result));
    results.Record(name, rigel::UniqueBstr::Text(text.get()));
    return SUCCEEDED(result);
}

bool Run(Results& results) {
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    CoGetApartmentType(&type, &qualifier);
    results.Record(L"apartment", type == APTTYPE_MTA ? L"MTA" : L"other");

    ComPtr<ISysInfo> info;
    const HRESULT created =
        CoCreateInstance(CLSID_SysInfo, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&info));
    results.Record(L"create.hr", HResultText(created));
    if (FAILED(created)) return false;

    // Only a proxy answers for the client's security settings.
    ComPtr<IClientSecurity> security;
    results.Record(L"proxy", SUCCEEDED(info.As(&security)) ? L"yes" : L"no");

    const bool version = RecordGetter(results, L"version", *info.Get(), &ISysInfo::get_Version);
    const bool sysInfo = RecordGetter(results, L"sysinfo", *info.Get(), &ISysInfo::get_SysInfo);
    return version && sysInfo;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: mta_client RESULTS-FILE\n");
        return 2;
    }
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 2;
    Results results;
    const bool succeeded = Run(results);
    CoUninitialize();
    if (!results.Save(argv[1])) return 2;
    return succeeded ? 0 : 1;
}
