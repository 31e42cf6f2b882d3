#include "os/win32/com_apartment.h"

#include <windows.h>

#include <objbase.h>

namespace rigel::os {

ComApartment::ComApartment() : status_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}

ComApartment::~ComApartment() {
    if (status_ >= 0) CoUninitialize();
}

}  // namespace rigel::os
