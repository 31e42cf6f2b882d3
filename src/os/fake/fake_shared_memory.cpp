#include "os/fake/fake_shared_memory.h"

#include <algorithm>

namespace rigel::os {

bool FakeSharedMemory::Write(const std::wstring& name, std::size_t offset,
                             const std::vector<std::uint8_t>& bytes) {
    auto found = named_.find(name);
    const Block block = found != named_.end() ? found->second.lock() : nullptr;
    if (!block || offset > block->size() || bytes.size() > block->size() - offset) return false;
    std::copy(bytes.begin(), bytes.end(), block->begin() + static_cast<std::ptrdiff_t>(offset));
    return true;
}

bool FakeSharedMemory::WriteText(const std::wstring& name, const std::wstring& text) {
    std::vector<std::uint8_t> bytes;
    for (wchar_t unit : text) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>((unit >> 8) & 0xFF));
    }
    bytes.insert(bytes.end(), {0, 0});
    return Write(name, 0, bytes);
}

bool FakeSharedMemory::Create(const std::wstring& name, std::uint32_t, std::uint32_t size,
                              HMapping& mapping, std::uint32_t& error) {
    mapping = 0;
    if (createError != 0) {
        error = createError;
        return false;
    }
    Block block;
    auto found = named_.find(name);
    if (!name.empty() && found != named_.end()) block = found->second.lock();
    error = block ? kErrorAlreadyExists : 0;
    if (!block) {
        block = std::make_shared<std::vector<std::uint8_t>>(size, 0);
        if (!name.empty()) named_[name] = block;
    }
    mapping = nextHandle_++;
    mappings_[mapping] = block;
    return true;
}

void* FakeSharedMemory::Map(HMapping mapping, std::uint32_t, std::size_t size) {
    auto found = mappings_.find(mapping);
    if (mapFails || found == mappings_.end() || size > found->second->size()) return nullptr;
    // One view per block is all the client needs; a second view of the same block shares it.
    void* view = found->second->data();
    views_[view] = found->second;
    return view;
}

void FakeSharedMemory::Unmap(void* view) { views_.erase(view); }

void FakeSharedMemory::Close(HMapping mapping) { mappings_.erase(mapping); }

}  // namespace rigel::os
