#include "os/fake/fake_setup_api.h"

#include <algorithm>

#include "os/fake/fake_registry.h"

namespace rigel::os {
namespace {

std::wstring Lower(std::wstring text) {
    // Paths and section names in tests are ASCII.
    for (wchar_t& c : text) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    }
    return text;
}

}  // namespace

FakeSetupApi::Device& FakeSetupApi::Device::Text(std::uint32_t property, const std::wstring& text) {
    properties[property] = Property{Registry::kString, FakeRegistry::Utf16(text + L'\0'), 0};
    return *this;
}

FakeSetupApi::Device& FakeSetupApi::Device::Texts(std::uint32_t property,
                                                  const std::vector<std::wstring>& texts) {
    std::wstring joined;
    for (const auto& text : texts) joined += text + L'\0';
    properties[property] = Property{Registry::kMultiString, FakeRegistry::Utf16(joined + L'\0'), 0};
    return *this;
}

FakeSetupApi::Device& FakeSetupApi::Device::Fail(std::uint32_t property, std::uint32_t error) {
    properties[property].error = error;
    return *this;
}

FakeSetupApi::Device& FakeSetupApi::Device::Keys(const std::wstring& hardwarePath,
                                                 const std::wstring& driverPath) {
    hardwareKey = DeviceKey{hardwarePath, 0};
    driverKey = DeviceKey{driverPath, 0};
    return *this;
}

FakeSetupApi::Device& FakeSetupApi::AddDevice(const ClassGuid& setupClass) {
    devices_.emplace_back(setupClass, Device());
    return devices_.back().second;
}

void FakeSetupApi::AddInf(const std::wstring& path, std::vector<InfSection> sections) {
    files_[Lower(path)] = std::move(sections);
}

bool FakeSetupApi::OpenLibrary(const std::wstring& name, HModule& module, std::uint32_t& error) {
    loads.push_back(name);
    module = 0;
    if (loadError != 0) {
        error = loadError;
        return false;
    }
    loaded_ = module = nextHandle_++;
    return true;
}

bool FakeSetupApi::ResolveEntryPoint(HModule module, const std::string& name) {
    if (module == 0 || module != loaded_ || missingEntryPoints.count(name) != 0) return false;
    resolved.push_back(name);
    return true;
}

void FakeSetupApi::CloseLibrary(HModule module) {
    if (module == loaded_) {
        loaded_ = 0;
        resolved.clear();
    }
}

bool FakeSetupApi::Resolved(const std::string& name, std::uint32_t& error) const {
    if (std::find(resolved.begin(), resolved.end(), name) != resolved.end()) return true;
    error = kErrorProcNotFound;
    return false;
}

bool FakeSetupApi::GetClassDevices(const ClassGuid& setupClass, std::uint32_t flags, HDevInfo& set,
                                   std::uint32_t& error) {
    set = 0;
    if (!Resolved("SetupDiGetClassDevsW", error)) return false;
    classRequests.emplace_back(setupClass, flags);
    if (classDevicesError != 0) {
        error = classDevicesError;
        return false;
    }
    std::vector<const Device*> members;
    for (const auto& [guid, device] : devices_) {
        if (guid == setupClass) members.push_back(&device);
    }
    set = nextHandle_++;
    sets_[set] = std::move(members);
    return true;
}

bool FakeSetupApi::EnumDeviceInfo(HDevInfo set, std::uint32_t index, DeviceInfoData& device,
                                  std::uint32_t& error) {
    if (!Resolved("SetupDiEnumDeviceInfo", error)) return false;
    enumSizes.push_back(device.size);
    auto found = sets_.find(set);
    if (found == sets_.end()) {
        error = kErrorInvalidHandle;
        return false;
    }
    if (device.size != kDeviceInfoSize) {
        error = kErrorInvalidUserBuffer;
        return false;
    }
    if (index >= found->second.size()) {
        error = kErrorNoMoreItems;
        return false;
    }
    device.devInst = index + 1;
    device.reserved = set;
    return true;
}

const FakeSetupApi::Device* FakeSetupApi::Find(HDevInfo set, const DeviceInfoData& device,
                                               std::uint32_t& error) const {
    auto found = sets_.find(set);
    if (found == sets_.end()) {
        error = kErrorInvalidHandle;
        return nullptr;
    }
    if (device.size != kDeviceInfoSize || device.reserved != set || device.devInst == 0 ||
        device.devInst > found->second.size()) {
        error = kErrorInvalidParameter;
        return nullptr;
    }
    return found->second[device.devInst - 1];
}

bool FakeSetupApi::GetDeviceRegistryProperty(HDevInfo set, const DeviceInfoData& device,
                                             std::uint32_t property, std::uint32_t& type,
                                             std::uint8_t* buffer, std::uint32_t bufferSize,
                                             std::uint32_t& requiredSize, std::uint32_t& error) {
    if (!Resolved("SetupDiGetDeviceRegistryPropertyW", error)) return false;
    const Device* found = Find(set, device, error);
    if (found == nullptr) return false;
    auto value = found->properties.find(property);
    if (value == found->properties.end()) {
        error = kErrorInvalidData;
        return false;
    }
    if (value->second.error != 0) {
        error = value->second.error;
        return false;
    }
    const auto& bytes = value->second.bytes;
    requiredSize = static_cast<std::uint32_t>(bytes.size());
    type = value->second.type;
    if (buffer == nullptr || bufferSize < bytes.size()) {
        error = kErrorInsufficientBuffer;
        return false;
    }
    std::copy(bytes.begin(), bytes.end(), buffer);
    return true;
}

bool FakeSetupApi::OpenDeviceKey(HDevInfo set, const DeviceInfoData& device, std::uint32_t scope,
                                 std::uint32_t profile, std::uint32_t keyType, std::uint32_t access,
                                 HKey& key, std::uint32_t& error) {
    key = 0;
    if (!Resolved("SetupDiOpenDevRegKey", error)) return false;
    keyRequests.push_back(KeyRequest{scope, profile, keyType, access});
    const Device* found = Find(set, device, error);
    if (found == nullptr) return false;
    if (keyType != kDeviceKey && keyType != kDriverKey) {
        error = kErrorInvalidParameter;
        return false;
    }
    const DeviceKey& link = keyType == kDeviceKey ? found->hardwareKey : found->driverKey;
    if (link.error != 0) {
        error = link.error;
        return false;
    }
    const std::int32_t status = registry_->OpenKey(Registry::kLocalMachine, link.path, access, key);
    if (status != Registry::kSuccess) {
        error = static_cast<std::uint32_t>(status);
        return false;
    }
    return true;
}

void FakeSetupApi::DestroyDeviceInfoList(HDevInfo set) { sets_.erase(set); }

bool FakeSetupApi::OpenInfFile(const std::wstring& path, std::uint32_t style, HInf& inf,
                               std::uint32_t& error) {
    inf = 0;
    if (!Resolved("SetupOpenInfFileW", error)) return false;
    infOpens.emplace_back(path, style);
    auto found = files_.find(Lower(path));
    if (openInfError != 0 || found == files_.end()) {
        error = openInfError != 0 ? openInfError : kErrorFileNotFound;
        return false;
    }
    inf = nextHandle_++;
    infs_[inf] = &found->second;
    return true;
}

void FakeSetupApi::CloseInfFile(HInf inf) { infs_.erase(inf); }

bool FakeSetupApi::FindFirstLine(HInf inf, const std::wstring& section, InfContext& context,
                                 std::uint32_t& error) {
    if (!Resolved("SetupFindFirstLineW", error)) return false;
    sectionRequests.push_back(section);
    auto found = infs_.find(inf);
    if (found == infs_.end()) {
        error = kErrorInvalidHandle;
        return false;
    }
    const auto& sections = *found->second;
    for (std::size_t i = 0; i < sections.size(); ++i) {
        if (Lower(sections[i].name) != Lower(section)) continue;
        if (sections[i].lines.empty()) {
            error = kErrorLineNotFound;
            return false;
        }
        context = InfContext{inf, inf, static_cast<std::uint32_t>(i), 0};
        return true;
    }
    error = kErrorLineNotFound;
    return false;
}

const FakeSetupApi::InfSection* FakeSetupApi::Line(const InfContext& context,
                                                   std::uint32_t& error) const {
    auto found = infs_.find(context.inf);
    if (found == infs_.end() || context.section >= found->second->size()) {
        error = kErrorInvalidParameter;
        return nullptr;
    }
    const InfSection& section = (*found->second)[context.section];
    if (context.line >= section.lines.size()) {
        error = kErrorLineNotFound;
        return nullptr;
    }
    return &section;
}

bool FakeSetupApi::FindNextLine(const InfContext& context, InfContext& next, std::uint32_t& error) {
    if (!Resolved("SetupFindNextLine", error)) return false;
    const InfSection* section = Line(context, error);
    if (section == nullptr) return false;
    if (context.line + 1 >= section->lines.size()) {
        error = kErrorLineNotFound;
        return false;
    }
    next = context;
    ++next.line;
    return true;
}

bool FakeSetupApi::GetLineText(const InfContext& context, std::uint32_t capacity,
                               std::wstring& text, std::uint32_t& requiredSize,
                               std::uint32_t& error) {
    if (!Resolved("SetupGetLineTextW", error)) return false;
    lineTextCapacities.push_back(capacity);
    const InfSection* section = Line(context, error);
    if (section == nullptr) return false;
    const std::wstring& line = section->lines[context.line];
    requiredSize = static_cast<std::uint32_t>(line.size() + 1);
    if (capacity < requiredSize) {
        error = kErrorInsufficientBuffer;
        return false;
    }
    text = line;
    return true;
}

}  // namespace rigel::os
