#include "os/fake/fake_wmi.h"

#include <algorithm>

namespace rigel::os {
namespace {

constexpr std::int32_t kFailed = static_cast<std::int32_t>(0x80041001);  // WBEM_E_FAILED
constexpr std::int32_t kInvalidParameter = static_cast<std::int32_t>(0x80041008);
constexpr std::int32_t kInvalidClass = static_cast<std::int32_t>(0x80041010);

// Class and property names are ASCII.
wchar_t Lower(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool SameText(const std::wstring& a, const std::wstring& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(),
                      [](wchar_t x, wchar_t y) { return Lower(x) == Lower(y); });
}

// The class of "SELECT * FROM <class>"; empty for any other text.
std::wstring ClassOf(const std::wstring& query) {
    const std::wstring prefix = L"SELECT * FROM ";
    if (query.size() <= prefix.size() || !SameText(query.substr(0, prefix.size()), prefix)) {
        return std::wstring();
    }
    return query.substr(prefix.size());
}

}  // namespace

WmiValue FakeWmi::Text(const std::wstring& text) {
    WmiValue value;
    value.cimType = kCimString;
    value.text = text;
    const bool digits =
        !text.empty() && text.size() <= 9 &&
        std::all_of(text.begin(), text.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    value.numberStatus = digits ? kOk : kTypeMismatch;
    value.number = digits ? static_cast<std::uint32_t>(std::stoul(text)) : 0;
    return value;
}

WmiValue FakeWmi::Unsigned(std::uint32_t number) {
    WmiValue value;
    value.cimType = kCimUint32;
    value.text = std::to_wstring(number);
    value.number = number;
    return value;
}

WmiValue FakeWmi::Null(std::int32_t cimType) {
    WmiValue value;
    value.cimType = cimType;
    value.isNull = true;
    value.textStatus = kTypeMismatch;
    value.numberStatus = kTypeMismatch;
    return value;
}

WmiValue FakeWmi::Unconvertible(std::int32_t cimType) {
    WmiValue value;
    value.cimType = cimType;
    value.textStatus = kTypeMismatch;
    value.numberStatus = kTypeMismatch;
    return value;
}

WmiObject FakeWmi::Add(Object object) {
    const WmiObject handle = nextHandle_++;
    objects_[handle] = std::move(object);
    return handle;
}

const FakeWmi::Object* FakeWmi::Get(WmiObject handle, Kind kind) const {
    auto found = objects_.find(handle);
    return found != objects_.end() && found->second.kind == kind ? &found->second : nullptr;
}

std::int32_t FakeWmi::CreateLocator(WmiObject& locator) {
    locator = 0;
    if (createLocatorStatus < 0) return createLocatorStatus;
    locator = Add(Object{Kind::kLocator, {}, 0});
    return kOk;
}

std::int32_t FakeWmi::ConnectServer(WmiObject locator, const std::wstring& name,
                                    WmiObject& services) {
    services = 0;
    if (Get(locator, Kind::kLocator) == nullptr) return kInvalidParameter;
    nameSpace = name;
    if (connectStatus < 0) return connectStatus;
    services = Add(Object{Kind::kServices, {}, 0});
    return kOk;
}

std::int32_t FakeWmi::SetProxyBlanket(WmiObject services, const ProxyBlanket& chosen) {
    if (Get(services, Kind::kServices) == nullptr) return kInvalidParameter;
    blanket = chosen;
    return blanketStatus;
}

std::int32_t FakeWmi::ExecQuery(WmiObject services, const std::wstring& language,
                                const std::wstring& query, std::int32_t flags,
                                WmiObject& enumerator) {
    enumerator = 0;
    if (Get(services, Kind::kServices) == nullptr) return kInvalidParameter;
    queries.push_back(Query{language, query, flags});
    if (whileQuerying) whileQuerying();
    const std::wstring className = ClassOf(query);
    auto status = queryStatus.find(className);
    if (status != queryStatus.end() && status->second < 0) return status->second;
    if (className.empty()) return kInvalidClass;
    enumerator = Add(Object{Kind::kEnumerator, className, 0});
    return kOk;
}

std::int32_t FakeWmi::Next(WmiObject enumerator, std::uint32_t timeout, std::uint32_t count,
                           std::vector<WmiObject>& rows) {
    rows.clear();
    auto found = objects_.find(enumerator);
    if (found == objects_.end() || found->second.kind != Kind::kEnumerator) return kFailed;
    nextCalls.push_back(NextCall{timeout, count});
    Object& cursor = found->second;
    auto status = nextStatus.find(cursor.className);
    if (status != nextStatus.end()) return status->second;
    const auto& table = tables[cursor.className];
    while (rows.size() < count && cursor.position < table.size()) {
        rows.push_back(Add(Object{Kind::kRow, cursor.className, cursor.position++}));
    }
    return rows.size() == count ? kOk : kFalse;
}

std::int32_t FakeWmi::GetProperty(WmiObject row, const std::wstring& name, WmiValue& value) {
    value = WmiValue{};
    const Object* object = Get(row, Kind::kRow);
    if (object == nullptr) return kInvalidParameter;
    const Row& properties = tables[object->className].at(object->position);
    for (const auto& [property, stored] : properties) {
        if (SameText(property, name)) {
            value = stored;
            return kOk;
        }
    }
    return kNotFound;
}

void FakeWmi::Release(WmiObject object) { objects_.erase(object); }

}  // namespace rigel::os
