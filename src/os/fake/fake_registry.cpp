#include "os/fake/fake_registry.h"

#include <algorithm>

namespace rigel::os {
namespace {

std::wstring Lower(const std::wstring& text) {
    std::wstring lower = text;
    // Registry names in tests are ASCII.
    std::transform(lower.begin(), lower.end(), lower.begin(), [](wchar_t c) {
        return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    });
    return lower;
}

// The path's parts; empty parts (a leading, doubled or trailing backslash) are skipped.
std::vector<std::wstring> Parts(const std::wstring& path) {
    std::vector<std::wstring> parts;
    std::wstring part;
    for (wchar_t c : path) {
        if (c == L'\\') {
            if (!part.empty()) parts.push_back(part);
            part.clear();
        } else {
            part += c;
        }
    }
    if (!part.empty()) parts.push_back(part);
    return parts;
}

}  // namespace

FakeRegistry::FakeRegistry() = default;
FakeRegistry::~FakeRegistry() = default;

std::vector<std::uint8_t> FakeRegistry::Utf16(const std::wstring& text) {
    std::vector<std::uint8_t> bytes;
    for (wchar_t c : text) {
        const auto unit = static_cast<std::uint32_t>(c);
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>((unit >> 8) & 0xFF));
    }
    return bytes;
}

FakeRegistry::Node* FakeRegistry::RootNode(HKey root) {
    auto open = open_.find(root);
    if (open != open_.end()) return open->second;
    auto& node = roots_[root];
    if (!node) node = std::make_unique<Node>();
    return node.get();
}

FakeRegistry::Node* FakeRegistry::Find(Node* from, const std::wstring& path, bool create) {
    Node* node = from;
    for (const auto& part : Parts(path)) {
        const std::wstring lower = Lower(part);
        auto child = std::find_if(node->children.begin(), node->children.end(),
                                  [&](const auto& c) { return Lower(c->name) == lower; });
        if (child != node->children.end()) {
            node = child->get();
            continue;
        }
        if (!create) return nullptr;
        auto made = std::make_unique<Node>();
        made->name = part;
        made->path = node->path.empty() ? part : node->path + L"\\" + part;
        node->children.push_back(std::move(made));
        node = node->children.back().get();
    }
    return node;
}

FakeRegistry::Node* FakeRegistry::Make(HKey root, const std::wstring& path) {
    return Find(RootNode(root), path, true);
}

void FakeRegistry::AddKey(HKey root, const std::wstring& path) { Make(root, path); }

void FakeRegistry::SetValue(HKey root, const std::wstring& path, const std::wstring& name,
                            std::uint32_t type, std::vector<std::uint8_t> data) {
    Value& value = Make(root, path)->values[Lower(name)];
    value.exists = true;
    value.type = type;
    value.data = std::move(data);
}

void FakeRegistry::SetString(HKey root, const std::wstring& path, const std::wstring& name,
                             const std::wstring& text, std::uint32_t type) {
    SetValue(root, path, name, type, Utf16(text + L'\0'));
}

void FakeRegistry::SetDword(HKey root, const std::wstring& path, const std::wstring& name,
                            std::uint32_t value) {
    SetValue(root, path, name, kDword,
             {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
              static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)});
}

void FakeRegistry::FailOpen(HKey root, const std::wstring& path, std::uint32_t access,
                            std::int32_t status) {
    Make(root, path)->openFailures[access] = status;
}

void FakeRegistry::FailQuery(HKey root, const std::wstring& path, const std::wstring& name,
                             std::int32_t status) {
    Make(root, path)->values[Lower(name)].failure = status;
}

std::int32_t FakeRegistry::OpenKey(HKey root, const std::wstring& subkey, std::uint32_t access,
                                   HKey& key) {
    key = 0;
    Node* from = RootNode(root);
    Node* node = Find(from, subkey, false);
    opens.emplace_back(node != nullptr ? node->path : subkey, access);
    if (node == nullptr) return kFileNotFound;
    auto failure = node->openFailures.find(access);
    if (failure != node->openFailures.end()) return failure->second;
    key = nextHandle_++;
    open_[key] = node;
    return kSuccess;
}

std::int32_t FakeRegistry::QueryValue(HKey key, const std::wstring& name, std::uint32_t& type,
                                      std::uint8_t* data, std::uint32_t& size) {
    auto open = open_.find(key);
    if (open == open_.end()) return kInvalidHandle;
    auto found = open->second->values.find(Lower(name));
    if (found == open->second->values.end()) return kFileNotFound;
    const Value& value = found->second;
    if (value.failure != kSuccess) return value.failure;
    if (!value.exists) return kFileNotFound;
    type = value.type;
    const auto length = static_cast<std::uint32_t>(value.data.size());
    const std::uint32_t room = size;
    size = length;
    if (data == nullptr) return kSuccess;
    if (room < length) return kMoreData;
    std::copy(value.data.begin(), value.data.end(), data);
    return kSuccess;
}

std::int32_t FakeRegistry::EnumKey(HKey key, std::uint32_t index, std::uint32_t capacity,
                                   std::wstring& name) {
    auto open = open_.find(key);
    if (open == open_.end()) return kInvalidHandle;
    const auto& children = open->second->children;
    if (index >= children.size()) return kNoMoreItems;
    const std::wstring& child = children[index]->name;
    if (child.size() + 1 > capacity) return kMoreData;
    name = child;
    return kSuccess;
}

std::int32_t FakeRegistry::CloseKey(HKey key) {
    return open_.erase(key) == 1 ? kSuccess : kInvalidHandle;
}

}  // namespace rigel::os
