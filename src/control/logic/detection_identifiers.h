#pragma once

namespace rigel {

// The identifiers under which the control is registered; they must match the type library
// (detection.idl), which the control test checks.
inline constexpr wchar_t kSysInfoClassID[] = L"{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}";
inline constexpr wchar_t kDetectionLibID[] = L"{BFA93D95-8544-4914-9BDD-4A26817125F1}";
inline constexpr wchar_t kSysInfoInterfaceID[] = L"{092C26A6-C957-4A3C-BB9D-CAF2DDA29142}";
inline constexpr wchar_t kDetectionAppID[] = L"{892519D6-8D23-4203-824D-F8DDBACD29BB}";
inline constexpr wchar_t kSysInfoProgID[] = L"RigelDetection_Test64.SysInfo.1";
inline constexpr wchar_t kSysInfoVersionIndependentProgID[] = L"RigelDetection_Test64.SysInfo";

}  // namespace rigel
