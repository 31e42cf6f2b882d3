#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "core/data_service.h"

namespace rigel::test {

// A data service that answers the group list with a text the test sets, records every request and
// fails a request kind on demand with a standard exception, as the web client does.
class FakeDataService : public DataService {
  public:
    std::wstring groupsResponse;
    bool failGroups = false;
    bool failUpload = false;
    std::vector<std::wstring> groupRequests;
    int uploads = 0;

    std::wstring RequestGroups(const std::wstring& referrerID) override {
        groupRequests.push_back(referrerID);
        if (failGroups) throw std::runtime_error("Failed to send request");
        return groupsResponse;
    }

    std::wstring SendSystemInformation() override {
        if (failUpload) throw std::runtime_error("Failed to send request");
        ++uploads;
        return std::wstring();
    }
};

}  // namespace rigel::test
