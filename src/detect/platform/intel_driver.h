#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "os/device_io.h"
#include "os/member_closer.h"
#include "values/source.h"

namespace rigel {

// Six facts only privileged code can read on Intel machines: from a kernel driver service it
// installs from the control's own folder, or, when that cannot be done, from an elevated probe
// program in the same folder that leaves them as "key|value|" text in named shared memory.
class IntelDriver : public Source {
  public:
    // The driver's I/O controls.
    static constexpr std::uint32_t kReadMsrCode = 0x222A84;
    static constexpr std::uint32_t kReadValueCode = 0x222AE0;
    static constexpr std::uint32_t kReadConfigCode = 0x222AE8;
    static constexpr std::uint32_t kReadMemoryCode = 0x222A8C;
    // The probe program's shared memory: its name and size in bytes.
    static constexpr const wchar_t* kProbeBlockName = L"INTEL_VEGAPROBE_DRIVER";
    static constexpr std::uint32_t kProbeBlockBytes = 2000;

    static IntelDriver& Instance();
    // Drops the instance, stopping and deleting a service it started (the product never calls
    // it).
    static void DestroyInstanceForTesting();
    ~IntelDriver() override;

    // The processor's platform ID bits, 0 to 7 (71398).
    std::wstring PlatformIdBits();
    // The driver's own value in hexadecimal (71399).
    std::wstring DriverValue();
    // The chipset's device word in hexadecimal (71396).
    std::wstring ChipsetDeviceWord();
    // A chipset byte in decimal (71395).
    std::wstring ChipsetByte();
    // A host-bridge byte in decimal (71397).
    std::wstring HostBridgeByte();
    // The text the graphics device holds (71394).
    std::wstring GraphicsText();

    bool IsProbeMode() const { return probeMode_; }

    // The value under key in a probe text: what lies between the first "|" after the key's first
    // occurrence and the next "|"; empty when the key or either "|" is missing.
    static std::wstring ProbeValue(const std::wstring& text, const std::wstring& key);

  private:
    using DeviceCloser = os::MemberCloser<os::DeviceIo, os::HDevice, &os::DeviceIo::Close>;

    // The names and the buffer layout that go with the process's bitness.
    struct Bitness {
        const wchar_t* serviceName;
        const wchar_t* driverFile;
        const wchar_t* logLine;
        bool inlineLayout;  // the block itself in and out, not its address
    };

    IntelDriver();

    static const Bitness& ProcessBitness();
    // 1 when the service runs (its device may still have failed to open), 0 otherwise.
    int InstallDriver();
    void OpenDevice();
    void RemoveService();
    void RunElevatedProbe();

    // Sends one control with the block in the layout of the bitness; false when it fails.
    bool Send(std::uint32_t code, std::vector<std::uint8_t>& block);
    // All ones when the read fails.
    std::uint64_t ReadMsr(std::uint32_t index);
    std::uint64_t ReadValue();
    bool ReadConfig(std::uint32_t w0, std::uint32_t w2, std::uint32_t w3, std::uint32_t w4,
                    std::uint32_t w5, std::uint32_t w6, std::uint32_t& out1, std::uint32_t& out2);
    std::string ReadGraphicsText();
    // The config read of the three chipset values; empty when it fails.
    std::wstring ChipsetValue(std::uint32_t w2, std::uint32_t w5, bool word);
    std::wstring Probed(const wchar_t* key) const { return ProbeValue(probeText_, key); }

    const Bitness& bitness_;
    std::wstring probeText_;
    bool probeMode_ = false;
    os::UniqueHandle<os::HDevice, DeviceCloser> device_;
};

}  // namespace rigel
