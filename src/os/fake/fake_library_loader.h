#pragma once

#include <cstddef>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "os/library_loader.h"

namespace rigel::os {

// System libraries in memory: a library loads when it is listed, and resolves the exports
// listed with it. Names match exactly. Every load asked is recorded; libraries loaded and not
// freed are counted.
class FakeLibraryLoader : public LibraryLoader {
  public:
    std::map<std::wstring, std::set<std::string>> libraries;  // name to its exports
    std::vector<std::wstring> loads;

    std::size_t LoadedCount() const { return loaded_.size(); }

    Library Load(const std::wstring& name) override {
        loads.push_back(name);
        if (libraries.count(name) == 0) return 0;
        loaded_[next_] = name;
        return next_++;
    }

    // The address of an export is its position among the library's exports, plus one.
    EntryPoint Resolve(Library library, const std::string& name) override {
        const auto found = loaded_.find(library);
        if (found == loaded_.end()) return 0;
        const auto& exports = libraries[found->second];
        const auto entry = exports.find(name);
        if (entry == exports.end()) return 0;
        return static_cast<EntryPoint>(std::distance(exports.begin(), entry)) + 1;
    }

    void Free(Library library) override { loaded_.erase(library); }

  private:
    std::map<Library, std::wstring> loaded_;
    Library next_ = 0x1000;
};

}  // namespace rigel::os
