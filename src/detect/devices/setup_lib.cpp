#include "detect/devices/setup_lib.h"

#include <algorithm>
#include <limits>

#include "core/exception.h"
#include "detect/devices/inf_models_line.h"
#include "detect/platform/registry.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"
#include "os/system_info.h"
#include "values/ascii_case.h"

namespace rigel {
namespace {

using os::SetupApi;

constexpr const char* kEntryPoints[] = {"SetupDiGetClassDevsW",
                                        "SetupDiEnumDeviceInfo",
                                        "SetupDiGetDeviceRegistryPropertyW",
                                        "SetupDiGetDeviceInstanceIdW",
                                        "SetupFindFirstLineW",
                                        "SetupFindNextLine",
                                        "SetupGetLineTextW",
                                        "SetupOpenInfFileW",
                                        "SetupCloseInfFile",
                                        "SetupDiOpenDevRegKey",
                                        "SetupDiDestroyDeviceInfoList"};

constexpr std::uint32_t kValueBufferBytes = 1000;
constexpr std::uint32_t kNetworkValueBufferBytes = 2000;
constexpr std::uint32_t kPathCapacity = 500;
constexpr std::uint32_t kLineCapacity = 500;
constexpr std::size_t kMinDeviceIdLength = 5;
constexpr std::size_t kFirmwareLength = 8;
constexpr std::uint32_t kNoHardwareProfile = 0;

const wchar_t* const kNetworkClassKey = L"SYSTEM\\CurrentControlSet\\Control\\Class\\";
const wchar_t* const kNetworkConnectionKey =
    L"SYSTEM\\CurrentControlSet\\Control\\Network\\{4D36E972-E325-11CE-BFC1-08002BE10318}\\";

SetupLib* instance = nullptr;

Log& TheLog() { return Log::Instance(); }

// The memory size is a signed decimal number: an optional sign and nothing but digits after it.
std::int64_t ParseVideoMemory(const std::wstring& text) {
    std::size_t at = 0;
    const bool negative = !text.empty() && text[0] == L'-';
    if (!text.empty() && (text[0] == L'+' || text[0] == L'-')) at = 1;
    if (at == text.size()) throw Exception(L"Not a number: " + text, L"rigel::SetupLib");
    std::uint64_t magnitude = 0;
    const std::uint64_t limit = negative ? std::uint64_t{1} << 63 : (std::uint64_t{1} << 63) - 1;
    for (; at < text.size(); ++at) {
        const wchar_t c = text[at];
        if (c < L'0' || c > L'9') throw Exception(L"Not a number: " + text, L"rigel::SetupLib");
        const auto digit = static_cast<std::uint64_t>(c - L'0');
        if (magnitude > (limit - digit) / 10) {
            throw Exception(L"Number out of range: " + text, L"rigel::SetupLib");
        }
        magnitude = magnitude * 10 + digit;
    }
    return negative ? static_cast<std::int64_t>(0 - magnitude)
                    : static_cast<std::int64_t>(magnitude);
}

}  // namespace

SetupLib& SetupLib::Instance() {
    if (instance == nullptr) instance = new SetupLib();
    return *instance;
}

void SetupLib::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

SetupLib::SetupLib()
    : api_(os::Current().setupApi),
      library_(0, os::SetupApiCloser<&SetupApi::CloseLibrary>(*api_)) {
    sourceName_ = L"SETUP";
    if (!Initialize()) TheLog().Line(Log::kError, L"Failure to initialize SetupLib class");
}

SetupLib::~SetupLib() = default;

bool SetupLib::Initialize() {
    ScopeTrace trace(L"rigel::SetupLib::Initialize");
    if (initialized_) return true;
    try {
        os::HModule module = 0;
        std::uint32_t error = 0;
        if (!api_->OpenLibrary(L"setupapi.dll", module, error)) {
            TheLog().Line(Log::kError, L"Failure to load setupapi.dll: ", error);
            return false;
        }
        library_ =
            os::UniqueSetupLibrary(module, os::SetupApiCloser<&SetupApi::CloseLibrary>(*api_));
        for (const char* name : kEntryPoints) {
            if (!api_->ResolveEntryPoint(module, name)) {
                TheLog().Line(Log::kError, L"Error getting proc addresses from Setup library.");
                return false;
            }
        }
        initialized_ = true;
    } catch (...) {
        TheLog().Line(Log::kError, L"Error initializing Setup library.");
    }
    return initialized_;
}

bool SetupLib::GetDeviceSet(const os::ClassGuid& setupClass, os::UniqueDeviceSet& set) {
    try {
        os::HDevInfo handle = 0;
        std::uint32_t error = 0;
        if (!api_->GetClassDevices(setupClass, SetupApi::kPresent, handle, error)) {
            TheLog().Line(Log::kWarning, L"SetupDiGetClassDevs failed with error: ", error);
            return false;
        }
        set = os::UniqueDeviceSet(handle,
                                  os::SetupApiCloser<&SetupApi::DestroyDeviceInfoList>(*api_));
        return true;
    } catch (...) {
        TheLog().Line(Log::kError, L"Error in call to SetupDiGetClassDevs.");
        return false;
    }
}

void SetupLib::ForEachDevice(const wchar_t* query, const os::ClassGuid& setupClass,
                             bool warnWithoutSet, const std::function<void(const Device&)>& visit) {
    if (!initialized_) return;
    try {
        os::UniqueDeviceSet set(0, os::SetupApiCloser<&SetupApi::DestroyDeviceInfoList>(*api_));
        if (!GetDeviceSet(setupClass, set)) {
            if (warnWithoutSet) {
                TheLog().Line(Log::kWarning, L"Failed call to GetDeviceSet for ", query);
            }
            return;
        }
        Device device;
        device.set = set.get();
        std::uint32_t error = 0;
        for (std::uint32_t index = 0;; ++index) {
            device.data = os::DeviceInfoData();
            device.data.size = SetupApi::kDeviceInfoSize;
            if (!api_->EnumDeviceInfo(set.get(), index, device.data, error)) break;
            visit(device);
        }
    } catch (...) {
        TheLog().Line(Log::kError, L"Error in ", query);
    }
}

bool SetupLib::GetDeviceRegistryProperty(const Device& device, std::uint32_t property,
                                         std::wstring& text) {
    text.clear();
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    std::uint32_t error = 0;
    if (!api_->GetDeviceRegistryProperty(device.set, device.data, property, type, nullptr, 0, size,
                                         error) &&
        error != SetupApi::kErrorInsufficientBuffer) {
        if (error == SetupApi::kErrorInvalidData) {
            TheLog().Line(Log::kWarning, L"SetupDiGetDeviceRegistryProperty failed with error: ",
                          error);
        }
        return false;
    }
    // Room for a terminator that the stored data may lack.
    std::vector<std::uint8_t> buffer(std::size_t{size} + 2, 0);
    std::uint32_t stored = 0;
    if (!api_->GetDeviceRegistryProperty(device.set, device.data, property, type, buffer.data(),
                                         static_cast<std::uint32_t>(buffer.size()), stored,
                                         error)) {
        return false;
    }
    buffer.resize(std::min<std::size_t>(stored, buffer.size()));
    text = Registry::TextOfData(os::Registry::kString, buffer);
    return true;
}

SetupLib::DeviceKeys SetupLib::OpenDeviceKeys(const Device& device) {
    os::Registry& registry = *os::Current().registry;
    DeviceKeys keys{os::UniqueKey(0, os::RegistryCloser(registry)),
                    os::UniqueKey(0, os::RegistryCloser(registry))};
    os::HKey key = 0;
    std::uint32_t error = 0;
    if (!api_->OpenDeviceKey(device.set, device.data, SetupApi::kScopeGlobal, kNoHardwareProfile,
                             SetupApi::kDeviceKey, os::Registry::kKeyRead, key, error)) {
        TheLog().Line(Log::kWarning, L"Error in call to SetupDiOpenDevRegKey for hardware key: ",
                      error);
        TheLog().Line(Log::kError, L"Error with calls to Setup library");
        return keys;
    }
    keys.hardware = os::UniqueKey(key, os::RegistryCloser(registry));
    if (!api_->OpenDeviceKey(device.set, device.data, SetupApi::kScopeGlobal, kNoHardwareProfile,
                             SetupApi::kDriverKey, os::Registry::kKeyRead, key, error)) {
        TheLog().Line(Log::kWarning, L"Error in call to SetupDiOpenDevRegKey for software key: ",
                      error);
        TheLog().Line(Log::kError, L"Error with calls to Setup library");
        return keys;
    }
    keys.driver = os::UniqueKey(key, os::RegistryCloser(registry));
    return keys;
}

std::optional<std::uint64_t> SetupLib::ReadNumber(os::HKey key, const std::wstring& valueName) {
    std::uint8_t data[8] = {};
    std::uint32_t type = 0;
    std::uint32_t size = sizeof data;
    if (os::Current().registry->QueryValue(key, valueName, type, data, size) !=
        os::Registry::kSuccess) {
        return std::nullopt;
    }
    const bool dword = type == os::Registry::kDword && size == 4;
    const bool qword = type == os::Registry::kQword && size == 8;
    if (!dword && !qword) return std::nullopt;
    std::uint64_t number = 0;
    for (std::uint32_t i = 0; i < size; ++i) number |= std::uint64_t{data[i]} << (8 * i);
    return number;
}

bool SetupLib::ReadRegistryValue(os::HKey key, const std::wstring& subkey,
                                 const std::wstring& valueName, std::wstring& text) {
    text.clear();
    if (key == 0) return false;
    try {
        Registry& registry = Registry::Instance();
        os::UniqueKey opened(0, os::RegistryCloser(*os::Current().registry));
        if (!subkey.empty()) opened = registry.OpenKey(key, subkey, os::Registry::kKeyRead);
        const os::HKey from = opened ? opened.get() : key;
        if (registry.ReadText(from, valueName, kValueBufferBytes, text) ==
            Registry::StringRead::kText) {
            return true;
        }
        if (const auto number = ReadNumber(from, valueName)) {
            text = std::to_wstring(*number);
            return true;
        }
        TheLog().Line(Log::kError, L"Can't handle Registry value for: ", valueName);
    } catch (...) {
        TheLog().Line(Log::kError, L"Error with CRegKey");
    }
    text.clear();
    return false;
}

std::wstring SetupLib::FirstProperty(const Device& device,
                                     std::initializer_list<std::uint32_t> codes) {
    std::wstring text;
    for (std::uint32_t code : codes) {
        if (GetDeviceRegistryProperty(device, code, text) && !text.empty()) return text;
    }
    return std::wstring();
}

std::wstring SetupLib::NonEmptyValue(os::HKey key, const std::wstring& subkey,
                                     const std::wstring& valueName) {
    std::wstring text;
    ReadRegistryValue(key, subkey, valueName, text);
    return text;
}

std::wstring SetupLib::GpuDeviceIdText(const Device& device, const DeviceKeys& keys) {
    std::wstring text;
    if (GetDeviceRegistryProperty(device, SetupApi::kHardwareId, text) &&
        text.size() >= kMinDeviceIdLength) {
        return text;
    }
    TheLog().Line(Log::kTrace, L"oops1");
    text = NonEmptyValue(keys.hardware.get(), L"", L"MatchingDeviceID");
    if (!text.empty()) return text;
    TheLog().Line(Log::kTrace, L"oops2");
    return NonEmptyValue(keys.driver.get(), L"", L"MatchingDeviceID");
}

void SetupLib::GetGpuInfo(std::vector<GpuInfo>& adapters) {
    ScopeTrace trace(L"rigel::SetupLib::GetGpuInfo");
    ForEachDevice(L"GetGpuInfo", SetupApi::kDisplayClass, true, [&](const Device& device) {
        const DeviceKeys keys = OpenDeviceKeys(device);
        const os::HKey driver = keys.driver.get();
        GpuInfo gpu;

        std::wstring text;
        if (!GetDeviceRegistryProperty(device, SetupApi::kDeviceDescription, text) ||
            text.empty()) {
            text = NonEmptyValue(keys.hardware.get(), L"", L"DeviceDesc");
            if (text.empty()) text = NonEmptyValue(driver, L"", L"DeviceDesc");
        }
        gpu.name = text;

        text = NonEmptyValue(driver, L"", L"Ver");
        if (text.empty()) text = NonEmptyValue(driver, L"", L"DriverVersion");
        // Empty when neither value is there, so that the merge takes a DirectX source's version.
        gpu.driverVersion = Version(text);

        text = NonEmptyValue(driver, L"info", L"ChipType");
        if (text.empty()) text = NonEmptyValue(driver, L"", L"HardwareInformation.ChipType");
        gpu.chipset = text;

        // An empty DAC type is an answer; only a failed read falls back.
        if (!ReadRegistryValue(driver, L"info", L"DACType", text)) {
            ReadRegistryValue(driver, L"", L"HardwareInformation.DacType", text);
        }
        gpu.dac = text;

        ReadRegistryValue(driver, L"", L"DriverDesc", text);
        gpu.driver = text;
        TheLog().Line(Log::kTrace, L"DriverDesc: ", text);

        if (ReadRegistryValue(driver, L"info", L"VideoMemory", text)) {
            gpu.totalRam.SetBytes(static_cast<std::uint64_t>(ParseVideoMemory(text)));
        }

        const std::wstring idText = GpuDeviceIdText(device, keys);
        TheLog().Line(Log::kTrace, L"Got device ID: ", idText);
        gpu.deviceID = DeviceID(idText);

        if (gpu.deviceID.IsIntel()) {
            TheLog().Line(Log::kTrace, L"Is Intel.");
            std::wstring infFile;
            if (ReadRegistryValue(driver, L"", L"InfPath", infFile)) {
                TheLog().Line(Log::kTrace, L"Inf Path: ", infFile);
                gpu.twoPartId = CheckInfForTwoPartId(gpu.deviceID, infFile);
                TheLog().Line(Log::kTrace, L"Got 2ID: ", gpu.twoPartId.ToString());
            }
        }
        adapters.push_back(gpu);
    });
}

std::wstring SetupLib::InfPath(const std::wstring& infFile) {
    std::wstring folder;
    const std::uint32_t length = os::Current().systemInfo->WindowsDirectory(kPathCapacity, folder);
    if (length == 0 || length >= kPathCapacity || folder.empty()) return std::wstring();
    if (folder.back() != L'\\') folder += L'\\';
    return folder + L"inf\\" + infFile;
}

std::optional<os::InfContext> SetupLib::ModelsSection(const os::UniqueInf& inf) {
    os::InfContext context;
    std::uint32_t error = 0;
    std::uint32_t required = 0;
    std::wstring models;
    if (!api_->FindFirstLine(inf.get(), L"Manufacturer", context, error) ||
        !api_->GetLineText(context, kLineCapacity, models, required, error)) {
        return std::nullopt;
    }
    if (api_->FindFirstLine(inf.get(), models, context, error)) return context;
    // "Name,NTamd64" names the decorated section "Name.NTamd64".
    const std::size_t comma = models.find(L',');
    if (comma == std::wstring::npos) return std::nullopt;
    models[comma] = L'.';
    if (api_->FindFirstLine(inf.get(), models, context, error)) return context;
    return std::nullopt;
}

bool SetupLib::CheckInfForTwoPartId(const DeviceID& deviceID, const std::wstring& infFile) {
    ScopeTrace trace(L"rigel::SetupLib::CheckInfForTwoPartId");
    try {
        TheLog().Line(Log::kTrace, L"Here 1");
        std::wstring key = L"ven_";
        key += deviceID.VendorText();
        key += L"&dev_";
        key += deviceID.DeviceText();

        const std::wstring path = InfPath(infFile);
        if (path.empty()) return true;
        os::HInf handle = 0;
        std::uint32_t error = 0;
        const bool opened = api_->OpenInfFile(path, SetupApi::kInfStyleWin4, handle, error);
        TheLog().Line(Log::kTrace, L"Here 2");
        if (!opened) return true;
        const os::UniqueInf inf(handle, os::SetupApiCloser<&SetupApi::CloseInfFile>(*api_));

        std::optional<os::InfContext> line = ModelsSection(inf);
        if (!line) return true;
        TheLog().Line(Log::kTrace, L"Here 3");
        std::wstring text;
        std::uint32_t required = 0;
        while (api_->GetLineText(*line, kLineCapacity, text, required, error)) {
            TheLog().Line(Log::kTrace, L"Here 4");
            switch (InfModelsLine::Compare(text, key)) {
                case InfModelsLine::Match::kTwoPart:
                    TheLog().Line(Log::kTrace, L"Got 2ID");
                    return true;
                case InfModelsLine::Match::kFourPart:
                    TheLog().Line(Log::kTrace, L"Got 4ID");
                    return false;
                case InfModelsLine::Match::kNone:
                    break;
            }
            os::InfContext next;
            if (!api_->FindNextLine(*line, next, error)) break;
            line = next;
        }
    } catch (...) {
        TheLog().Line(Log::kError, L"Exception caught.");
    }
    return true;
}

void SetupLib::GetCDRomInfo(std::vector<CDRomInfo>& drives) {
    ScopeTrace trace(L"rigel::SetupLib::GetCDRomInfo");
    ForEachDevice(L"GetCDRomInfo", SetupApi::kCdromClass, true, [&](const Device& device) {
        CDRomInfo drive;
        drive.name = FirstProperty(device, {SetupApi::kFriendlyName, SetupApi::kDeviceDescription});
        GetDeviceRegistryProperty(device, SetupApi::kHardwareId, drive.deviceId);
        drives.push_back(drive);
    });
}

void SetupLib::GetHardDriveInfo(std::vector<HardDriveInfo>& disks) {
    ScopeTrace trace(L"rigel::SetupLib::GetHardDriveInfo");
    ForEachDevice(L"GetHardDriveInfo", SetupApi::kDiskDriveClass, false, [&](const Device& device) {
        std::wstring text;
        if (!GetDeviceRegistryProperty(device, SetupApi::kClassName, text) ||
            text != L"DiskDrive") {
            return;
        }
        HardDriveInfo disk;
        if (GetDeviceRegistryProperty(device, SetupApi::kFriendlyName, text)) {
            disk.model = text;
        }
        // Disk hardware identifiers end in the 8-character firmware revision.
        if (GetDeviceRegistryProperty(device, SetupApi::kHardwareId, text) &&
            text.size() >= kFirmwareLength) {
            disk.firmware = text.substr(text.size() - kFirmwareLength);
        }
        disks.push_back(disk);
    });
}

void SetupLib::ReadNetworkSettings(const std::wstring& driverKeyName, NetworkDeviceInfo& adapter) {
    Registry& registry = Registry::Instance();
    std::wstring instanceId;
    {
        const os::UniqueKey key = registry.OpenKey(
            os::Registry::kLocalMachine, kNetworkClassKey + driverKeyName, os::Registry::kKeyRead);
        std::wstring text;
        if (key &&
            registry.ReadText(key.get(), L"DriverVersion", kNetworkValueBufferBytes, text) ==
                Registry::StringRead::kText &&
            !text.empty()) {
            adapter.driverVersion = text;
        }
        if (key)
            registry.ReadText(key.get(), L"NetCFGInstanceID", kNetworkValueBufferBytes, instanceId);
    }
    const os::UniqueKey connection = registry.OpenKey(
        os::Registry::kLocalMachine, kNetworkConnectionKey + instanceId + L"\\Connection",
        os::Registry::kKeyRead);
    std::uint64_t mediaSubType = 0;
    if (connection) {
        const auto number = ReadNumber(connection.get(), L"MediaSubType");
        if (number) mediaSubType = *number;
    }
    adapter.mediaType1 = mediaSubType == 1;
    adapter.mediaType2 = mediaSubType == 2;
}

void SetupLib::GetNetworkDeviceInfo(std::vector<NetworkDeviceInfo>& adapters) {
    ScopeTrace trace(L"rigel::SetupLib::GetNetworkDeviceInfo");
    ForEachDevice(L"GetNetworkDeviceInfo", SetupApi::kNetClass, true, [&](const Device& device) {
        NetworkDeviceInfo adapter;
        adapter.name =
            FirstProperty(device, {SetupApi::kFriendlyName, SetupApi::kDeviceDescription});
        GetDeviceRegistryProperty(device, SetupApi::kHardwareId, adapter.hardwareId);
        std::wstring text;
        if (GetDeviceRegistryProperty(device, SetupApi::kLocationInformation, text)) {
            adapter.onPciBus0 = AsciiLowerCase(text).find(L"pci bus 0") != std::wstring::npos;
        }
        if (GetDeviceRegistryProperty(device, SetupApi::kDriverKeyName, text)) {
            ReadNetworkSettings(text, adapter);
        }
        adapters.push_back(adapter);
    });
}

void SetupLib::GetScsiInfo(std::vector<ScsiInfo>& adapters) {
    ScopeTrace trace(L"rigel::SetupLib::GetScsiInfo");
    ForEachDevice(L"GetScsiInfo", SetupApi::kScsiAdapterClass, false, [&](const Device& device) {
        ScsiInfo adapter;
        GetDeviceRegistryProperty(device, SetupApi::kHardwareId, adapter.hardwareId);
        const DeviceKeys keys = OpenDeviceKeys(device);
        ReadRegistryValue(keys.driver.get(), L"", L"DriverVersion", adapter.driverVersion);
        adapters.push_back(adapter);
    });
}

void SetupLib::GetSoundInfo(std::vector<SoundInfo>& devices) {
    ScopeTrace trace(L"rigel::SetupLib::GetSoundInfo");
    ForEachDevice(L"GetSoundInfo", SetupApi::kMediaClass, true, [&](const Device& device) {
        SoundInfo sound;
        sound.name = FirstProperty(device, {SetupApi::kFriendlyName, SetupApi::kDeviceDescription});
        GetDeviceRegistryProperty(device, SetupApi::kHardwareId, sound.hardwareId);
        const DeviceKeys keys = OpenDeviceKeys(device);
        ReadRegistryValue(keys.driver.get(), L"", L"DriverVersion", sound.driverVersion);
        devices.push_back(sound);
    });
}

}  // namespace rigel
