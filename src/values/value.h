#pragma once

namespace rigel {

// A detected datum. Its text form is what the value store and the report hold; the pointer stays
// valid until the next ToString of the same class or until the object changes or dies.
class Value {
  public:
    virtual ~Value() = default;
    virtual const wchar_t* ToString() = 0;

  protected:
    Value() = default;
    Value(const Value&) = default;
    Value& operator=(const Value&) = default;
};

}  // namespace rigel
