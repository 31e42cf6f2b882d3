#pragma once

#include <cstdint>
#include <string>

namespace rigel::os {

// An opaque module handle (HMODULE); 0 means none.
using HModule = std::uintptr_t;

// The address of a library's export. Callers cast it to the export's own type; this type
// converts to any function pointer type without a warning.
using ExportAddress = void (*)();

// Libraries loaded at run time, one Windows call per method.
class Libraries {
  public:
    static constexpr std::uint32_t kErrorModNotFound = 126;   // ERROR_MOD_NOT_FOUND
    static constexpr std::uint32_t kErrorProcNotFound = 127;  // ERROR_PROC_NOT_FOUND

    virtual ~Libraries() = default;

    // LoadLibraryW. module is 0 unless it succeeds; error is the thread's last error then.
    virtual bool Load(const std::wstring& path, HModule& module, std::uint32_t& error) = 0;
    // GetProcAddress by name; null when the library has no such export.
    virtual ExportAddress FindExport(HModule module, const std::string& name) = 0;
    // FreeLibrary.
    virtual void Free(HModule module) = 0;
};

}  // namespace rigel::os
