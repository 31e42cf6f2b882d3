#include "detect/platform/wmi.h"

#include <mutex>
#include <utility>

#include "core/exception.h"
#include "detect/platform/wmi_mutex.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"

namespace rigel {
namespace {

constexpr std::int32_t kForwardOnlyReturnImmediately = 0x20 | 0x10;
constexpr std::uint32_t kManyRows = 200;

// NTLM authentication at call level with impersonation, as a local WMI connection needs.
constexpr os::ProxyBlanket kBlanket{10 /* RPC_C_AUTHN_WINNT */, 0 /* RPC_C_AUTHZ_NONE */,
                                    3 /* RPC_C_AUTHN_LEVEL_CALL */,
                                    3 /* RPC_C_IMP_LEVEL_IMPERSONATE */, 0 /* EOAC_NONE */};

WMI* instance = nullptr;

bool Succeeded(std::int32_t status) { return status >= 0; }

std::wstring TextOf(const os::WmiValue& value, const wchar_t* place) {
    // A NULL property stands for the empty text.
    if (value.isNull) return std::wstring();
    if (!Succeeded(value.textStatus)) {
        throw Exception(L"A WMI value does not convert to text.", place);
    }
    return value.text;
}

std::uint32_t NumberOf(const os::WmiValue& value, const wchar_t* place) {
    if (value.isNull || !Succeeded(value.numberStatus)) {
        throw Exception(L"A WMI value does not convert to a number.", place);
    }
    return value.number;
}

}  // namespace

WMI& WMI::Instance() {
    if (instance == nullptr) instance = new WMI();
    return *instance;
}

void WMI::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

WMI::WMI()
    : wmi_(os::Current().wmi),
      locator_(0, os::WmiReleaser(*wmi_)),
      services_(0, os::WmiReleaser(*wmi_)) {}

bool WMI::Connected() {
    if (!connectionTried_) {
        connectionTried_ = true;
        Init();
    }
    return initialised_;
}

os::UniqueWmiObject WMI::Object(os::WmiObject object) {
    return os::UniqueWmiObject(object, os::WmiReleaser(*wmi_));
}

void WMI::Init() {
    ScopeTrace trace(L"rigel::WMI::Init");
    try {
        os::WmiObject locator = 0;
        os::WmiObject services = 0;
        if (Succeeded(wmi_->CreateLocator(locator))) {
            locator_ = Object(locator);
            if (Succeeded(wmi_->ConnectServer(locator_.get(), L"ROOT\\CIMV2", services))) {
                services_ = Object(services);
                initialised_ = Succeeded(wmi_->SetProxyBlanket(services_.get(), kBlanket));
            }
        }
    } catch (...) {
        initialised_ = false;
    }
    if (initialised_) {
        Log::Instance().Line(Log::kTrace, L"WMI inited ok.");
    } else {
        services_.reset();
        locator_.reset();
        Log::Instance().Line(Log::kTrace, L"WMI init failure.");
    }
}

os::UniqueWmiObject WMI::ExecQuery(const std::wstring& query) {
    os::WmiObject enumerator = 0;
    const std::int32_t status =
        wmi_->ExecQuery(services_.get(), L"WQL", query, kForwardOnlyReturnImmediately, enumerator);
    return Object(Succeeded(status) ? enumerator : 0);
}

os::UniqueWmiObject WMI::FirstRow(const os::UniqueWmiObject& enumerator) {
    std::vector<os::WmiObject> rows;
    const std::int32_t status = wmi_->Next(enumerator.get(), os::Wmi::kInfinite, 1, rows);
    std::vector<os::UniqueWmiObject> owned;
    for (os::WmiObject row : rows) owned.push_back(Object(row));
    if (status != os::Wmi::kOk || owned.empty()) return Object(0);
    return std::move(owned.front());
}

std::vector<os::UniqueWmiObject> WMI::Rows(const os::UniqueWmiObject& enumerator) {
    std::vector<os::WmiObject> rows;
    wmi_->Next(enumerator.get(), os::Wmi::kInfinite, kManyRows, rows);
    std::vector<os::UniqueWmiObject> owned;
    for (os::WmiObject row : rows) owned.push_back(Object(row));
    return owned;
}

std::optional<os::WmiValue> WMI::GetProperty(const os::UniqueWmiObject& row,
                                             const std::wstring& name) {
    std::optional<os::WmiValue> delivered;
    os::WmiValue value;
    if (Succeeded(wmi_->GetProperty(row.get(), name, value)) &&
        value.cimType != os::Wmi::kCimEmpty) {
        delivered = value;
    }
    Log& log = Log::Instance();
    if (log.IsEnabled(Log::kTrace)) {
        const bool hasText = delivered && !delivered->isNull && Succeeded(delivered->textStatus);
        log.WriteLine(Log::kTrace, L"WMI value: ", hasText ? delivered->text : std::wstring());
    }
    return delivered;
}

bool WMI::ReadText(const os::UniqueWmiObject& row, const std::wstring& name, std::wstring& text) {
    const auto value = GetProperty(row, name);
    if (!value) return false;
    text = TextOf(*value, L"rigel::WMI::GetProperty");
    return true;
}

bool WMI::ReadText(const os::UniqueWmiObject& row, const std::wstring& name, Name& text) {
    std::wstring read;
    if (!ReadText(row, name, read)) return false;
    text = read;
    return true;
}

bool WMI::GetCpuInfo(CpuInfo& info) {
    const std::lock_guard<std::mutex> lock(WmiMutex());
    if (!Connected()) return false;
    try {
        const auto enumerator = ExecQuery(L"SELECT * FROM Win32_Processor");
        if (!enumerator) return true;
        const auto row = FirstRow(enumerator);
        if (!row) return true;
        ReadText(row, L"Name", info.name);
        Log::Instance().Line(Log::kTrace, L"WMI CPU: ", info.name);
        ReadText(row, L"Manufacturer", info.vendor);
        if (const auto speed = GetProperty(row, L"MaxClockSpeed")) {
            const std::wstring text =
                std::to_wstring(NumberOf(*speed, L"rigel::WMI::GetCpuInfo")) + L" MHz";
            info.speed = text.c_str();
        }
    } catch (...) {
        Log::Instance().Line(Log::kError, L"Error in WMI CPU detection.");
    }
    return true;
}

bool WMI::GetBiosValues(BiosInfo& bios) {
    const std::lock_guard<std::mutex> lock(WmiMutex());
    if (!Connected()) return false;
    bool rowRead = false;
    try {
        const auto enumerator = ExecQuery(L"SELECT * FROM Win32_BIOS");
        if (!enumerator) return false;
        const auto row = FirstRow(enumerator);
        if (!row) return false;
        rowRead = true;
        ReadText(row, L"name", bios.name);
        ReadText(row, L"Manufacturer", bios.manufacturer);
        ReadText(row, L"SMBIOSBIOSVersion", bios.version);
    } catch (...) {
        // The BIOS has no message of its own: what was read stays.
    }
    return rowRead;
}

bool WMI::GetMotherboardValues(SoundInfo& board) {
    const std::lock_guard<std::mutex> lock(WmiMutex());
    if (!Connected()) return false;
    bool manufacturerRead = false;
    try {
        const auto enumerator = ExecQuery(L"SELECT * FROM Win32_BaseBoard");
        if (!enumerator) return false;
        for (const auto& row : Rows(enumerator)) {
            if (ReadText(row, L"Manufacturer", board.name)) manufacturerRead = true;
            ReadText(row, L"Product", board.hardwareId);
            ReadText(row, L"Version", board.driverVersion);
        }
    } catch (...) {
        Log::Instance().Line(Log::kError, L"Error in WMI::GetMotherboardValues.");
    }
    return manufacturerRead;
}

bool WMI::GetCDRomValues(std::vector<CDRomInfo>& drives) {
    const std::lock_guard<std::mutex> lock(WmiMutex());
    if (!Connected()) return false;
    try {
        const auto enumerator = ExecQuery(L"SELECT * FROM Win32_CDROMDrive");
        if (!enumerator) return false;
        const auto row = FirstRow(enumerator);
        if (!row) return false;
        CDRomInfo drive;
        ReadText(row, L"Name", drive.name);
        ReadText(row, L"PNPDeviceID", drive.deviceId);
        ReadText(row, L"Drive", drive.drive);
        ReadText(row, L"MediaType", drive.mediaType);
        drives.push_back(drive);
        return true;
    } catch (...) {
        Log::Instance().Line(Log::kError, L"Error in WMI GetCDRomValues.");
    }
    return false;
}

bool WMI::GetDiskDriveValues(std::vector<HardDriveInfo>& disks) {
    const std::lock_guard<std::mutex> lock(WmiMutex());
    if (!Connected()) return false;
    try {
        const auto enumerator = ExecQuery(L"SELECT * FROM Win32_DiskDrive");
        if (!enumerator) return true;
        for (const auto& row : Rows(enumerator)) {
            HardDriveInfo disk;
            ReadText(row, L"Model", disk.model);
            ReadText(row, L"Name", disk.deviceName);
            // VT_UINT and VT_UI4 are both 32 bits wide on Windows: one conversion serves.
            if (const auto index = GetProperty(row, L"Index")) {
                disk.index = NumberOf(*index, L"rigel::WMI::GetDiskDriveValues");
            }
            disks.push_back(disk);
        }
    } catch (...) {
        // The disks have no message of their own: the records appended so far stay.
    }
    return true;
}

bool WMI::GetSoundValues(std::vector<SoundInfo>& devices) {
    const std::lock_guard<std::mutex> lock(WmiMutex());
    if (!Connected()) return false;
    bool rowRead = false;
    try {
        const auto enumerator = ExecQuery(L"SELECT * FROM Win32_SoundDevice");
        if (!enumerator) return false;
        const auto row = FirstRow(enumerator);
        if (!row) return false;
        rowRead = true;
        SoundInfo device;
        ReadText(row, L"Name", device.name);
        ReadText(row, L"DeviceID", device.hardwareId);
        devices.push_back(device);
    } catch (...) {
        // Sound has no message of its own.
    }
    return rowRead;
}

}  // namespace rigel
