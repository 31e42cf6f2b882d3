#include "os/fake/fake_libraries.h"

#include <utility>

#include "os/fake/lower_case_path.h"

namespace rigel::os {

void FakeLibraries::AddLibrary(const std::wstring& path,
                               std::map<std::string, ExportAddress> exports) {
    libraries_[LowerCasePath(path)] = std::move(exports);
}

bool FakeLibraries::Load(const std::wstring& path, HModule& module, std::uint32_t& error) {
    loads.push_back(path);
    module = 0;
    const std::wstring key = LowerCasePath(path);
    if (libraries_.count(key) == 0) {
        error = kErrorModNotFound;
        return false;
    }
    module = nextModule_++;
    loaded_[module] = key;
    return true;
}

ExportAddress FakeLibraries::FindExport(HModule module, const std::string& name) {
    auto library = loaded_.find(module);
    if (library == loaded_.end()) return nullptr;
    const auto& exports = libraries_[library->second];
    // Export names are matched exactly, as GetProcAddress does.
    auto found = exports.find(name);
    return found != exports.end() ? found->second : nullptr;
}

void FakeLibraries::Free(HModule module) { loaded_.erase(module); }

}  // namespace rigel::os
