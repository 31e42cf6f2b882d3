#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "control/logic/registry_writer.h"

namespace rigel::test {

// An in-memory registry for the registration walk: keys with string values, every call
// recorded, and one call that can be made to fail.
class FakeRegistry : public RegistryWriter {
  public:
    using Root = RegistryWriter::Root;
    using Values = std::map<std::wstring, std::wstring>;
    using Keys = std::map<std::pair<Root, std::wstring>, Values>;

    // Windows' answer to deleting a key that still has subkeys.
    static constexpr std::int32_t kAccessDenied = 5;

    std::int32_t CreateKey(Root root, const std::wstring& path) override {
        if (const auto failure = Fail(L"CreateKey", root, path)) return *failure;
        for (std::size_t end = path.find(L'\\'); end != std::wstring::npos;
             end = path.find(L'\\', end + 1)) {
            keys[{root, path.substr(0, end)}];
        }
        keys[{root, path}];
        return kSuccess;
    }

    std::int32_t SetString(Root root, const std::wstring& path, const std::wstring& name,
                           const std::wstring& value) override {
        if (const auto failure = Fail(L"SetString", root, path + L"|" + name)) return *failure;
        const auto key = keys.find({root, path});
        if (key == keys.end()) return kFileNotFound;
        key->second[name] = value;
        return kSuccess;
    }

    std::int32_t DeleteValue(Root root, const std::wstring& path,
                             const std::wstring& name) override {
        if (const auto failure = Fail(L"DeleteValue", root, path + L"|" + name)) return *failure;
        const auto key = keys.find({root, path});
        if (key == keys.end() || key->second.erase(name) == 0) return kFileNotFound;
        return kSuccess;
    }

    std::int32_t DeleteKey(Root root, const std::wstring& path) override {
        if (const auto failure = Fail(L"DeleteKey", root, path)) return *failure;
        if (keys.count({root, path}) == 0) return kFileNotFound;
        if (AnyBelow(root, path)) return kAccessDenied;
        keys.erase({root, path});
        return kSuccess;
    }

    std::int32_t DeleteTree(Root root, const std::wstring& path) override {
        if (const auto failure = Fail(L"DeleteTree", root, path)) return *failure;
        if (keys.count({root, path}) == 0) return kFileNotFound;
        for (auto key = keys.begin(); key != keys.end();) {
            key = key->first == Keys::key_type{root, path} || IsBelow(key->first, root, path)
                      ? keys.erase(key)
                      : std::next(key);
        }
        return kSuccess;
    }

    bool HasSubkeys(Root root, const std::wstring& path) override {
        calls.push_back(Describe(L"HasSubkeys", root, path));
        return AnyBelow(root, path);
    }

    // The keys at these paths below the classes root, with their values.
    static Keys ClassesKeys(const std::vector<std::pair<std::wstring, Values>>& keys) {
        Keys result;
        for (const auto& [path, values] : keys) result[{Root::kClassesRoot, path}] = values;
        return result;
    }

    // Makes the call with this description (see Describe) return error.
    void FailOn(std::wstring call, std::int32_t error) {
        failingCall_ = std::move(call);
        failure_ = error;
    }

    // "CreateKey HKCR\path", "SetString HKCU\path|name", ...
    static std::wstring Describe(const wchar_t* call, Root root, const std::wstring& what) {
        return std::wstring(call) + (root == Root::kClassesRoot ? L" HKCR\\" : L" HKCU\\") + what;
    }

    Keys keys;
    std::vector<std::wstring> calls;

  private:
    static bool IsBelow(const Keys::key_type& key, Root root, const std::wstring& path) {
        return key.first == root && key.second.compare(0, path.size() + 1, path + L"\\") == 0;
    }
    bool AnyBelow(Root root, const std::wstring& path) const {
        return std::any_of(keys.begin(), keys.end(),
                           [&](const auto& key) { return IsBelow(key.first, root, path); });
    }

    // The error to return when this call is the failing one; records the call either way.
    const std::int32_t* Fail(const wchar_t* call, Root root, const std::wstring& what) {
        calls.push_back(Describe(call, root, what));
        return calls.back() == failingCall_ ? &failure_ : nullptr;
    }

    std::wstring failingCall_;
    std::int32_t failure_ = kSuccess;
};

}  // namespace rigel::test
