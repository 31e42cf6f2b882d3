#pragma once

#include <map>
#include <string>
#include <vector>

#include "os/libraries.h"
#include "os/library_freer.h"
#include "values/source.h"

namespace rigel {

// A graphics source that loads its system libraries at run time and resolves their entry
// points once, when it is made. A library or entry point that is missing leaves the source
// uninitialized for the life of the process.
class LibrarySource : public Source {
  public:
    bool IsInitialized() const { return initialized_; }

  protected:
    struct Library {
        const wchar_t* name;                   // "d3d9.dll"
        std::vector<const char*> entryPoints;  // resolved in this library
    };
    struct Messages {
        const wchar_t* missingEntryPoint;  // "Unable to get all proc addresses from DirectX 9"
        const wchar_t* failure;            // "Error while opening DirectX 9 libraries"
    };

    LibrarySource(const std::vector<Library>& libraries, const Messages& messages);

    // The resolved address of an entry point; null when it is not one of this source's.
    os::ExportAddress Entry(const std::string& name) const;

  private:
    bool Open(const std::vector<Library>& libraries, const Messages& messages);

    bool initialized_ = false;
    os::Libraries* loader_;
    std::vector<os::UniqueModule> libraries_;
    std::map<std::string, os::ExportAddress> entries_;
};

}  // namespace rigel
