#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "core/exception.h"
#include "core/system_value.h"
#include "core/system_value_id.h"
#include "core/value_index.h"

namespace rigel {

class Name;
class Value;

// The store of detected values: one text per identifier, kept in the order in which each
// identifier was first added; adding an identifier again replaces its text in place.
class SystemValues {
  public:
    // The lookups whose failures are reported with their own message and place.
    enum class Lookup { kExists, kReplaceValue, kTryGetValue };

    SystemValues() = default;
    SystemValues(const SystemValues&) = default;
    SystemValues& operator=(const SystemValues&) = default;
    virtual ~SystemValues() = default;

    // Taken by value so that a temporary moves into the store instead of being copied.
    void AddValue(SystemValue value);
    void AddValue(std::uint32_t number, const std::wstring& text);
    void AddValue(std::uint32_t number, const Name& name);
    void AddValue(std::uint32_t number, Value& value);
    void AddValue(std::uint32_t number, std::uint32_t index, Value& value);
    void AddValue(std::uint32_t number, std::uint32_t index, const std::wstring& text);
    // A null pointer counts as an empty text.
    void AddValue(std::uint32_t number, const wchar_t* text);

    bool Exists(const SystemValueID& id) const;
    // Copies the value over the entry with the same identifier; false when there is none.
    bool ReplaceValue(const SystemValue& value);
    // Leaves out unchanged when there is no entry with the identifier.
    bool TryGetValue(const SystemValueID& id, SystemValue& out) const;
    // Throws rigel::Exception when there is no entry with the identifier.
    SystemValue GetValue(const SystemValueID& id) const;

    bool IsIntelCPU() const;

    // Reads a groups configuration (the shape of the XML report) and adds each value in it.
    // Malformed text never fails: the scan stops at the first missing group and keeps what it
    // added so far.
    void AddValues(const std::wstring& configuration);

    // The entries in first-insertion order.
    const std::vector<SystemValue>& Values() const { return values_; }

    // Runs a lookup and turns a standard exception out of it into rigel::Exception with the
    // lookup's message and place.
    template <typename Search>
    static auto Guarded(Lookup lookup, const SystemValueID& id, Search&& search)
        -> decltype(search()) {
        try {
            return search();
        } catch (const std::exception& failure) {
            throw LookupFailure(lookup, id, failure);
        }
    }

  private:
    static Exception LookupFailure(Lookup lookup, const SystemValueID& id,
                                   const std::exception& failure);

    // Position of the entry with the identifier in values_, or values_.size() when there is
    // none.
    std::size_t Find(const SystemValueID& id) const;

    std::vector<SystemValue> values_;
    ValueIndex index_;
};

}  // namespace rigel
