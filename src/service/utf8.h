#pragma once

#include <string>

namespace rigel {

// UTF-8 for the wire. Wide texts are UTF-16 where wchar_t has 16 bits (surrogate pairs are
// combined and emitted) and code points where it has 32. Nothing is rejected: what cannot be
// converted becomes U+FFFD.
class Utf8 {
  public:
    // A lone surrogate or a value beyond U+10FFFF is encoded as U+FFFD.
    static std::string Encode(const std::wstring& text);

    // Each maximal ill-formed subsequence (a stray byte, a truncated or overlong sequence, an
    // encoded surrogate) decodes to one U+FFFD.
    static std::wstring Decode(const std::string& bytes);
};

}  // namespace rigel
