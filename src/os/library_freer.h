#pragma once

#include "os/libraries.h"
#include "os/unique_handle.h"

namespace rigel::os {

// Frees loaded libraries through the service that loaded them, for UniqueHandle.
class LibraryFreer {
  public:
    explicit LibraryFreer(Libraries& libraries) : libraries_(&libraries) {}
    void operator()(HModule module) const { libraries_->Free(module); }

  private:
    Libraries* libraries_;
};

using UniqueModule = UniqueHandle<HModule, LibraryFreer>;

}  // namespace rigel::os
