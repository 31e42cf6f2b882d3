#pragma once

#include <cstdint>
#include <string>

#include "values/value.h"

namespace rigel {

// The identity of a PCI device: vendor, device, subsystem and revision numbers. Its text is the
// hardware identifier form without the bus prefix, "VEN_10DE&DEV_0DE1&SUBSYS_10431234&REV_A1".
class DeviceID : public Value {
  public:
    DeviceID() = default;
    // The form in which Direct3D and DXGI report an adapter: the subsystem value holds the
    // subsystem vendor in its low 16 bits and the subsystem device in its high 16 bits.
    DeviceID(std::uint32_t vendor, std::uint32_t device, std::uint32_t subsystem);
    // Parses a hardware identifier such as "PCI\VEN_8086&DEV_0046&SUBSYS_00000000&REV_00" in any
    // case. The digits are found by the "_" delimiters alone; a field that is missing or not
    // hexadecimal ends the parse with a warning, leaving it and the fields after it 0.
    explicit DeviceID(const std::wstring& text);
    DeviceID(const DeviceID&) = default;
    DeviceID& operator=(const DeviceID&) = default;
    ~DeviceID() override = default;

    std::uint32_t GetVendor() const { return vendor_; }
    std::uint32_t GetDevice() const { return device_; }
    std::uint32_t GetSubsystemVendor() const { return subsystemVendor_; }
    std::uint32_t GetSubsystemDevice() const { return subsystemDevice_; }
    std::uint32_t GetRevision() const { return revision_; }

    // The revision takes no part in the comparison.
    bool operator==(const DeviceID& other) const;
    bool operator!=(const DeviceID& other) const { return !(*this == other); }

    bool IsValid() const { return vendor_ != 0 && device_ != 0; }
    bool IsAMD() const { return vendor_ == kVendorAMD; }
    bool IsIntel() const { return vendor_ == kVendorIntel; }
    bool IsNVIDIA() const { return vendor_ == kVendorNVIDIA; }
    // Same vendor, and device numbers that differ at most in their low 8 bits.
    bool IsSameFamily(const DeviceID& other) const;

    // Upper-case hexadecimal of at least four digits ("0046"). Each accessor has its own buffer,
    // shared by every DeviceID and overwritten by its next call.
    const wchar_t* VendorText() const;
    const wchar_t* DeviceText() const;
    const wchar_t* SubsystemVendorText() const;
    const wchar_t* SubsystemDeviceText() const;

    // The text lives in a buffer shared by every DeviceID and is overwritten by the next call.
    const wchar_t* ToString() override;

  private:
    static constexpr std::uint32_t kVendorAMD = 0x1002;
    static constexpr std::uint32_t kVendorIntel = 0x8086;
    static constexpr std::uint32_t kVendorNVIDIA = 0x10DE;

    void Parse(const std::wstring& text);

    std::uint32_t vendor_ = 0;
    std::uint32_t device_ = 0;
    std::uint32_t subsystemVendor_ = 0;
    std::uint32_t subsystemDevice_ = 0;
    std::uint32_t revision_ = 0;
};

}  // namespace rigel
