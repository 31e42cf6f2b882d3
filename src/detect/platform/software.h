#pragma once

#include <string>

#include "core/detector.h"

namespace rigel {

// Vendor software whose presence and version the data service wants: the control's own version,
// the network and wireless management software, the virtual network adapter's driver, and the
// wireless display software (through its library and through Windows Installer).
class Software : public Detector {
  public:
    Software();

  protected:
    void Run() override;

  private:
    void StoreOwnVersion();
    void StoreNetworkServicesVersion();
    void StoreWirelessVersion();
    void StoreVirtualAdapterDriverVersion();
    void StoreWiDiLibraryFacts();
    void StoreWiDiInstallation();

    // The version of the wireless display installation, by upgrade code or by product code.
    static bool FindWiDiInstallation(std::wstring& version);
};

}  // namespace rigel
