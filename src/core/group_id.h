#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// A value identifier (a group in the XML): the text it was written as and its number. Two
// identifiers are equal when their numbers are, whatever their texts.
class GroupID {
  public:
    GroupID() = default;
    // The text is the number in plain decimal.
    explicit GroupID(std::uint32_t number);
    // The text is kept as written; the number is read from it as wcstoul does with base 10 and
    // a 32-bit unsigned long, so that every platform agrees.
    explicit GroupID(std::wstring text);
    GroupID(const GroupID&) = default;
    GroupID(GroupID&&) = default;
    GroupID& operator=(const GroupID&) = default;
    GroupID& operator=(GroupID&&) = default;
    virtual ~GroupID() = default;

    // The text form.
    const std::wstring& GetText() const { return text_; }
    // At most 4294967295.
    std::uint64_t GetNumber() const { return number_; }

    bool operator==(const GroupID& other) const { return number_ == other.number_; }
    bool operator!=(const GroupID& other) const { return number_ != other.number_; }

  private:
    std::wstring text_;
    std::uint64_t number_ = 0;
};

}  // namespace rigel
