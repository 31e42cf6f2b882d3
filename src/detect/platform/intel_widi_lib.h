#pragma once

#include <cstdint>
#include <string>

#include "os/library_freer.h"
#include "values/source.h"

namespace rigel {

// The wireless display information library "widiutil.dll", shipped beside the control. Only its
// four exports are known; each returns 0 on success. Without the library every query answers
// false.
class IntelWiDiLib : public Source {
  public:
    // GetPlatform and GetProduct: one output value.
    using ValueExport = std::int32_t (*)(std::uint32_t* value);
    // GetWiDiVersion and GetWidgitVersion: four version parts, most significant first.
    using VersionExport = std::int32_t (*)(std::int32_t* a, std::int32_t* b, std::int32_t* c,
                                           std::int32_t* d);

    static IntelWiDiLib& Instance();
    // Drops the instance, freeing the library (the product never calls it).
    static void DestroyInstanceForTesting();

    // Loads the library and finds its exports unless that was done; true when all four are
    // there.
    bool Initialize();

    // The version as "a.b.c.d"; false (and an empty text) when the library is not ready, the
    // call fails or the first two parts are both 0.
    bool GetWiDiVersion(std::wstring& version);
    bool GetWidgitVersion(std::wstring& version);
    // flag is whether the library reported 0; false when the library is not ready or the call
    // fails.
    bool GetPlatform(bool& flag);
    bool GetProduct(bool& flag);

  private:
    IntelWiDiLib();

    bool Load();
    void FindExports();
    bool CallVersion(VersionExport call, std::wstring& version) const;
    bool CallValue(ValueExport call, bool& flag) const;

    bool ready_ = false;
    os::UniqueModule module_;
    ValueExport getPlatform_ = nullptr;
    ValueExport getProduct_ = nullptr;
    VersionExport getWiDiVersion_ = nullptr;
    VersionExport getWidgitVersion_ = nullptr;
};

}  // namespace rigel
