#pragma once

#include <cstdint>
#include <string>

#include "os/com_releaser.h"

namespace rigel::os {

// One property as IDxDiagContainer::GetProp delivered it, with its conversion to text
// (VariantChangeType to VT_BSTR) already made.
struct DiagnosticsValue {
    std::uint16_t type = 0;  // VARTYPE
    std::int32_t textStatus = 0;
    std::wstring text;
    std::uint32_t number = 0;  // when type is VT_UI4
};

// The DXDIAG_INIT_PARAMS fields; the reserved pointer is always null.
struct DiagnosticsParameters {
    std::uint32_t size = 0;
    std::uint32_t headerVersion = 0;
    bool allowWhqlChecks = false;
};

// The DirectX diagnostics provider and its container tree, with the thread's COM
// initialisation. HRESULTs are passed up unchanged.
class Diagnostics {
  public:
    static constexpr std::uint16_t kVtBstr = 8;  // VT_BSTR
    static constexpr std::uint16_t kVtUi4 = 19;  // VT_UI4
    static constexpr std::int32_t kOk = 0;       // S_OK
    // S_FALSE and RPC_E_CHANGED_MODE from CoInitialize: the thread was in an apartment already.
    static constexpr std::int32_t kFalse = 1;
    static constexpr std::int32_t kChangedMode = static_cast<std::int32_t>(0x80010106);
    static constexpr std::int32_t kInsufficientBuffer =
        static_cast<std::int32_t>(0x8007007A);  // DXDIAG_E_INSUFFICIENT_BUFFER
    static constexpr std::int32_t kInvalidArgument =
        static_cast<std::int32_t>(0x80070057);  // E_INVALIDARG
    static constexpr std::int32_t kClassNotRegistered =
        static_cast<std::int32_t>(0x80040154);  // REGDB_E_CLASSNOTREG

    virtual ~Diagnostics() = default;

    // CoInitialize / CoUninitialize.
    virtual std::int32_t InitializeCom() = 0;
    virtual void UninitializeCom() = 0;

    // CoCreateInstance of the DxDiagProvider class, in-process, for IDxDiagProvider.
    virtual std::int32_t CreateProvider(ComObject& provider) = 0;
    // IDxDiagProvider::Initialize.
    virtual std::int32_t Initialize(ComObject provider,
                                    const DiagnosticsParameters& parameters) = 0;
    // IDxDiagProvider::GetRootContainer.
    virtual std::int32_t GetRootContainer(ComObject provider, ComObject& root) = 0;
    // IDxDiagContainer::GetChildContainer.
    virtual std::int32_t GetChildContainer(ComObject container, const std::wstring& name,
                                           ComObject& child) = 0;
    // IDxDiagContainer::GetNumberOfChildContainers.
    virtual std::int32_t GetNumberOfChildContainers(ComObject container, std::uint32_t& count) = 0;
    // IDxDiagContainer::EnumChildContainerNames into a buffer of capacity characters.
    virtual std::int32_t EnumChildContainerNames(ComObject container, std::uint32_t index,
                                                 std::uint32_t capacity, std::wstring& name) = 0;
    // IDxDiagContainer::GetNumberOfProps.
    virtual std::int32_t GetNumberOfProps(ComObject container, std::uint32_t& count) = 0;
    // IDxDiagContainer::EnumPropNames into a buffer of capacity characters.
    virtual std::int32_t EnumPropNames(ComObject container, std::uint32_t index,
                                       std::uint32_t capacity, std::wstring& name) = 0;
    // IDxDiagContainer::GetProp (named apart from the window-property macro).
    virtual std::int32_t GetProperty(ComObject container, const std::wstring& name,
                                     DiagnosticsValue& value) = 0;

    // IUnknown::Release.
    virtual void Release(ComObject object) = 0;
};

}  // namespace rigel::os
