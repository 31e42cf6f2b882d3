#include "core/data_service.h"

namespace rigel {
namespace {

// Until the web client exists the requests answer with an empty body: the group list then holds
// one group numbered 0 and the upload sends nothing.
class OfflineDataService : public DataService {
  public:
    std::wstring RequestGroups(const std::wstring&) override { return std::wstring(); }
    std::wstring SendSystemInformation() override { return std::wstring(); }
};

DataService*& Installed() {
    static DataService* installed = nullptr;
    return installed;
}

}  // namespace

DataService& DataService::Current() {
    static OfflineDataService offline;
    DataService* installed = Installed();
    return installed != nullptr ? *installed : offline;
}

ScopedDataService::ScopedDataService(DataService& replacement) : previous_(Installed()) {
    Installed() = &replacement;
}

ScopedDataService::~ScopedDataService() { Installed() = previous_; }

}  // namespace rigel
