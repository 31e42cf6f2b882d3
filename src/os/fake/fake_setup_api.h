#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "os/registry.h"
#include "os/setup_api.h"

namespace rigel::os {

// The Setup API in memory: devices per setup class with their properties and keys, and INF files
// with their sections. Device keys are keys of a registry (a FakeRegistry in tests), opened under
// HKEY_LOCAL_MACHINE. Every status the callers tell apart can be produced, every call is recorded
// and handles are counted until they are closed.
class FakeSetupApi : public SetupApi {
  public:
    struct Property {
        std::uint32_t type = Registry::kString;
        std::vector<std::uint8_t> bytes;
        std::uint32_t error = 0;  // when set, every read fails with it
    };
    // A device key: a path under HKEY_LOCAL_MACHINE of the registry, or the error opening gives.
    struct DeviceKey {
        std::wstring path;
        std::uint32_t error = kErrorKeyDoesNotExist;
    };
    struct Device {
        // A missing property fails with kErrorInvalidData, as Windows does.
        std::map<std::uint32_t, Property> properties;
        DeviceKey hardwareKey;
        DeviceKey driverKey;

        Device& Text(std::uint32_t property, const std::wstring& text);
        Device& Texts(std::uint32_t property, const std::vector<std::wstring>& texts);
        Device& Fail(std::uint32_t property, std::uint32_t error);
        Device& Keys(const std::wstring& hardwarePath, const std::wstring& driverPath);
    };
    struct InfSection {
        std::wstring name;
        std::vector<std::wstring> lines;  // each as SetupGetLineTextW gives it
    };

    explicit FakeSetupApi(Registry& registry) : registry_(&registry) {}

    // A present device of the class, to be described through the reference.
    Device& AddDevice(const ClassGuid& setupClass);
    void AddInf(const std::wstring& path, std::vector<InfSection> sections);

    std::uint32_t loadError = 0;               // LoadLibrary fails with it when set
    std::set<std::string> missingEntryPoints;  // not exported by the library
    std::uint32_t classDevicesError = 0;       // GetClassDevices fails with it when set
    std::uint32_t openInfError = 0;            // every INF open fails with it when set

    // What was asked.
    std::vector<std::wstring> loads;
    std::vector<std::string> resolved;
    std::vector<std::pair<ClassGuid, std::uint32_t>> classRequests;  // class and flags
    std::vector<std::uint32_t> enumSizes;                            // device.size per call
    struct KeyRequest {
        std::uint32_t scope = 0;
        std::uint32_t profile = 0;
        std::uint32_t keyType = 0;
        std::uint32_t access = 0;
    };
    std::vector<KeyRequest> keyRequests;
    std::vector<std::pair<std::wstring, std::uint32_t>> infOpens;  // path and style
    std::vector<std::wstring> sectionRequests;
    std::vector<std::uint32_t> lineTextCapacities;

    bool LibraryLoaded() const { return loaded_ != 0; }
    std::size_t OpenSetCount() const { return sets_.size(); }
    std::size_t OpenInfCount() const { return infs_.size(); }

    bool OpenLibrary(const std::wstring& name, HModule& module, std::uint32_t& error) override;
    bool ResolveEntryPoint(HModule module, const std::string& name) override;
    void CloseLibrary(HModule module) override;
    bool GetClassDevices(const ClassGuid& setupClass, std::uint32_t flags, HDevInfo& set,
                         std::uint32_t& error) override;
    bool EnumDeviceInfo(HDevInfo set, std::uint32_t index, DeviceInfoData& device,
                        std::uint32_t& error) override;
    bool GetDeviceRegistryProperty(HDevInfo set, const DeviceInfoData& device,
                                   std::uint32_t property, std::uint32_t& type,
                                   std::uint8_t* buffer, std::uint32_t bufferSize,
                                   std::uint32_t& requiredSize, std::uint32_t& error) override;
    bool OpenDeviceKey(HDevInfo set, const DeviceInfoData& device, std::uint32_t scope,
                       std::uint32_t profile, std::uint32_t keyType, std::uint32_t access,
                       HKey& key, std::uint32_t& error) override;
    void DestroyDeviceInfoList(HDevInfo set) override;
    bool OpenInfFile(const std::wstring& path, std::uint32_t style, HInf& inf,
                     std::uint32_t& error) override;
    void CloseInfFile(HInf inf) override;
    bool FindFirstLine(HInf inf, const std::wstring& section, InfContext& context,
                       std::uint32_t& error) override;
    bool FindNextLine(const InfContext& context, InfContext& next, std::uint32_t& error) override;
    bool GetLineText(const InfContext& context, std::uint32_t capacity, std::wstring& text,
                     std::uint32_t& requiredSize, std::uint32_t& error) override;

  private:
    static constexpr std::uint32_t kErrorInvalidParameter = 87;     // ERROR_INVALID_PARAMETER
    static constexpr std::uint32_t kErrorInvalidHandle = 6;         // ERROR_INVALID_HANDLE
    static constexpr std::uint32_t kErrorInvalidUserBuffer = 1784;  // ERROR_INVALID_USER_BUFFER

    const Device* Find(HDevInfo set, const DeviceInfoData& device, std::uint32_t& error) const;
    const InfSection* Line(const InfContext& context, std::uint32_t& error) const;
    bool Resolved(const std::string& name, std::uint32_t& error) const;

    Registry* registry_;
    std::deque<std::pair<ClassGuid, Device>> devices_;
    std::map<std::wstring, std::vector<InfSection>> files_;  // by lower-cased path
    std::map<HDevInfo, std::vector<const Device*>> sets_;
    std::map<HInf, const std::vector<InfSection>*> infs_;
    HModule loaded_ = 0;
    std::uintptr_t nextHandle_ = 0x100;
};

}  // namespace rigel::os
