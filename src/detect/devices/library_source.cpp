#include "detect/devices/library_source.h"

#include <cstdint>

#include "diag/log.h"
#include "os/services.h"

namespace rigel {

LibrarySource::LibrarySource(const std::vector<Library>& libraries, const Messages& messages)
    : loader_(os::Current().libraries) {
    try {
        initialized_ = Open(libraries, messages);
    } catch (...) {
        Log::Instance().Line(Log::kWarning, messages.failure);
    }
    if (!initialized_) {
        entries_.clear();
        libraries_.clear();
    }
}

bool LibrarySource::Open(const std::vector<Library>& libraries, const Messages& messages) {
    for (const Library& library : libraries) {
        os::HModule module = 0;
        std::uint32_t error = 0;
        loader_->Load(library.name, module, error);
        libraries_.emplace_back(module, os::LibraryFreer(*loader_));
        if (!libraries_.back()) {
            Log::Instance().Line(Log::kWarning, L"Unable to open ", library.name);
            return false;
        }
    }
    bool allFound = true;
    for (std::size_t i = 0; i < libraries.size(); ++i) {
        for (const char* name : libraries[i].entryPoints) {
            const os::ExportAddress entry = loader_->FindExport(libraries_[i].get(), name);
            allFound = allFound && entry != nullptr;
            entries_[name] = entry;
        }
    }
    if (!allFound) Log::Instance().Line(Log::kWarning, messages.missingEntryPoint);
    return allFound;
}

os::ExportAddress LibrarySource::Entry(const std::string& name) const {
    const auto found = entries_.find(name);
    return found != entries_.end() ? found->second : nullptr;
}

}  // namespace rigel
