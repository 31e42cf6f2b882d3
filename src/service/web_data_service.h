#pragma once

#include <string>

#include "core/data_service.h"

namespace rigel {

// The session's requests sent to the data service over HTTP.
class WebDataService : public DataService {
  public:
    std::wstring RequestGroups(const std::wstring& referrerID) override;
    std::wstring SendSystemInformation() override;
};

}  // namespace rigel
