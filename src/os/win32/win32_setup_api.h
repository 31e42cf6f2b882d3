#pragma once

#include <map>
#include <string>

#include "os/setup_api.h"

namespace rigel::os {

// The Setup API through the entry points resolved from the library that LoadLibrary loaded.
class Win32SetupApi : public SetupApi {
  public:
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
    using EntryPoint = void (*)();

    // The entry point by name, typed; null when it was not resolved.
    template <typename Function>
    Function Get(const char* name) const;

    std::map<std::string, EntryPoint> entryPoints_;
};

}  // namespace rigel::os
