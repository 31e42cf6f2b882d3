#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "detect/platform/intel_driver.h"
#include "os/fake/fake_device_io.h"

namespace rigel::test {

// A kernel driver as the client expects it, answering the four I/O controls from its fields in
// either buffer layout: the block itself in and out, or the block's address in an 8-byte input
// that the driver writes through. A config read with words it does not know fails.
struct DriverStub {
    using Words = std::array<std::uint32_t, 6>;  // w0, w2, w3, w4, w5, w6

    std::uint64_t msr17 = 0;
    std::uint64_t value = 0;
    std::map<Words, std::pair<std::uint32_t, std::uint32_t>> configs;  // to out1, out2
    std::map<std::uint64_t, std::string> memory;                       // address to text

    void Install(os::FakeDeviceIo& io, const std::wstring& path, bool inlineLayout) const {
        io.AddDevice(path);
        const DriverStub stub = *this;
        const auto answer = [inlineLayout](auto work) {
            os::FakeDeviceIo::Reply reply;
            reply.responder = [inlineLayout, work](const std::vector<std::uint8_t>& in) {
                std::vector<std::uint8_t> copy = in;
                std::uint8_t* block = copy.data();
                if (!inlineLayout) {
                    std::uint64_t address = 0;
                    std::memcpy(&address, in.data(), sizeof(address));
                    block = reinterpret_cast<std::uint8_t*>(static_cast<std::uintptr_t>(address));
                }
                os::FakeDeviceIo::Reply out;
                if (!work(block)) out.error = 1;
                if (inlineLayout) out.bytes = copy;
                return out;
            };
            return reply;
        };
        io.SetReply(path, IntelDriver::kReadMsrCode, answer([stub](std::uint8_t* block) {
                        std::uint32_t index = 0;
                        std::memcpy(&index, block, 4);
                        if (index != 0x17) return false;
                        std::memcpy(block + 4, &stub.msr17, 8);
                        return true;
                    }));
        io.SetReply(path, IntelDriver::kReadValueCode,
                    answer([stub, inlineLayout](std::uint8_t* block) {
                        std::memcpy(block, &stub.value, inlineLayout ? 8 : 4);
                        return true;
                    }));
        io.SetReply(path, IntelDriver::kReadConfigCode, answer([stub](std::uint8_t* block) {
                        std::uint32_t w[8] = {};
                        std::memcpy(w, block, sizeof(w));
                        auto found = stub.configs.find({w[0], w[2], w[3], w[4], w[5], w[6]});
                        if (found == stub.configs.end()) return false;
                        std::memcpy(block + 4, &found->second.first, 4);
                        std::memcpy(block + 28, &found->second.second, 4);
                        return true;
                    }));
        io.SetReply(path, IntelDriver::kReadMemoryCode, answer([stub](std::uint8_t* block) {
                        std::uint64_t address = 0;
                        std::memcpy(&address, block, 8);
                        auto found = stub.memory.find(address);
                        if (found == stub.memory.end()) return false;
                        std::memcpy(block + 8, found->second.data(),
                                    std::min<std::size_t>(found->second.size(), 24));
                        return true;
                    }));
    }
};

}  // namespace rigel::test
