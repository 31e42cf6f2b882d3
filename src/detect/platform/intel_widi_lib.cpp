#include "detect/platform/intel_widi_lib.h"

#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"
#include "os/system_info.h"

namespace rigel {
namespace {

constexpr std::uint32_t kModulePathCapacity = 2000;
const wchar_t* const kLibraryName = L"\\widiutil.dll";

IntelWiDiLib* instance = nullptr;

os::Libraries& Libraries() { return *os::Current().libraries; }

// The library lies in the folder of the control's own module.
std::wstring LibraryPath() {
    std::wstring path;
    if (os::Current().systemInfo->OwnModuleFileName(kModulePathCapacity, path) == 0) path.clear();
    const std::size_t slash = path.rfind(L'\\');
    if (slash != std::wstring::npos) path.erase(slash);
    return path + kLibraryName;
}

template <typename Export>
Export Find(os::HModule module, const char* name) {
    return reinterpret_cast<Export>(Libraries().FindExport(module, name));
}

}  // namespace

IntelWiDiLib& IntelWiDiLib::Instance() {
    if (instance == nullptr) instance = new IntelWiDiLib();
    return *instance;
}

void IntelWiDiLib::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

IntelWiDiLib::IntelWiDiLib() : module_(0, os::LibraryFreer(Libraries())) {
    if (!Initialize()) {
        Log::Instance().Line(Log::kError, L"Failure to initialize IntelWiDiLib class");
    }
}

bool IntelWiDiLib::Initialize() {
    ScopeTrace trace(L"rigel::IntelWiDiLib::Initialize");
    if (ready_) return true;
    try {
        if (Load()) FindExports();
    } catch (...) {
        return false;
    }
    return ready_;
}

bool IntelWiDiLib::Load() {
    os::Libraries& libraries = Libraries();
    os::HModule module = 0;
    std::uint32_t error = 0;
    if (!libraries.Load(LibraryPath(), module, error)) {
        Log::Instance().Line(Log::kError, L"Failure to load widiutil.dll: ", error);
        return false;
    }
    module_ = os::UniqueModule(module, os::LibraryFreer(libraries));
    return true;
}

void IntelWiDiLib::FindExports() {
    const os::HModule module = module_.get();
    getPlatform_ = Find<ValueExport>(module, "GetPlatform");
    getProduct_ = Find<ValueExport>(module, "GetProduct");
    getWiDiVersion_ = Find<VersionExport>(module, "GetWiDiVersion");
    getWidgitVersion_ = Find<VersionExport>(module, "GetWidgitVersion");
    if (getPlatform_ == nullptr || getProduct_ == nullptr || getWiDiVersion_ == nullptr ||
        getWidgitVersion_ == nullptr) {
        Log::Instance().Line(Log::kError, L"Error getting proc addresses from IntelWiDi library.");
        return;
    }
    ready_ = true;
}

bool IntelWiDiLib::GetWiDiVersion(std::wstring& version) {
    return CallVersion(getWiDiVersion_, version);
}

bool IntelWiDiLib::GetWidgitVersion(std::wstring& version) {
    return CallVersion(getWidgitVersion_, version);
}

bool IntelWiDiLib::GetPlatform(bool& flag) { return CallValue(getPlatform_, flag); }

bool IntelWiDiLib::GetProduct(bool& flag) { return CallValue(getProduct_, flag); }

bool IntelWiDiLib::CallVersion(VersionExport call, std::wstring& version) const {
    version.clear();
    if (!ready_) return false;
    std::int32_t parts[4] = {0, 0, 0, 0};
    if (call(&parts[0], &parts[1], &parts[2], &parts[3]) != 0) return false;
    // A version whose two leading parts are 0 means the software is not there.
    if (parts[0] == 0 && parts[1] == 0) return false;
    version = std::to_wstring(parts[0]) + L"." + std::to_wstring(parts[1]) + L"." +
              std::to_wstring(parts[2]) + L"." + std::to_wstring(parts[3]);
    return true;
}

bool IntelWiDiLib::CallValue(ValueExport call, bool& flag) const {
    flag = false;
    if (!ready_) return false;
    std::uint32_t value = 0;
    if (call(&value) != 0) return false;
    flag = value == 0;
    return true;
}

}  // namespace rigel
