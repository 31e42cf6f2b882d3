#pragma once

#include <string>

#include "core/detector.h"

namespace rigel {

// The operating system: a display name of the Windows release and edition, one flag per known
// release and Vista edition, the version numbers, locale, a fresh computer identifier and the
// installed .NET Framework version.
class OS : public Detector {
  public:
    OS();
    void Initialize() override;

    // "Microsoft " and the release, edition, service pack, build and width, cut to 255
    // characters. Stores the flags of what it recognises. False (name untouched) when the
    // version cannot be read or the system is not NT 5 or later.
    bool GetDisplayName(std::wstring& name);

    // Stores the "Version" of the last .NET setup subkey that has one.
    void GetSupportInformation();

  protected:
    void Run() override;
};

}  // namespace rigel
