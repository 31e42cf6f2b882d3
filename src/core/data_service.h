#pragma once

#include <string>

namespace rigel {

// The session's requests to the data service: the referrer's group list before the first
// detection and the system-information upload after each detection. Both return the response
// body and raise a standard exception when the network fails.
class DataService {
  public:
    virtual ~DataService() = default;
    virtual std::wstring RequestGroups(const std::wstring& referrerID) = 0;
    virtual std::wstring SendSystemInformation() = 0;

    // The service in effect: the one a ScopedDataService installed, else the product's own.
    static DataService& Current();
};

// The product's own data service, the web client. Defined by the service layer, which the core
// does not include; the link brings the two together.
DataService& ProductDataService();

// Installs another data service (a test's) for the lifetime of the object.
class ScopedDataService {
  public:
    explicit ScopedDataService(DataService& replacement);
    ~ScopedDataService();
    ScopedDataService(const ScopedDataService&) = delete;
    ScopedDataService& operator=(const ScopedDataService&) = delete;

  private:
    DataService* previous_;
};

}  // namespace rigel
