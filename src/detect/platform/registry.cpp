#include "detect/platform/registry.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"

namespace rigel {
namespace {

constexpr std::uint32_t kUnitBytes = 2;
const wchar_t* const kProcessorKey = L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";

Registry* instance = nullptr;

// The data as UTF-16 units; half a unit at the end is not text and is dropped.
std::wstring Units(const std::vector<std::uint8_t>& data, std::size_t size) {
    std::wstring units;
    size = std::min(size, data.size());
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        units.push_back(static_cast<wchar_t>(data[i] | (data[i + 1] << 8)));
    }
    return units;
}

std::wstring UpToNul(const std::wstring& units) { return units.substr(0, units.find(L'\0')); }

os::Registry& Service() { return *os::Current().registry; }

}  // namespace

Registry& Registry::Instance() {
    if (instance == nullptr) instance = new Registry();
    return *instance;
}

void Registry::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

Registry::Registry() { sourceName_ = L"REG"; }

os::UniqueKey Registry::OpenKey(os::HKey root, const std::wstring& subkey, std::uint32_t access) {
    os::Registry& registry = Service();
    os::HKey key = 0;
    if (registry.OpenKey(root, subkey, access, key) != os::Registry::kSuccess) key = 0;
    return os::UniqueKey(key, os::RegistryCloser(registry));
}

os::UniqueKey Registry::OpenFirstKey(std::initializer_list<KeyChoice> choices) {
    for (const KeyChoice& choice : choices) {
        os::UniqueKey key = OpenKey(os::Registry::kLocalMachine, choice.subkey, choice.access);
        if (key) return key;
    }
    return os::UniqueKey(0, os::RegistryCloser(Service()));
}

std::optional<Registry::Data> Registry::ReadData(os::HKey key, const std::wstring& valueName,
                                                 std::uint32_t extraBytes) {
    os::Registry& registry = Service();
    Data data;
    std::uint32_t size = 0;
    if (registry.QueryValue(key, valueName, data.type, nullptr, size) != os::Registry::kSuccess) {
        return std::nullopt;
    }
    data.bytes.assign(std::size_t{size} + extraBytes, 0);
    std::uint32_t room = static_cast<std::uint32_t>(data.bytes.size());
    // A value that changed between the two calls is taken as unreadable.
    if (registry.QueryValue(key, valueName, data.type, data.bytes.data(), room) !=
            os::Registry::kSuccess ||
        room > size) {
        return std::nullopt;
    }
    data.bytes.resize(room);
    return data;
}

std::wstring Registry::TextOfData(std::uint32_t type, const std::vector<std::uint8_t>& data) {
    if (type == os::Registry::kDword) {
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < 4 && i < data.size(); ++i) {
            number |= std::uint32_t{data[i]} << (8 * i);
        }
        return std::to_wstring(number);
    }
    std::wstring units = Units(data, data.size());
    if (type == os::Registry::kBinary) {
        // Repeatedly swapping a NUL with the non-NUL unit after it leaves the non-NUL units in
        // their order, followed by all the NULs.
        std::stable_partition(units.begin(), units.end(), [](wchar_t c) { return c != L'\0'; });
    }
    return UpToNul(units);
}

bool Registry::ReadString(os::HKey root, const std::wstring& subkey, const std::wstring& valueName,
                          std::wstring& text) {
    text.clear();
    const os::UniqueKey key = OpenKey(root, subkey, os::Registry::kKeyRead);
    if (!key) return false;
    const auto data = ReadData(key.get(), valueName, kUnitBytes);
    if (!data) return false;
    text = TextOfData(data->type, data->bytes);
    return true;
}

Registry::StringRead Registry::ReadText(os::HKey key, const std::wstring& valueName,
                                        std::uint32_t bufferBytes, std::wstring& text) {
    std::vector<std::uint8_t> buffer(bufferBytes, 0);
    std::uint32_t type = 0;
    std::uint32_t size = bufferBytes;
    const std::int32_t status = Service().QueryValue(key, valueName, type, buffer.data(), size);
    if (status == os::Registry::kMoreData) return StringRead::kTooLong;
    if (status != os::Registry::kSuccess) return StringRead::kMissing;
    if (type != os::Registry::kString && type != os::Registry::kExpandString) {
        return StringRead::kNotText;
    }
    if (size % kUnitBytes != 0) return StringRead::kOddLength;
    const std::wstring units = Units(buffer, std::min(size, bufferBytes));
    if (!units.empty() && units.back() != L'\0') return StringRead::kNotTerminated;
    text = UpToNul(units);
    return StringRead::kText;
}

bool Registry::GetCpuInfo(CpuInfo& info) {
    ScopeTrace trace(L"rigel::Registry::GetCpuInfo");
    std::wstring text;
    if (ReadString(os::Registry::kLocalMachine, kProcessorKey, L"ProcessorNameString", text)) {
        info.name = text;
    }
    Log::Instance().Line(Log::kTrace, L"Name = L", info.name);
    if (ReadString(os::Registry::kLocalMachine, kProcessorKey, L"~MHz", text)) {
        const std::wstring speed = text + L" MHz";
        info.speed = speed.c_str();
    }
    if (ReadString(os::Registry::kLocalMachine, kProcessorKey, L"Platform ID", text)) {
        info.platformId = text;
    }
    ReadMicrocodeUpdate(info);
    ReadChipsetInfVersion(info);
    return true;
}

void Registry::ReadMicrocodeUpdate(CpuInfo& info) {
    const os::UniqueKey key =
        OpenKey(os::Registry::kLocalMachine, kProcessorKey, os::Registry::kKeyRead);
    if (!key) return;
    const auto data = ReadData(key.get(), L"Update Signature", 0);
    // Byte 4 is the lowest byte of the microcode revision.
    if (!data || data->type != os::Registry::kBinary || data->bytes.size() < 5) return;
    std::wostringstream text;
    text << std::uppercase << std::hex << std::setfill(L'0') << std::setw(2)
         << unsigned{data->bytes[4]};
    info.microcodeUpdate = text.str();
}

void Registry::ReadChipsetInfVersion(CpuInfo& info) {
    const os::UniqueKey key = OpenKey(os::Registry::kLocalMachine, L"SOFTWARE\\Intel\\Infinst",
                                      os::Registry::kKeyRead | os::Registry::kWow64_64Key);
    if (!key) return;
    // Ten zero characters behind the data keep the text terminated whatever was stored.
    constexpr std::uint32_t kPadding = 10 * kUnitBytes;
    auto data = ReadData(key.get(), L"version", kPadding);
    if (!data) data = ReadData(key.get(), L"infver", kPadding);
    if (data) info.chipsetInfVersion = UpToNul(Units(data->bytes, data->bytes.size()));
}

bool Registry::GetBiosValues(BiosInfo& bios) {
    try {
        std::wstring vendor;
        std::wstring version;
        if (ReadString(os::Registry::kLocalMachine, L"HARDWARE\\DESCRIPTION\\System\\bios",
                       L"BIOSVendor", vendor) &&
            ReadString(os::Registry::kLocalMachine, L"HARDWARE\\DESCRIPTION\\System\\bios",
                       L"BIOSVersion", version)) {
            bios.version = vendor + L" " + version;
        }
        std::wstring date;
        if (ReadString(os::Registry::kLocalMachine, L"HARDWARE\\DESCRIPTION\\System\\",
                       L"SystemBiosDate", date)) {
            bios.date = date;
        }
    } catch (...) {
        // A BIOS description that cannot be read leaves the fields to WMI.
    }
    return true;
}

bool Registry::GetMotherboardValues(SoundInfo& board) {
    std::wstring version;
    if (ReadString(os::Registry::kLocalMachine, L"HARDWARE\\DESCRIPTION\\System\\BIOS",
                   L"BaseBoardVersion", version)) {
        board.driverVersion = version;
    }
    return true;
}

}  // namespace rigel
