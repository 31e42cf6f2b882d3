#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace rigel {

// The page's parameter tags (the property bag of the control) and the properties they stand for.
class ParameterTags {
  public:
    struct Tag {
        const wchar_t* key;
        std::int32_t dispid;
    };
    using Tags = std::array<Tag, 5>;

    // Reads a tag's text; false when the bag does not hold it.
    using Reader = std::function<bool(const std::wstring& key, std::wstring& text)>;
    // Applies a text to the property with the given dispatch identifier.
    using Applier = std::function<void(std::int32_t dispid, const std::wstring& text)>;

    // Logging comes first, so that applying the other tags is logged at the page's level.
    static const Tags& LoadOrder();
    static const Tags& SaveOrder();

    // Reads every tag in load order and applies those the bag holds, empty texts included.
    static void Load(const Reader& read, const Applier& apply);
};

}  // namespace rigel
