#include "detect/devices/gpu.h"

#include <cstdint>
#include <string>
#include <vector>

#include "core/system.h"
#include "detect/devices/diagnostics_tree.h"
#include "detect/devices/direct_x_10.h"
#include "detect/devices/direct_x_11.h"
#include "detect/devices/direct_x_8.h"
#include "detect/devices/direct_x_9.h"
#include "detect/devices/dx_diag.h"
#include "detect/devices/dxgi.h"
#include "detect/devices/setup_lib.h"
#include "diag/log.h"

namespace rigel {
namespace {

using GpuList = std::vector<GpuInfo>;

// One source's answer, with the lines that describe it in the log.
struct SourceList {
    GpuList adapters;
    const wchar_t* countLine;  // "Got " + count + this
    const wchar_t* heading;
};

void LogList(const SourceList& list) {
    Log::Instance().Line(Log::kTrace, L"Got ", list.adapters.size(), list.countLine);
    for (const GpuInfo& record : list.adapters) LogGpuInfo(record, list.heading);
}

template <typename Source>
SourceList Ask(Source& source, const wchar_t* countLine, const wchar_t* heading) {
    SourceList list{{}, countLine, heading};
    source.GetGpuInfo(list.adapters);
    LogList(list);
    return list;
}

// Only adapters with a vendor and a device number are reported; a basic display driver's
// identifier has neither.
GpuList Filter(const GpuList& adapters) {
    GpuList filtered;
    for (const GpuInfo& record : adapters) {
        if (record.deviceID.IsValid()) filtered.push_back(record);
    }
    Log::Instance().Line(Log::kTrace, L"Got ", filtered.size(), L" adapters after the filter.");
    return filtered;
}

void MergeMatches(GpuInfo& record, const GpuList& source) {
    for (const GpuInfo& candidate : source) {
        if (record.deviceID == candidate.deviceID) MergeGpuInfo(record, candidate);
    }
}

// A figure that is only a total (Direct3D texture memory, the diagnostics' display memory) is
// the adapter's own memory.
void ApplyMemoryRule(GpuInfo& record) {
    if (record.dedicatedRam.GetBytes() == 0 && record.sharedRam.GetBytes() == 0)
        record.dedicatedRam = record.totalRam;
}

bool NothingMatched(const GpuInfo& record) {
    const Version none(std::uint64_t{0});
    return record.pixelShader == none && record.vertexShader == none &&
           record.totalRam.GetBytes() == 0;
}

void BorrowFromSiblings(GpuInfo& record, const GpuList& adapters) {
    if (!NothingMatched(record)) return;
    for (const GpuInfo& sibling : adapters) {
        if (record.deviceID == sibling.deviceID || !record.deviceID.IsSameFamily(sibling.deviceID))
            continue;
        MergeGpuInfo(record, sibling);
        record.fromSibling = true;
    }
    ApplyMemoryRule(record);
}

void TakeText(Name& mine, const Name& theirs) {
    if (mine.IsEmpty()) mine = theirs;
}

template <typename Ordered>
void TakeLarger(Ordered& mine, const Ordered& theirs) {
    if (mine < theirs) mine = theirs;
}

void TakeFlag(Exists& mine, const Exists& theirs) {
    if (theirs.Get()) mine = true;
}

void Store(GpuInfo& record, std::uint32_t index) {
    Log& log = Log::Instance();
    LogGpuInfo(record, L"Final GPU values: ");
    DeviceID& id = record.deviceID;
    log.Line(Log::kTrace, L"GPU intel: ", id.IsIntel() ? 1 : 0, L" from ", id.ToString());
    log.Line(Log::kTrace, L"GPU final value: ", id.VendorText());

    SystemValues& values = System::Instance().GetSystemValues();
    const auto add = [&values, index](std::uint32_t number, Value& value) {
        values.AddValue(number, index, value);
    };
    const auto addText = [&values, index](std::uint32_t number, const wchar_t* text) {
        values.AddValue(number, index, std::wstring(text));
    };
    Exists amd(id.IsAMD());
    Exists intel(id.IsIntel());
    Exists nvidia(id.IsNVIDIA());
    add(71064, record.name);
    add(71105, record.chipset);
    add(71327, record.dac);
    add(71287, record.transformAndLighting);
    add(71085, record.transformAndLighting);
    add(71286, record.hardwareRasterization);
    add(71087, record.totalRam);
    add(71291, record.sharedRam);
    add(71285, record.dedicatedRam);
    add(71278, record.threeD);
    add(71065, record.threeD);
    add(71336, record.driverVersion);
    add(71328, record.driver);
    add(71292, record.vertexShader);
    add(71089, record.vertexShader);
    add(71290, record.pixelShader);
    add(71086, record.pixelShader);
    add(71277, amd);
    add(71288, intel);
    add(71289, nvidia);
    add(71231, id);
    addText(71224, id.DeviceText());
    addText(71333, id.SubsystemDeviceText());
    addText(71223, id.VendorText());
    addText(71334, id.SubsystemVendorText());
    add(71459, record.fromSibling);
    add(71378, record.twoPartId);
}

}  // namespace

GPU::GPU() : Detector(L"rigel::GPU::Detect", L"Error in GPU::Detect") {
    // The diagnostics tree takes longest of all the sources to read: it starts now, when the
    // pass makes its detectors, so that it is read while the processor detector runs. The
    // provider initialises only while no WMI read runs (WmiMutex); loading it takes long enough
    // that the processor's WMI read, the first thing its detector does, usually goes first.
    DiagnosticsTree::Instance();
}

GPU::~GPU() {
    // The read ends with the pass that started it, even when this detector never asked for it:
    // once the pass is over nothing holds the module in memory.
    DiagnosticsTree::Wait();
}

void GPU::Run() {
    const SourceList setup =
        Ask(SetupLib::Instance(), L" adapters from SetupLib.", L"From Setup Lib: ");
    GpuList adapters = Filter(setup.adapters);
    const SourceList dxDiag = Ask(DXDiag::Instance(), L" adapters from DXDiag.", L"From DXDiag: ");
    const SourceList dxgi = Ask(DXGI::Instance(), L" adapters from DXGI.", L"From DXGI: ");
    const SourceList direct3D8 =
        Ask(DirectX_8::Instance(), L" adapters from DirectX 8.", L"From DirectX8: ");
    const SourceList direct3D9 =
        Ask(DirectX_9::Instance(), L" adapters from DirectX 9.", L"From DirectX9: ");
    const SourceList direct3D10 = Ask(DirectX_10::Instance(), L" adapters.", L"From DirectX10: ");
    const SourceList direct3D11 = Ask(DirectX_11::Instance(), L" adapters.", L"From DirectX11: ");

    // The merge order decides which text wins: the Direct3D descriptions before the
    // diagnostics' chip type.
    for (GpuInfo& record : adapters) {
        for (const SourceList* source :
             {&direct3D8, &direct3D9, &direct3D10, &direct3D11, &dxDiag, &dxgi})
            MergeMatches(record, source->adapters);
    }
    for (GpuInfo& record : adapters) ApplyMemoryRule(record);
    for (GpuInfo& record : adapters) BorrowFromSiblings(record, adapters);
    for (std::uint32_t i = 0; i < adapters.size(); ++i) Store(adapters[i], i);
}

void MergeGpuInfo(GpuInfo& record, const GpuInfo& source) {
    if (!record.deviceID.IsValid()) record.deviceID = source.deviceID;
    TakeText(record.name, source.name);
    TakeText(record.chipset, source.chipset);
    TakeText(record.driver, source.driver);
    TakeText(record.dac, source.dac);
    TakeLarger(record.directXVersion, source.directXVersion);
    TakeLarger(record.pixelShader, source.pixelShader);
    TakeLarger(record.vertexShader, source.vertexShader);
    if (!record.driverVersion.IsValid()) record.driverVersion = source.driverVersion;
    TakeLarger(record.dedicatedRam, source.dedicatedRam);
    TakeLarger(record.sharedRam, source.sharedRam);
    TakeLarger(record.totalRam, source.totalRam);
    TakeFlag(record.hardwareRasterization, source.hardwareRasterization);
    TakeFlag(record.transformAndLighting, source.transformAndLighting);
    TakeFlag(record.threeD, source.threeD);
    TakeFlag(record.fromSibling, source.fromSibling);
    TakeFlag(record.twoPartId, source.twoPartId);
}

}  // namespace rigel
