#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "os/service_control.h"

namespace rigel::os {

// A service database in memory. Services start, stop and go away as in Windows, with the error
// codes Windows gives (a missing service, one that exists already, one already running); a test
// can make the manager, a creation, a start or a deletion fail with the error it chooses. Every
// call is recorded as a line such as "Start hwprobe".
class FakeServiceControl : public ServiceControl {
  public:
    struct Service {
        ServiceConfig config;
        bool running = false;
        std::uint32_t startError = 0;  // when set, every start fails with it
    };

    std::map<std::wstring, Service> services;
    std::uint32_t openManagerError = 0;
    std::uint32_t createError = 0;
    std::uint32_t deleteError = 0;
    std::vector<std::wstring> calls;

    // Handles not closed yet.
    std::size_t OpenCount() const { return open_.size(); }

    bool OpenManager(std::uint32_t access, HService& manager, std::uint32_t& error) override;
    bool Open(HService manager, const std::wstring& name, std::uint32_t access, HService& service,
              std::uint32_t& error) override;
    bool Create(HService manager, const ServiceConfig& config, HService& service,
                std::uint32_t& error) override;
    bool Start(HService service, std::uint32_t& error) override;
    bool Control(HService service, std::uint32_t control, std::uint32_t& error) override;
    bool Delete(HService service, std::uint32_t& error) override;
    void Close(HService handle) override;

  private:
    static constexpr std::uint32_t kErrorInvalidHandle = 6;  // ERROR_INVALID_HANDLE
    // The service behind a handle, or null (also for a manager's handle).
    Service* Find(HService handle);
    HService Issue(const std::wstring& name);

    std::map<HService, std::wstring> open_;  // a manager's handle has the empty name
    HService nextHandle_ = 1;
};

}  // namespace rigel::os
