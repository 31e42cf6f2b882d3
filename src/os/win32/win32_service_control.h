#pragma once

#include "os/service_control.h"

namespace rigel::os {

class Win32ServiceControl : public ServiceControl {
  public:
    bool OpenManager(std::uint32_t access, HService& manager, std::uint32_t& error) override;
    bool Open(HService manager, const std::wstring& name, std::uint32_t access, HService& service,
              std::uint32_t& error) override;
    bool Create(HService manager, const ServiceConfig& config, HService& service,
                std::uint32_t& error) override;
    bool Start(HService service, std::uint32_t& error) override;
    bool Control(HService service, std::uint32_t control, std::uint32_t& error) override;
    bool Delete(HService service, std::uint32_t& error) override;
    void Close(HService handle) override;
};

}  // namespace rigel::os
