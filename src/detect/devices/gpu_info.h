#pragma once

#include "values/device_id.h"
#include "values/exists.h"
#include "values/name.h"
#include "values/size.h"
#include "values/version.h"

namespace rigel {

// One graphics adapter as one source sees it. The versions start as "0.0".
struct GpuInfo {
    Name name;
    Name chipset;
    Name driver;
    Name dac;
    Version directXVersion;
    Version driverVersion;
    Version pixelShader;
    Version vertexShader;
    Size dedicatedRam;
    Size sharedRam;
    Size totalRam;
    DeviceID deviceID;
    Exists hardwareRasterization;
    Exists transformAndLighting;
    Exists threeD;       // the Direct3D 8 or 9 capabilities could be read
    Exists fromSibling;  // values were borrowed from a sibling adapter
    Exists twoPartId;    // the driver's INF lists the adapter by vendor and device alone
};

}  // namespace rigel
