#include "os/services.h"

#include "os/scoped_services.h"

namespace rigel::os {

Services& Current() {
    static Services current = DefaultServices();
    return current;
}

ScopedServices::ScopedServices(const Services& replacement) : previous_(Current()) {
    Current() = replacement;
}

ScopedServices::~ScopedServices() { Current() = previous_; }

}  // namespace rigel::os
