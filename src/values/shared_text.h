#pragma once

#include <string>

namespace rigel {

// Result texts shared by all objects of one class (a value's text form, a cleaned report text),
// each overwritten by the next call that fills it.
class SharedText {
  public:
    enum Slot {
        kCount,
        kExists,
        kSize,
        kSpeed,
        kDeviceID,
        kDeviceVendor,
        kDeviceDevice,
        kDeviceSubsystemVendor,
        kDeviceSubsystemDevice,
        kBandwidth,
        kCleanText,
        kSlotCount
    };

    static std::wstring& For(Slot slot);

    // Empties every slot, for a test that wants a fresh process state.
    static void ClearAll();
};

}  // namespace rigel
