#pragma once

#include <string>

#include <boost/noncopyable.hpp>

namespace rigel {

// Base of every data source: one object per process, neither copied nor assigned.
class Source : private boost::noncopyable {
  public:
    Source() = default;
    virtual ~Source() = default;

  protected:
    std::wstring sourceName_;
};

}  // namespace rigel
