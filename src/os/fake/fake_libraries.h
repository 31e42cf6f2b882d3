#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "os/libraries.h"

namespace rigel::os {

// Libraries in memory: a path loads when a test has added a library there (paths match without
// regard to case), and its exports are the functions the test handed over, so callers call real
// code through the addresses they get. Other paths fail with ERROR_MOD_NOT_FOUND.
class FakeLibraries : public Libraries {
  public:
    void AddLibrary(const std::wstring& path, std::map<std::string, ExportAddress> exports);

    // Every path asked for, in order.
    std::vector<std::wstring> loads;
    // Libraries loaded and not freed yet.
    std::size_t LoadedCount() const { return loaded_.size(); }

    bool Load(const std::wstring& path, HModule& module, std::uint32_t& error) override;
    ExportAddress FindExport(HModule module, const std::string& name) override;
    void Free(HModule module) override;

  private:
    std::map<std::wstring, std::map<std::string, ExportAddress>> libraries_;  // by lower-case path
    std::map<HModule, std::wstring> loaded_;
    HModule nextModule_ = 0x1000;
};

}  // namespace rigel::os
