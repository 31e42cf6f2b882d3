#include "os/fake/fake_dxgi.h"

#include <algorithm>

namespace rigel::os {

ComObject FakeDxgi::Hand(Kind kind, std::size_t adapter) {
    objects_[next_] = Object{kind, adapter};
    return next_++;
}

const FakeDxgi::Adapter* FakeDxgi::AdapterOf(ComObject object) const {
    const auto found = objects_.find(object);
    if (found == objects_.end() || found->second.kind == Kind::kFactory) return nullptr;
    return &adapters.at(found->second.adapter);
}

std::int32_t FakeDxgi::Factory(const char* call, ExportAddress create, ComObject& factory) {
    calls.push_back(call);
    factory = 0;
    if (create == nullptr) return kInvalidArgument;
    if (factoryStatus < 0) return factoryStatus;
    factory = Hand(Kind::kFactory, 0);
    return factoryStatus;
}

std::int32_t FakeDxgi::CreateFactory(ExportAddress create, ComObject& factory) {
    return Factory("CreateFactory", create, factory);
}

std::int32_t FakeDxgi::CreateFactory1(ExportAddress create, ComObject& factory) {
    return Factory("CreateFactory1", create, factory);
}

std::int32_t FakeDxgi::Enumerate(const char* call, std::uint32_t index, ComObject& adapter) {
    calls.push_back(call);
    adapter = 0;
    if (index >= adapters.size()) return endStatus;
    adapter = Hand(Kind::kAdapter, index);
    return kOk;
}

std::int32_t FakeDxgi::EnumAdapters(ComObject, std::uint32_t index, ComObject& adapter) {
    return Enumerate("EnumAdapters", index, adapter);
}

std::int32_t FakeDxgi::EnumAdapters1(ComObject, std::uint32_t index, ComObject& adapter) {
    return Enumerate("EnumAdapters1", index, adapter);
}

std::int32_t FakeDxgi::Describe(const char* call, ComObject adapter,
                                DxgiAdapterDescription& description) {
    calls.push_back(call);
    const Adapter* found = AdapterOf(adapter);
    if (found == nullptr) return kInvalidArgument;
    if (found->descriptionStatus >= 0) description = found->description;
    return found->descriptionStatus;
}

std::int32_t FakeDxgi::GetDesc(ComObject adapter, DxgiAdapterDescription& description) {
    return Describe("GetDesc", adapter, description);
}

std::int32_t FakeDxgi::GetDesc1(ComObject adapter, DxgiAdapterDescription& description) {
    return Describe("GetDesc1", adapter, description);
}

std::int32_t FakeDxgi::CreateDevice10(ExportAddress create, ComObject adapter,
                                      std::uint32_t driverType, std::uint32_t flags,
                                      std::uint32_t sdkVersion, ComObject& device) {
    deviceRequests.push_back({driverType, flags, {}, sdkVersion});
    device = 0;
    const Adapter* found = AdapterOf(adapter);
    if (create == nullptr || found == nullptr) return kInvalidArgument;
    if (found->device10Status < 0) return found->device10Status;
    device = Hand(Kind::kDevice, objects_[adapter].adapter);
    return kOk;
}

std::string FakeDxgi::PixelShaderProfile10(ExportAddress profile, ComObject device) {
    const Adapter* found = AdapterOf(device);
    return profile != nullptr && found != nullptr ? found->pixelShaderProfile : std::string();
}

std::string FakeDxgi::VertexShaderProfile10(ExportAddress profile, ComObject device) {
    const Adapter* found = AdapterOf(device);
    return profile != nullptr && found != nullptr ? found->vertexShaderProfile : std::string();
}

std::int32_t FakeDxgi::CreateDevice11(ExportAddress create, ComObject adapter,
                                      std::uint32_t driverType, std::uint32_t flags,
                                      const std::vector<std::uint32_t>& featureLevels,
                                      std::uint32_t sdkVersion, ComObject& device,
                                      std::uint32_t& level) {
    deviceRequests.push_back({driverType, flags, featureLevels, sdkVersion});
    device = 0;
    level = 0;
    const Adapter* found = AdapterOf(adapter);
    if (create == nullptr || found == nullptr) return kInvalidArgument;
    if (found->device11Status < 0) return found->device11Status;
    const auto reached = std::find_if(
        featureLevels.begin(), featureLevels.end(),
        [found](std::uint32_t offered) { return offered <= found->highestFeatureLevel; });
    if (reached == featureLevels.end()) return kInvalidArgument;
    level = *reached;
    device = Hand(Kind::kDevice, objects_[adapter].adapter);
    return kOk;
}

void FakeDxgi::Release(ComObject object) { objects_.erase(object); }

}  // namespace rigel::os
