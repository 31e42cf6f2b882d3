#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "os/wmi.h"

namespace rigel::os {

// WMI tables in memory: rows of named properties per class, answered to "SELECT * FROM <class>".
// Property names match without regard to case, as in WMI. Every step can be made to fail, every
// call is recorded, and the objects handed out are counted until they are released.
class FakeWmi : public Wmi {
  public:
    // A row: property name to value.
    using Row = std::map<std::wstring, WmiValue>;

    // Values as the adapter delivers them for the common types.
    static WmiValue Text(const std::wstring& text);
    static WmiValue Unsigned(std::uint32_t number);
    static WmiValue Null(std::int32_t cimType);
    // A value of a type that converts neither to text nor to a number (an array, for example).
    static WmiValue Unconvertible(std::int32_t cimType);

    std::map<std::wstring, std::vector<Row>> tables;  // by class name

    std::int32_t createLocatorStatus = kOk;
    std::int32_t connectStatus = kOk;
    std::int32_t blanketStatus = kOk;
    std::map<std::wstring, std::int32_t> queryStatus;  // by class name
    std::map<std::wstring, std::int32_t> nextStatus;   // by class name, instead of the rows
    // Called by each query before it answers, on the querying thread.
    std::function<void()> whileQuerying;

    // What was asked.
    std::wstring nameSpace;
    ProxyBlanket blanket;
    struct Query {
        std::wstring language;
        std::wstring text;
        std::int32_t flags = 0;
    };
    std::vector<Query> queries;
    struct NextCall {
        std::uint32_t timeout = 0;
        std::uint32_t count = 0;
    };
    std::vector<NextCall> nextCalls;

    // Objects handed out and not released yet.
    std::size_t LiveObjectCount() const { return objects_.size(); }

    std::int32_t CreateLocator(WmiObject& locator) override;
    std::int32_t ConnectServer(WmiObject locator, const std::wstring& name,
                               WmiObject& services) override;
    std::int32_t SetProxyBlanket(WmiObject services, const ProxyBlanket& chosen) override;
    std::int32_t ExecQuery(WmiObject services, const std::wstring& language,
                           const std::wstring& query, std::int32_t flags,
                           WmiObject& enumerator) override;
    std::int32_t Next(WmiObject enumerator, std::uint32_t timeout, std::uint32_t count,
                      std::vector<WmiObject>& rows) override;
    std::int32_t GetProperty(WmiObject row, const std::wstring& name, WmiValue& value) override;
    void Release(WmiObject object) override;

  private:
    enum class Kind { kLocator, kServices, kEnumerator, kRow };
    struct Object {
        Kind kind = Kind::kLocator;
        std::wstring className;
        std::size_t position = 0;  // the enumerator's next row, or the row's index
    };

    WmiObject Add(Object object);
    const Object* Get(WmiObject handle, Kind kind) const;

    std::map<WmiObject, Object> objects_;
    WmiObject nextHandle_ = 1;
};

}  // namespace rigel::os
