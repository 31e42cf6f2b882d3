#pragma once

#include <stdexcept>

#include "os/fake/fake_installer.h"

namespace rigel::test {

// An installer service that fails with an exception, for the detectors' failure rule.
class ThrowingInstaller : public os::FakeInstaller {
  public:
    std::uint32_t EnumRelatedProducts(const std::wstring&, std::uint32_t, std::wstring&) override {
        throw std::runtime_error("installer service failed");
    }
};

}  // namespace rigel::test
