#include "core/data_service.h"

namespace rigel {
namespace {

DataService*& Installed() {
    static DataService* installed = nullptr;
    return installed;
}

}  // namespace

DataService& DataService::Current() {
    DataService* installed = Installed();
    return installed != nullptr ? *installed : ProductDataService();
}

ScopedDataService::ScopedDataService(DataService& replacement) : previous_(Installed()) {
    Installed() = &replacement;
}

ScopedDataService::~ScopedDataService() { Installed() = previous_; }

}  // namespace rigel
