#pragma once

#include <string>

#include "values/device_id.h"
#include "values/exists.h"
#include "values/name.h"
#include "values/size.h"
#include "values/version.h"

namespace rigel {

// One graphics adapter as one source sees it. The versions start as "0.0", every other field
// empty, zero or false.
struct GpuInfo {
    Name name;               // adapter description
    Name chipset;            // chip type
    Name driver;             // driver description
    Name dac;                // DAC type
    Version directXVersion;  // the feature level the adapter reaches
    Version driverVersion;
    Version pixelShader;
    Version vertexShader;
    Size dedicatedRam;
    Size sharedRam;  // shared system memory
    Size totalRam;
    DeviceID deviceID;
    Exists hardwareRasterization;
    Exists transformAndLighting;
    Exists threeD;       // the Direct3D 8 or 9 capabilities could be read
    Exists fromSibling;  // set by the GPU merge when values came from a sibling adapter
    Exists twoPartId;    // the driver's INF lists the adapter by vendor and device alone
};

// Writes the heading and one line per field at TRACE, when TRACE is enabled.
void LogGpuInfo(const GpuInfo& record, const std::wstring& heading);

}  // namespace rigel
