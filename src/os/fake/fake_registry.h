#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "os/registry.h"

namespace rigel::os {

// A registry tree in memory. Key paths and value names match without regard to case, as in
// Windows; subkeys enumerate in the order they were made. Any open or query can be made to fail
// with a chosen status. Handles are numbered from 1 and never reused.
class FakeRegistry : public Registry {
  public:
    FakeRegistry();
    ~FakeRegistry() override;

    // Makes the key and every missing parent below the root.
    void AddKey(HKey root, const std::wstring& path);
    void SetValue(HKey root, const std::wstring& path, const std::wstring& name, std::uint32_t type,
                  std::vector<std::uint8_t> data);
    // The text as UTF-16 with its terminator.
    void SetString(HKey root, const std::wstring& path, const std::wstring& name,
                   const std::wstring& text, std::uint32_t type = kString);
    void SetDword(HKey root, const std::wstring& path, const std::wstring& name,
                  std::uint32_t value);

    // Opening the key with exactly this access gives the status.
    void FailOpen(HKey root, const std::wstring& path, std::uint32_t access, std::int32_t status);
    // Every query of the value gives the status.
    void FailQuery(HKey root, const std::wstring& path, const std::wstring& name,
                   std::int32_t status);

    // Keys opened and not closed yet.
    std::size_t OpenKeyCount() const { return open_.size(); }
    // Every successful or failed open: the full path and the access asked for.
    std::vector<std::pair<std::wstring, std::uint32_t>> opens;

    // UTF-16 little-endian bytes of a text, without a terminator.
    static std::vector<std::uint8_t> Utf16(const std::wstring& text);

    std::int32_t OpenKey(HKey root, const std::wstring& subkey, std::uint32_t access,
                         HKey& key) override;
    std::int32_t QueryValue(HKey key, const std::wstring& name, std::uint32_t& type,
                            std::uint8_t* data, std::uint32_t& size) override;
    std::int32_t EnumKey(HKey key, std::uint32_t index, std::uint32_t capacity,
                         std::wstring& name) override;
    std::int32_t CloseKey(HKey key) override;

  private:
    struct Value {
        bool exists = false;
        std::uint32_t type = kNone;
        std::vector<std::uint8_t> data;
        std::int32_t failure = kSuccess;
    };
    struct Node {
        std::wstring name;
        std::wstring path;                     // from the root, as first written
        std::map<std::wstring, Value> values;  // by lower-cased name
        std::vector<std::unique_ptr<Node>> children;
        std::map<std::uint32_t, std::int32_t> openFailures;  // by access
    };

    Node* RootNode(HKey root);
    Node* Find(Node* from, const std::wstring& path, bool create);
    Node* Make(HKey root, const std::wstring& path);

    std::map<HKey, std::unique_ptr<Node>> roots_;
    std::map<HKey, Node*> open_;
    HKey nextHandle_ = 1;
};

}  // namespace rigel::os
