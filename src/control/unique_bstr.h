#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string>
#include <utility>

namespace rigel {

// Owns one BSTR and frees it when it goes out of scope.
class UniqueBstr {
  public:
    UniqueBstr() = default;
    explicit UniqueBstr(const std::wstring& text)
        : bstr_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~UniqueBstr() { SysFreeString(bstr_); }

    UniqueBstr(const UniqueBstr&) = delete;
    UniqueBstr& operator=(const UniqueBstr&) = delete;
    UniqueBstr(UniqueBstr&& other) noexcept : bstr_(other.release()) {}
    UniqueBstr& operator=(UniqueBstr&& other) noexcept {
        if (this != &other) {
            SysFreeString(bstr_);
            bstr_ = other.release();
        }
        return *this;
    }

    BSTR get() const { return bstr_; }
    // Frees the current string and hands out the slot for an output parameter.
    BSTR* out() {
        SysFreeString(std::exchange(bstr_, nullptr));
        return &bstr_;
    }
    BSTR release() { return std::exchange(bstr_, nullptr); }

    // The text of a BSTR, embedded nulls included; a null BSTR is the empty text.
    static std::wstring Text(BSTR bstr) {
        return bstr == nullptr ? std::wstring() : std::wstring(bstr, SysStringLen(bstr));
    }

  private:
    BSTR bstr_ = nullptr;
};

}  // namespace rigel
