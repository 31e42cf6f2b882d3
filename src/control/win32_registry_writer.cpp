#include "control/win32_registry_writer.h"

#include <windows.h>

#include "control/registry_key_closer.h"

namespace rigel {
namespace {

HKEY RootKey(RegistryWriter::Root root) {
    return root == RegistryWriter::Root::kCurrentUser ? HKEY_CURRENT_USER : HKEY_CLASSES_ROOT;
}

std::int32_t OpenKey(RegistryWriter::Root root, const std::wstring& path, REGSAM access,
                     UniqueRegistryKey& key) {
    HKEY opened = nullptr;
    const LONG result = RegOpenKeyExW(RootKey(root), path.c_str(), 0, access, &opened);
    key = UniqueRegistryKey(opened, RegistryKeyCloser{});
    return result;
}

}  // namespace

std::int32_t Win32RegistryWriter::CreateKey(Root root, const std::wstring& path) {
    HKEY created = nullptr;
    const LONG result = RegCreateKeyExW(RootKey(root), path.c_str(), 0, nullptr, 0, KEY_WRITE,
                                        nullptr, &created, nullptr);
    UniqueRegistryKey key(created, RegistryKeyCloser{});
    return result;
}

std::int32_t Win32RegistryWriter::SetString(Root root, const std::wstring& path,
                                            const std::wstring& name, const std::wstring& value) {
    UniqueRegistryKey key(nullptr, RegistryKeyCloser{});
    const std::int32_t opened = OpenKey(root, path, KEY_SET_VALUE, key);
    if (opened != ERROR_SUCCESS) return opened;
    const DWORD bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    return RegSetValueExW(key.get(), name.c_str(), 0, REG_SZ,
                          reinterpret_cast<const BYTE*>(value.c_str()), bytes);
}

std::int32_t Win32RegistryWriter::DeleteValue(Root root, const std::wstring& path,
                                              const std::wstring& name) {
    UniqueRegistryKey key(nullptr, RegistryKeyCloser{});
    const std::int32_t opened = OpenKey(root, path, KEY_SET_VALUE, key);
    if (opened != ERROR_SUCCESS) return opened;
    return RegDeleteValueW(key.get(), name.c_str());
}

std::int32_t Win32RegistryWriter::DeleteKey(Root root, const std::wstring& path) {
    return RegDeleteKeyW(RootKey(root), path.c_str());
}

std::int32_t Win32RegistryWriter::DeleteTree(Root root, const std::wstring& path) {
    return RegDeleteTreeW(RootKey(root), path.c_str());
}

bool Win32RegistryWriter::HasSubkeys(Root root, const std::wstring& path) {
    UniqueRegistryKey key(nullptr, RegistryKeyCloser{});
    if (OpenKey(root, path, KEY_READ, key) != ERROR_SUCCESS) return false;
    DWORD subkeys = 0;
    if (RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr,
                         nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
        return false;
    }
    return subkeys > 0;
}

}  // namespace rigel
