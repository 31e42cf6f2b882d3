#pragma once

#include <cstdint>

#include <boost/noncopyable.hpp>

#include "core/group_id.h"
#include "values/value.h"

namespace rigel {

// A detector: finds facts about the machine and stores each as a value of the session's store.
class Component : private boost::noncopyable {
  public:
    virtual ~Component() = default;
    // Runs the detector. Every component returns true; the registry ignores the result.
    virtual bool Detect() = 0;
    virtual void Initialize() {}

  protected:
    // Stores the value's current text under (group, index), replacing an earlier one.
    static void AddValue(const GroupID& group, Value& value, std::uint32_t index = 0);
};

}  // namespace rigel
