#pragma once

#include <windows.h>

#include <oleauto.h>

namespace rigel {

// Owns one VARIANT and clears it when it goes out of scope.
class UniqueVariant {
  public:
    UniqueVariant() { VariantInit(&variant_); }
    ~UniqueVariant() { VariantClear(&variant_); }
    UniqueVariant(const UniqueVariant&) = delete;
    UniqueVariant& operator=(const UniqueVariant&) = delete;

    VARIANT* get() { return &variant_; }
    const VARIANT* get() const { return &variant_; }

  private:
    VARIANT variant_;
};

}  // namespace rigel
