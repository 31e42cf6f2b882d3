#include "detect/platform/mother_board.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/group_id.h"
#include "core/system.h"
#include "detect/devices/sound_info.h"
#include "detect/platform/intel_driver.h"
#include "detect/platform/registry.h"
#include "detect/platform/wmi.h"
#include "values/exists.h"
#include "values/name.h"

namespace rigel {
namespace {

constexpr std::uint32_t kManufacturer = 71171;
constexpr std::uint32_t kProduct = 71170;
constexpr std::uint32_t kVersion = 71356;
constexpr std::uint32_t kPartNumberShape = 71437;
// Where the driver texts D1 to D4 (extraTexts 0 to 3) go, in the order they are stored.
struct DriverText {
    std::uint32_t value;
    std::size_t text;
};
constexpr DriverText kDriverTexts[] = {{71394, 3}, {71395, 1}, {71396, 0}, {71397, 2}};

void FillEmpty(std::wstring& result, const std::wstring& source) {
    if (result.empty()) result = source;
}

void Merge(SoundInfo& result, const SoundInfo& source) {
    FillEmpty(result.name, source.name);
    FillEmpty(result.hardwareId, source.hardwareId);
    FillEmpty(result.driverVersion, source.driverVersion);
    for (std::size_t i = 0; i < result.extraTexts.size(); ++i) {
        FillEmpty(result.extraTexts[i], source.extraTexts[i]);
    }
}

bool IsLetter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// D1 to D4 from the driver client, on Intel machines only.
SoundInfo ReadDriverTexts() {
    SoundInfo board;
    if (!System::Instance().GetSystemValues().IsIntelCPU()) return board;
    IntelDriver& driver = IntelDriver::Instance();
    board.extraTexts = {driver.ChipsetDeviceWord(), driver.ChipsetByte(), driver.HostBridgeByte(),
                        driver.GraphicsText()};
    return board;
}

}  // namespace

MotherBoard::MotherBoard() : Detector(nullptr, L"Error in Motherboard detection.") {}

bool MotherBoard::HasPartNumberShape(std::wstring_view version) {
    constexpr std::wstring_view kPrefix = L"aa";
    constexpr std::size_t kShapeLength = 10;
    if (version.size() == kPrefix.size() + kShapeLength) {
        if (version.substr(0, kPrefix.size()) != kPrefix) return false;
        version.remove_prefix(kPrefix.size());
    }
    if (version.size() != kShapeLength) return false;
    return IsLetter(version[0]) && std::all_of(version.begin() + 1, version.begin() + 6, IsDigit) &&
           version[6] == L'-' && std::all_of(version.begin() + 7, version.end(), IsDigit);
}

void MotherBoard::Run() {
    SoundInfo board;
    Registry::Instance().GetMotherboardValues(board);
    SoundInfo fromWmi;
    WMI::Instance().GetMotherboardValues(fromWmi);
    Merge(board, fromWmi);
    Merge(board, ReadDriverTexts());

    const auto store = [](std::uint32_t number, const std::wstring& text) {
        Name name(text);
        AddValue(GroupID(number), name);
    };

    store(kManufacturer, board.name);
    store(kProduct, board.hardwareId);
    store(kVersion, board.driverVersion);
    Exists partNumber(HasPartNumberShape(board.driverVersion));
    AddValue(GroupID(kPartNumberShape), partNumber);
    for (const DriverText& driverText : kDriverTexts) {
        store(driverText.value, board.extraTexts[driverText.text]);
    }
}

}  // namespace rigel
