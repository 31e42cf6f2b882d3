#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "os/libraries.h"

namespace rigel::test {

// Exports of a wireless display library whose results a test chooses. The functions are real
// code, so the adapter calls them through the addresses the fake library hands out.
struct WiDiExports {
    struct Version {
        std::int32_t status = 0;
        std::int32_t parts[4] = {0, 0, 0, 0};
    };
    struct Value {
        std::int32_t status = 0;
        std::uint32_t value = 0;
    };
    Version widi;
    Version widgit;
    Value platform;
    Value product;

    // The results the exports give; a test sets them before the library is asked.
    static WiDiExports& Chosen() {
        static WiDiExports chosen;
        return chosen;
    }

    // The four exports, optionally without one of them.
    static std::map<std::string, os::ExportAddress> Table(const std::string& without = "") {
        std::map<std::string, os::ExportAddress> table = {
            {"GetPlatform", reinterpret_cast<os::ExportAddress>(&GetPlatform)},
            {"GetProduct", reinterpret_cast<os::ExportAddress>(&GetProduct)},
            {"GetWiDiVersion", reinterpret_cast<os::ExportAddress>(&GetWiDiVersion)},
            {"GetWidgitVersion", reinterpret_cast<os::ExportAddress>(&GetWidgitVersion)},
        };
        table.erase(without);
        return table;
    }

  private:
    static std::int32_t Write(const Version& chosen, std::int32_t* a, std::int32_t* b,
                              std::int32_t* c, std::int32_t* d) {
        *a = chosen.parts[0];
        *b = chosen.parts[1];
        *c = chosen.parts[2];
        *d = chosen.parts[3];
        return chosen.status;
    }
    static std::int32_t Write(const Value& chosen, std::uint32_t* value) {
        *value = chosen.value;
        return chosen.status;
    }
    static std::int32_t GetWiDiVersion(std::int32_t* a, std::int32_t* b, std::int32_t* c,
                                       std::int32_t* d) {
        return Write(Chosen().widi, a, b, c, d);
    }
    static std::int32_t GetWidgitVersion(std::int32_t* a, std::int32_t* b, std::int32_t* c,
                                         std::int32_t* d) {
        return Write(Chosen().widgit, a, b, c, d);
    }
    static std::int32_t GetPlatform(std::uint32_t* value) {
        return Write(Chosen().platform, value);
    }
    static std::int32_t GetProduct(std::uint32_t* value) { return Write(Chosen().product, value); }
};

}  // namespace rigel::test
