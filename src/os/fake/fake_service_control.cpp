#include "os/fake/fake_service_control.h"

#include <iomanip>
#include <sstream>

namespace rigel::os {
namespace {

std::wstring Hex(std::uint32_t number) {
    std::wostringstream text;
    text << std::uppercase << std::hex << number;
    return text.str();
}

}  // namespace

FakeServiceControl::Service* FakeServiceControl::Find(HService handle) {
    auto name = open_.find(handle);
    if (name == open_.end() || name->second.empty()) return nullptr;
    auto found = services.find(name->second);
    return found != services.end() ? &found->second : nullptr;
}

HService FakeServiceControl::Issue(const std::wstring& name) {
    const HService handle = nextHandle_++;
    open_[handle] = name;
    return handle;
}

bool FakeServiceControl::OpenManager(std::uint32_t access, HService& manager,
                                     std::uint32_t& error) {
    calls.push_back(L"OpenManager " + Hex(access));
    manager = 0;
    if (openManagerError != 0) {
        error = openManagerError;
        return false;
    }
    manager = Issue(L"");
    return true;
}

bool FakeServiceControl::Open(HService manager, const std::wstring& name, std::uint32_t access,
                              HService& service, std::uint32_t& error) {
    calls.push_back(L"Open " + name + L" " + Hex(access));
    service = 0;
    if (open_.count(manager) == 0) {
        error = kErrorInvalidHandle;
        return false;
    }
    if (services.count(name) == 0) {
        error = kErrorDoesNotExist;
        return false;
    }
    service = Issue(name);
    return true;
}

bool FakeServiceControl::Create(HService manager, const ServiceConfig& config, HService& service,
                                std::uint32_t& error) {
    calls.push_back(L"Create " + config.name + L" " + config.binaryPath);
    service = 0;
    if (open_.count(manager) == 0) {
        error = kErrorInvalidHandle;
        return false;
    }
    if (createError != 0) {
        error = createError;
        return false;
    }
    if (services.count(config.name) != 0) {
        error = kErrorServiceExists;
        return false;
    }
    services[config.name].config = config;
    service = Issue(config.name);
    return true;
}

bool FakeServiceControl::Start(HService handle, std::uint32_t& error) {
    Service* service = Find(handle);
    calls.push_back(L"Start " + (service != nullptr ? service->config.name : L"?"));
    if (service == nullptr) {
        error = kErrorInvalidHandle;
        return false;
    }
    if (service->startError != 0) {
        error = service->startError;
        return false;
    }
    if (service->running) {
        error = kErrorAlreadyRunning;
        return false;
    }
    service->running = true;
    return true;
}

bool FakeServiceControl::Control(HService handle, std::uint32_t control, std::uint32_t& error) {
    Service* service = Find(handle);
    calls.push_back(L"Control " + (service != nullptr ? service->config.name : L"?") + L" " +
                    Hex(control));
    if (service == nullptr) {
        error = kErrorInvalidHandle;
        return false;
    }
    if (control == kControlStop && !service->running) {
        error = kErrorNotActive;
        return false;
    }
    if (control == kControlStop) service->running = false;
    return true;
}

bool FakeServiceControl::Delete(HService handle, std::uint32_t& error) {
    Service* service = Find(handle);
    calls.push_back(L"Delete " + (service != nullptr ? service->config.name : L"?"));
    if (service == nullptr) {
        error = kErrorInvalidHandle;
        return false;
    }
    if (deleteError != 0) {
        error = deleteError;
        return false;
    }
    services.erase(open_[handle]);
    return true;
}

void FakeServiceControl::Close(HService handle) { open_.erase(handle); }

}  // namespace rigel::os
