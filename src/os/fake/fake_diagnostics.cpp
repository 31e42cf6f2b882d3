#include "os/fake/fake_diagnostics.h"

#include <algorithm>

namespace rigel::os {
namespace {

template <typename Entries>
auto Named(Entries& entries, const std::wstring& name) {
    return std::find_if(entries.begin(), entries.end(),
                        [&name](const auto& entry) { return entry.first == name; });
}

template <typename Entries>
std::int32_t NameAt(const Entries& entries, std::uint32_t index, std::uint32_t capacity,
                    std::wstring& name) {
    if (index >= entries.size()) return Diagnostics::kInvalidArgument;
    const std::wstring& found = entries[index].first;
    if (capacity <= found.size()) return Diagnostics::kInsufficientBuffer;
    name = found;
    return Diagnostics::kOk;
}

}  // namespace

FakeDiagnostics::Container& FakeDiagnostics::Container::Child(const std::wstring& name) {
    auto found = Named(children, name);
    if (found != children.end()) return found->second;
    children.emplace_back(name, Container{});
    return children.back().second;
}

void FakeDiagnostics::Container::Set(const std::wstring& name, DiagnosticsValue value) {
    auto found = Named(properties, name);
    if (found != properties.end()) {
        found->second = std::move(value);
    } else {
        properties.emplace_back(name, std::move(value));
    }
}

DiagnosticsValue FakeDiagnostics::Text(const std::wstring& text) {
    DiagnosticsValue value;
    value.type = kVtBstr;
    value.text = text;
    return value;
}

DiagnosticsValue FakeDiagnostics::Unsigned(std::uint32_t number) {
    DiagnosticsValue value;
    value.type = kVtUi4;
    value.number = number;
    value.text = std::to_wstring(number);
    return value;
}

ComObject FakeDiagnostics::Hand(const Container* container) {
    objects_[next_] = container;
    return next_++;
}

const FakeDiagnostics::Container* FakeDiagnostics::Find(ComObject container) const {
    const auto found = objects_.find(container);
    return found != objects_.end() ? found->second : nullptr;
}

std::int32_t FakeDiagnostics::InitializeCom() {
    ++comInitializations;
    return comStatus;
}

void FakeDiagnostics::UninitializeCom() { ++comUninitializations; }

std::int32_t FakeDiagnostics::CreateProvider(ComObject& provider) {
    provider = 0;
    if (createStatus < 0) return createStatus;
    provider = Hand(nullptr);
    return createStatus;
}

std::int32_t FakeDiagnostics::Initialize(ComObject, const DiagnosticsParameters& chosen) {
    parameters = chosen;
    ++providerInitializations;
    initializingThread = std::this_thread::get_id();
    if (whileInitializing) whileInitializing();
    initialized_ = initializeStatus >= 0;
    return initializeStatus;
}

std::int32_t FakeDiagnostics::GetRootContainer(ComObject, ComObject& container) {
    container = 0;
    if (!initialized_) return kInvalidArgument;
    container = Hand(&root);
    return kOk;
}

std::int32_t FakeDiagnostics::GetChildContainer(ComObject container, const std::wstring& name,
                                                ComObject& child) {
    child = 0;
    const Container* parent = Find(container);
    if (parent == nullptr) return kInvalidArgument;
    const auto found = Named(parent->children, name);
    if (found == parent->children.end()) return kInvalidArgument;
    child = Hand(&found->second);
    return kOk;
}

std::int32_t FakeDiagnostics::GetNumberOfChildContainers(ComObject container,
                                                         std::uint32_t& count) {
    const Container* found = Find(container);
    if (found == nullptr) return kInvalidArgument;
    count = static_cast<std::uint32_t>(found->children.size());
    return kOk;
}

std::int32_t FakeDiagnostics::EnumChildContainerNames(ComObject container, std::uint32_t index,
                                                      std::uint32_t capacity, std::wstring& name) {
    const Container* found = Find(container);
    if (found == nullptr) return kInvalidArgument;
    return NameAt(found->children, index, capacity, name);
}

std::int32_t FakeDiagnostics::GetNumberOfProps(ComObject container, std::uint32_t& count) {
    const Container* found = Find(container);
    if (found == nullptr) return kInvalidArgument;
    count = static_cast<std::uint32_t>(found->properties.size());
    return kOk;
}

std::int32_t FakeDiagnostics::EnumPropNames(ComObject container, std::uint32_t index,
                                            std::uint32_t capacity, std::wstring& name) {
    const Container* found = Find(container);
    if (found == nullptr) return kInvalidArgument;
    return NameAt(found->properties, index, capacity, name);
}

std::int32_t FakeDiagnostics::GetProperty(ComObject container, const std::wstring& name,
                                          DiagnosticsValue& value) {
    const Container* found = Find(container);
    if (found == nullptr) return kInvalidArgument;
    const auto property = Named(found->properties, name);
    if (property == found->properties.end()) return kInvalidArgument;
    value = property->second;
    return kOk;
}

void FakeDiagnostics::Release(ComObject object) { objects_.erase(object); }

}  // namespace rigel::os
