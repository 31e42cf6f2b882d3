#include "detect/platform/intel_driver.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/process_launcher.h"
#include "os/service_control.h"
#include "os/services.h"
#include "os/shared_memory.h"
#include "os/system_info.h"
#include "service/utf8.h"

namespace rigel {
namespace {

using os::ServiceControl;
using os::SharedMemory;
using ServiceCloser = os::MemberCloser<ServiceControl, os::HService, &ServiceControl::Close>;
using UniqueService = os::UniqueHandle<os::HService, ServiceCloser>;
using MappingCloser = os::MemberCloser<SharedMemory, os::HMapping, &SharedMemory::Close>;
using ViewCloser = os::MemberCloser<SharedMemory, void*, &SharedMemory::Unmap>;
using ProcessCloser =
    os::MemberCloser<os::ProcessLauncher, os::HProcess, &os::ProcessLauncher::Close>;

constexpr std::uint32_t kModulePathCapacity = 260;  // MAX_PATH
constexpr std::size_t kDevicePathCapacity = 64;
constexpr std::uint32_t kDeviceAccess = 0xC0000000;   // GENERIC_READ | GENERIC_WRITE
constexpr std::uint32_t kDeleteOnClose = 0x04000000;  // FILE_FLAG_DELETE_ON_CLOSE
constexpr std::uint32_t kPlatformIdMsr = 0x17;        // IA32_PLATFORM_ID
constexpr std::uint64_t kAllOnes = ~std::uint64_t{0};
constexpr std::size_t kMsrBlockBytes = 12;
constexpr std::size_t kConfigBlockBytes = 32;
constexpr std::size_t kMemoryBlockBytes = 32;
constexpr std::size_t kMemoryTextOffset = 8;
// The chipset reads name the vendor by the decimal number 8086; the graphics read by 0x8086.
constexpr std::uint32_t kChipsetVendor = 8086;
constexpr std::uint32_t kGraphicsVendor = 0x8086;

const wchar_t* const kProbeProgram = L"\\cpuprobe.exe";

std::uint32_t Get32(const std::vector<std::uint8_t>& block, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value |= std::uint32_t{block.at(offset + i)} << (8 * i);
    return value;
}

void Put32(std::vector<std::uint8_t>& block, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) block.at(offset + i) = (value >> (8 * i)) & 0xFF;
}

void Put64(std::vector<std::uint8_t>& block, std::size_t offset, std::uint64_t value) {
    Put32(block, offset, static_cast<std::uint32_t>(value));
    Put32(block, offset + 4, static_cast<std::uint32_t>(value >> 32));
}

std::wstring Hex(std::uint64_t value) {
    std::wostringstream text;
    text << std::uppercase << std::hex << value;
    return text.str();
}

// The control's folder: its module path without the file name, as PathRemoveFileSpecW leaves
// it (a drive's root keeps its backslash).
std::wstring ModuleFolder() {
    std::wstring path;
    if (os::Current().systemInfo->OwnModuleFileName(kModulePathCapacity, path) == 0) return {};
    const std::size_t slash = path.rfind(L'\\');
    if (slash == std::wstring::npos) return {};
    const bool root = slash == 0 || (slash == 2 && path[1] == L':');
    return path.substr(0, root ? slash + 1 : slash);
}

// The probe program's text: UTF-16 units up to the first NUL, never beyond the block.
std::wstring ProbeTextOf(const void* view) {
    const auto* bytes = static_cast<const std::uint8_t*>(view);
    std::wstring text;
    for (std::size_t i = 0; i + 1 < IntelDriver::kProbeBlockBytes; i += 2) {
        const auto unit = static_cast<wchar_t>(bytes[i] | (bytes[i + 1] << 8));
        if (unit == L'\0') break;
        text.push_back(unit);
    }
    return text;
}

IntelDriver* instance = nullptr;

}  // namespace

IntelDriver& IntelDriver::Instance() {
    if (instance == nullptr) instance = new IntelDriver();
    return *instance;
}

void IntelDriver::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

const IntelDriver::Bitness& IntelDriver::ProcessBitness() {
    static const Bitness kWow64 = {L"hwprobe64", L"\\hwprobe64.sys", L"Using 64 bit driver: ",
                                   true};
    static const Bitness kNative = {L"hwprobe", L"\\hwprobe.sys", L"Using 32 bit driver: ", false};
    bool wow64 = false;
    // A system that cannot tell is taken as not WOW64.
    if (!os::Current().systemInfo->IsWow64Process(wow64)) wow64 = false;
    return wow64 ? kWow64 : kNative;
}

IntelDriver::IntelDriver()
    : bitness_(ProcessBitness()), device_(0, DeviceCloser(*os::Current().deviceIo)) {
    ScopeTrace trace(L"rigel::IntelDriver::IntelDriver");
    probeMode_ = false;
    if (InstallDriver() == 0) {
        RunElevatedProbe();
        probeMode_ = true;
    }
}

IntelDriver::~IntelDriver() {
    if (!device_) return;
    device_.reset();
    RemoveService();
}

int IntelDriver::InstallDriver() {
    ScopeTrace trace(L"rigel::IntelDriver::InstallDriver");
    Log& log = Log::Instance();
    const std::wstring path = ModuleFolder() + bitness_.driverFile;
    log.Line(Log::kTrace, bitness_.logLine, path);

    ServiceControl& control = *os::Current().serviceControl;
    std::uint32_t error = 0;
    os::HService handle = 0;
    if (!control.OpenManager(ServiceControl::kManagerAllAccess, handle, error)) {
        log.Line(Log::kTrace, L"Error with opening SC Manager : ", error);
        return 0;
    }
    const UniqueService manager(handle, ServiceCloser(control));
    if (!control.Open(manager.get(), bitness_.serviceName, ServiceControl::kServiceAllAccess,
                      handle, error)) {
        const os::ServiceConfig config{bitness_.serviceName,
                                       bitness_.serviceName,
                                       ServiceControl::kServiceAllAccess,
                                       ServiceControl::kKernelDriver,
                                       ServiceControl::kDemandStart,
                                       ServiceControl::kErrorNormal,
                                       path};
        if (!control.Create(manager.get(), config, handle, error)) {
            log.Line(Log::kTrace, L"Error with creating service: ", error);
            return 0;
        }
    }
    const UniqueService service(handle, ServiceCloser(control));
    if (!control.Start(service.get(), error) && error != ServiceControl::kErrorAlreadyRunning) {
        std::uint32_t ignored = 0;
        control.Control(service.get(), ServiceControl::kControlStop, ignored);
        if (!control.Delete(service.get(), error)) {
            log.Line(Log::kTrace, L"Error with deleting servie: ", error);
        }
        return 0;
    }
    OpenDevice();
    return 1;
}

void IntelDriver::OpenDevice() {
    const std::wstring path =
        (L"\\\\.\\" + std::wstring(bitness_.serviceName)).substr(0, kDevicePathCapacity - 1);
    os::HDevice device = 0;
    std::uint32_t error = 0;
    if (!os::Current().deviceIo->Open(path, kDeviceAccess, 0, os::DeviceIo::kOpenExisting,
                                      kDeleteOnClose, device, error)) {
        Log::Instance().Line(Log::kTrace, L"Error with creating driver: ", error);
        return;
    }
    device_ =
        os::UniqueHandle<os::HDevice, DeviceCloser>(device, DeviceCloser(*os::Current().deviceIo));
}

void IntelDriver::RemoveService() {
    ServiceControl& control = *os::Current().serviceControl;
    std::uint32_t error = 0;
    os::HService handle = 0;
    if (!control.OpenManager(ServiceControl::kManagerAllAccess, handle, error)) return;
    const UniqueService manager(handle, ServiceCloser(control));
    if (!control.Open(manager.get(), bitness_.serviceName, ServiceControl::kServiceAllAccess,
                      handle, error)) {
        return;
    }
    const UniqueService service(handle, ServiceCloser(control));
    control.Control(service.get(), ServiceControl::kControlStop, error);
    control.Delete(service.get(), error);
}

void IntelDriver::RunElevatedProbe() {
    SharedMemory& memory = *os::Current().sharedMemory;
    os::HMapping handle = 0;
    std::uint32_t error = 0;
    memory.Create(kProbeBlockName, SharedMemory::kPageReadWrite, kProbeBlockBytes, handle, error);
    const os::UniqueHandle<os::HMapping, MappingCloser> mapping(handle, MappingCloser(memory));
    const os::UniqueHandle<void*, ViewCloser> view(
        mapping ? memory.Map(mapping.get(), SharedMemory::kMapWrite, kProbeBlockBytes) : nullptr,
        ViewCloser(memory));
    // The block may be left over from an earlier run.
    if (view) std::memset(view.get(), 0, kProbeBlockBytes);

    os::ProcessLauncher& launcher = *os::Current().processLauncher;
    const os::ShellLaunch launch{
        L"runas", ModuleFolder() + kProbeProgram, L"",
        os::ProcessLauncher::kMaskNoCloseProcess | os::ProcessLauncher::kMaskDoEnvSubst,
        os::ProcessLauncher::kShowHide};
    os::HProcess started = 0;
    launcher.Launch(launch, started, error);
    if (started != 0) {
        const os::UniqueHandle<os::HProcess, ProcessCloser> process(started,
                                                                    ProcessCloser(launcher));
        launcher.Wait(process.get());
    }
    if (view) probeText_ = ProbeTextOf(view.get());
}

std::wstring IntelDriver::ProbeValue(const std::wstring& text, const std::wstring& key) {
    const std::size_t found = text.find(key);
    if (found == std::wstring::npos) return {};
    const std::size_t open = text.find(L'|', found);
    if (open == std::wstring::npos) return {};
    const std::size_t close = text.find(L'|', open + 1);
    if (close == std::wstring::npos) return {};
    return text.substr(open + 1, close - open - 1);
}

bool IntelDriver::Send(std::uint32_t code, std::vector<std::uint8_t>& block) {
    if (!device_) return false;
    os::DeviceIo& io = *os::Current().deviceIo;
    const auto size = static_cast<std::uint32_t>(block.size());
    std::uint32_t returned = 0;
    std::uint32_t error = 0;
    if (bitness_.inlineLayout) {
        return io.Control(device_.get(), code, block.data(), size, block.data(), size, returned,
                          error);
    }
    // The driver writes the block through its address.
    std::vector<std::uint8_t> address(8, 0);
    Put64(address, 0, reinterpret_cast<std::uintptr_t>(block.data()));
    return io.Control(device_.get(), code, address.data(), 8, nullptr, 0, returned, error);
}

std::uint64_t IntelDriver::ReadMsr(std::uint32_t index) {
    std::vector<std::uint8_t> block(kMsrBlockBytes, 0);
    Put32(block, 0, index);
    if (!Send(kReadMsrCode, block)) return kAllOnes;
    return (std::uint64_t{Get32(block, 8)} << 32) | Get32(block, 4);
}

std::uint64_t IntelDriver::ReadValue() {
    // Inline the driver answers 64 bits; through an address, 32.
    std::vector<std::uint8_t> block(bitness_.inlineLayout ? 8 : 4, 0);
    if (!Send(kReadValueCode, block)) return kAllOnes;
    const std::uint64_t low = Get32(block, 0);
    return bitness_.inlineLayout ? (std::uint64_t{Get32(block, 4)} << 32) | low : low;
}

bool IntelDriver::ReadConfig(std::uint32_t w0, std::uint32_t w2, std::uint32_t w3, std::uint32_t w4,
                             std::uint32_t w5, std::uint32_t w6, std::uint32_t& out1,
                             std::uint32_t& out2) {
    std::vector<std::uint8_t> block(kConfigBlockBytes, 0);
    Put32(block, 0, w0);
    Put32(block, 8, w2);
    Put32(block, 12, w3);
    Put32(block, 16, w4);
    Put32(block, 20, w5);
    Put32(block, 24, w6);
    if (!Send(kReadConfigCode, block)) return false;
    out1 = Get32(block, 4);
    out2 = Get32(block, 28);
    return true;
}

std::string IntelDriver::ReadGraphicsText() {
    std::uint32_t out1 = 0;
    std::uint32_t address = 0;
    if (!ReadConfig(0, kGraphicsVendor, 2, 0, 0xFC, 4, out1, address) || address == 0) return {};
    std::vector<std::uint8_t> block(kMemoryBlockBytes, 0);
    Put64(block, 0, address);
    if (!Send(kReadMemoryCode, block)) return {};
    const auto begin = block.begin() + kMemoryTextOffset;
    return std::string(begin, std::find(begin, block.end(), std::uint8_t{0}));
}

std::wstring IntelDriver::ChipsetValue(std::uint32_t w2, std::uint32_t w5, bool word) {
    std::uint32_t out1 = 0;
    std::uint32_t out2 = 0;
    if (!ReadConfig(1, kChipsetVendor, w2, 0, w5, 1, out1, out2)) return {};
    return word ? Hex(out2 & 0xFFFF) : std::to_wstring(out2 & 0xFF);
}

std::wstring IntelDriver::PlatformIdBits() {
    if (probeMode_) return Probed(L"71398");
    return std::to_wstring((ReadMsr(kPlatformIdMsr) >> 50) & 7);
}

std::wstring IntelDriver::DriverValue() {
    if (probeMode_) return Probed(L"71399");
    return Hex(ReadValue());
}

std::wstring IntelDriver::ChipsetDeviceWord() {
    if (probeMode_) return Probed(L"71396");
    return ChipsetValue(31, 2, true);
}

std::wstring IntelDriver::ChipsetByte() {
    if (probeMode_) return Probed(L"71395");
    return ChipsetValue(31, 8, false);
}

std::wstring IntelDriver::HostBridgeByte() {
    if (probeMode_) return Probed(L"71397");
    return ChipsetValue(0, 8, false);
}

std::wstring IntelDriver::GraphicsText() {
    if (probeMode_) return Probed(L"71394");
    return Utf8::Decode(ReadGraphicsText());
}

}  // namespace rigel
