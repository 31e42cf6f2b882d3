#include "detect/devices/diagnostics_tree.h"

#include <algorithm>
#include <mutex>
#include <system_error>
#include <utility>

#include "detect/platform/wmi_mutex.h"
#include "os/services.h"

namespace rigel {
namespace {

constexpr os::DiagnosticsParameters kParameters{24, 111, false};  // DXDIAG_DX9_SDK_VERSION
constexpr std::uint32_t kContainerNameCapacity = 256;
constexpr std::uint32_t kPropertyNameCapacity = 100;

// The properties the graphics and DirectX readers use.
const wchar_t* const kDeviceProperties[] = {L"szDescription",   L"szChipType",
                                            L"szKeyDeviceID",   L"szDACType",
                                            L"szDriverVersion", L"szDisplayMemoryEnglish"};
const wchar_t* const kSystemProperties[] = {L"dwDirectXVersionMajor", L"dwDirectXVersionMinor",
                                            L"szDirectXVersionLetter"};

DiagnosticsTree* instance = nullptr;

using Object = os::UniqueComObject<os::Diagnostics>;

// The reading thread's apartment; every object is released before it closes.
class Apartment {
  public:
    explicit Apartment(os::Diagnostics& diagnostics)
        : diagnostics_(diagnostics), status_(diagnostics.InitializeCom()) {}
    ~Apartment() {
        if (status_ >= 0) diagnostics_.UninitializeCom();
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;

  private:
    os::Diagnostics& diagnostics_;
    std::int32_t status_;
};

class TreeReader {
  public:
    explicit TreeReader(os::Diagnostics& diagnostics) : diagnostics_(diagnostics) {}

    Object Own(os::ComObject object) {
        return Object(object, os::ComReleaser<os::Diagnostics>(diagnostics_));
    }

    Object Child(const Object& container, const std::wstring& name) {
        os::ComObject child = 0;
        if (diagnostics_.GetChildContainer(container.get(), name, child) < 0) return Own(0);
        return Own(child);
    }

    void ReadDisplayDevices(const Object& root, DiagnosticsSnapshot& snapshot) {
        const Object devices = Child(root, L"DxDiag_DisplayDevices");
        if (!devices) return;
        std::uint32_t count = 0;
        if (diagnostics_.GetNumberOfChildContainers(devices.get(), count) < 0) return;
        count = std::min(count, DiagnosticsTree::kMaxDevices);
        for (std::uint32_t index = 0; index < count; ++index) {
            DiagnosticsSnapshot::Device device;
            if (diagnostics_.EnumChildContainerNames(devices.get(), index, kContainerNameCapacity,
                                                     device.name) < 0) {
                continue;
            }
            const Object container = Child(devices, device.name);
            device.opened = static_cast<bool>(container);
            if (device.opened) {
                ReadPropertyNames(container, device.propertyNames);
                ReadProperties(container, kDeviceProperties, device.properties);
            }
            snapshot.displayDevices.push_back(std::move(device));
        }
    }

    void ReadSystemInfo(const Object& root, DiagnosticsSnapshot& snapshot) {
        const Object system = Child(root, L"DxDiag_SystemInfo");
        if (!system) return;
        ReadProperties(system, kSystemProperties, snapshot.systemInfo);
    }

  private:
    void ReadPropertyNames(const Object& container, std::vector<std::wstring>& names) {
        std::uint32_t count = 0;
        if (diagnostics_.GetNumberOfProps(container.get(), count) < 0) return;
        count = std::min(count, DiagnosticsTree::kMaxPropertyNames);
        for (std::uint32_t index = 0; index < count; ++index) {
            std::wstring name;
            if (diagnostics_.EnumPropNames(container.get(), index, kPropertyNameCapacity, name) >=
                0) {
                names.push_back(std::move(name));
            }
        }
    }

    template <std::size_t N>
    void ReadProperties(const Object& container, const wchar_t* const (&names)[N],
                        DiagnosticsSnapshot::Properties& properties) {
        for (const wchar_t* name : names) {
            os::DiagnosticsValue value;
            if (diagnostics_.GetProperty(container.get(), name, value) >= 0)
                properties.emplace(name, std::move(value));
        }
    }

    os::Diagnostics& diagnostics_;
};

}  // namespace

DiagnosticsTree& DiagnosticsTree::Instance() {
    if (instance == nullptr) instance = new DiagnosticsTree();
    return *instance;
}

void DiagnosticsTree::Wait() {
    if (instance != nullptr) instance->Get();
}

void DiagnosticsTree::DestroyInstanceForTesting() {
    Wait();
    delete instance;
    instance = nullptr;
}

DiagnosticsTree::DiagnosticsTree() {
    os::Diagnostics& diagnostics = *os::Current().diagnostics;
    try {
        reading_ = std::async(std::launch::async, [&diagnostics] { return Read(diagnostics); });
    } catch (const std::system_error&) {
        // No thread to spare: read on this one instead.
        snapshot_ = Read(diagnostics);
    }
}

bool DiagnosticsTree::Initialize(os::Diagnostics& diagnostics, os::ComObject provider) {
    // The provider reads the processor from WMI while it initialises.
    const std::lock_guard<std::mutex> lock(WmiMutex());
    return diagnostics.Initialize(provider, kParameters) >= 0;
}

std::unique_ptr<DiagnosticsSnapshot> DiagnosticsTree::Read(os::Diagnostics& diagnostics) {
    const Apartment apartment(diagnostics);
    TreeReader reader(diagnostics);
    os::ComObject created = 0;
    if (diagnostics.CreateProvider(created) < 0) return nullptr;
    const Object provider = reader.Own(created);
    if (!Initialize(diagnostics, provider.get())) return nullptr;
    auto snapshot = std::make_unique<DiagnosticsSnapshot>();
    os::ComObject rootObject = 0;
    if (diagnostics.GetRootContainer(provider.get(), rootObject) < 0) return snapshot;
    const Object root = reader.Own(rootObject);
    reader.ReadDisplayDevices(root, *snapshot);
    reader.ReadSystemInfo(root, *snapshot);
    return snapshot;
}

const DiagnosticsSnapshot* DiagnosticsTree::Get() {
    if (reading_.valid()) {
        try {
            snapshot_ = reading_.get();
        } catch (...) {
            snapshot_.reset();
        }
    }
    return snapshot_.get();
}

}  // namespace rigel
