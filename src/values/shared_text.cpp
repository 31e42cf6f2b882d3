#include "values/shared_text.h"

#include <array>

namespace rigel {
namespace {

std::array<std::wstring, SharedText::kSlotCount>& Slots() {
    static std::array<std::wstring, SharedText::kSlotCount> slots;
    return slots;
}

}  // namespace

std::wstring& SharedText::For(Slot slot) { return Slots()[static_cast<std::size_t>(slot)]; }

void SharedText::ClearAll() {
    for (auto& text : Slots()) text.clear();
}

}  // namespace rigel
