#include "os/fake/fake_direct3d.h"

namespace rigel::os {

const FakeDirect3D::Adapter* FakeDirect3D::Find(std::uint32_t adapter) const {
    return adapter < adapters.size() ? &adapters[adapter] : nullptr;
}

ComObject FakeDirect3D::Create(ExportAddress create, std::uint32_t sdkVersion) {
    sdkVersions.push_back(sdkVersion);
    if (create == nullptr || !creates) return 0;
    objects_[next_] = 0;
    return next_++;
}

std::uint32_t FakeDirect3D::GetAdapterCount(ComObject) {
    return static_cast<std::uint32_t>(adapters.size());
}

std::int32_t FakeDirect3D::GetAdapterIdentifier(ComObject, std::uint32_t adapter,
                                                std::uint32_t flags,
                                                Direct3DAdapterIdentifier& identifier) {
    identifierFlags.push_back(flags);
    const Adapter* found = Find(adapter);
    if (found == nullptr) return kInvalidCall;
    if (found->identifierStatus == kOk) identifier = found->identifier;
    return found->identifierStatus;
}

std::int32_t FakeDirect3D::GetDeviceCaps(ComObject, std::uint32_t adapter, std::uint32_t deviceType,
                                         Direct3DCaps& caps) {
    capsDeviceTypes.push_back(deviceType);
    const Adapter* found = Find(adapter);
    if (found == nullptr) return kInvalidCall;
    if (deviceType != kDeviceTypeHal) return kNotAvailable;
    if (found->capsStatus == kOk) caps = found->caps;
    return found->capsStatus;
}

std::int32_t FakeDirect3D::CreateDevice(ComObject, std::uint32_t adapter, std::uint32_t deviceType,
                                        std::uintptr_t focusWindow, std::uint32_t behaviorFlags,
                                        const Direct3DPresentParameters& parameters,
                                        ComObject& device) {
    deviceRequests.push_back({adapter, deviceType, focusWindow, behaviorFlags, parameters});
    device = 0;
    const Adapter* found = Find(adapter);
    if (found == nullptr) return kInvalidCall;
    if (focusWindow == 0 && parameters.deviceWindow == 0) return kInvalidCall;
    if (found->deviceStatus != kOk) return found->deviceStatus;
    objects_[next_] = adapter;
    device = next_++;
    return kOk;
}

std::uint32_t FakeDirect3D::GetAvailableTextureMem(ComObject device) {
    const auto object = objects_.find(device);
    if (object == objects_.end()) return 0;
    const Adapter* found = Find(object->second);
    return found != nullptr ? found->textureMemory : 0;
}

void FakeDirect3D::Release(ComObject object) { objects_.erase(object); }

}  // namespace rigel::os
