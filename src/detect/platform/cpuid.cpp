#include "detect/platform/cpuid.h"

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <sstream>

#include "diag/log.h"
#include "os/services.h"

namespace rigel {
namespace {

constexpr std::uint32_t kExtendedLeaves = 0x80000000;
// The leaf-2 descriptor for "no second-level cache, or no third-level cache when there is a
// second-level one".
constexpr std::uint32_t kNoCacheDescriptor = 0x40;

struct VendorName {
    const char* text;  // lower case, all 12 characters
    const wchar_t* name;
};

constexpr VendorName kVendors[] = {
    {"genuineintel", L"Intel"},  {"authenticamd", L"AMD"},
    {"cyrixinstead", L"Cyrix"},  {"centaurhauls", L"Centaur"},
    {"nexgendriven", L"NexGen"}, {"genuinetmx86", L"Transmeta"},
    {"riseriserise", L"Rise"},   {"umc umc umc ", L"UMC"},
    {"sis sis sis ", L"Sis"},    {"geode by nsc", L"National Semiconductor"},
};

CPUID* instance = nullptr;

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    });
    return text;
}

void AppendBytes(std::uint32_t word, std::string& text) {
    for (int shift = 0; shift < 32; shift += 8) {
        text.push_back(static_cast<char>((word >> shift) & 0xFF));
    }
}

bool HasByte(std::uint32_t word, int firstByte) {
    for (int byte = firstByte; byte < 4; ++byte) {
        if (((word >> (8 * byte)) & 0xFF) == kNoCacheDescriptor) return true;
    }
    return false;
}

std::wstring Hex(std::uint64_t number, int digits) {
    std::wostringstream text;
    text << std::uppercase << std::hex << std::setfill(L'0') << std::setw(digits) << number;
    return text.str();
}

std::uint32_t Bits(std::uint32_t word, int low, int count) {
    return (word >> low) & ((1u << count) - 1u);
}

}  // namespace

CPUID& CPUID::Instance() {
    if (instance == nullptr) instance = new CPUID();
    return *instance;
}

void CPUID::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

CPUID::CPUID() {
    os::CpuidRegisters registers;
    if (Query(0, registers)) maxStandardLeaf_ = registers.eax;
    if (Query(kExtendedLeaves, registers)) maxExtendedLeaf_ = registers.eax & 0xFF;
}

bool CPUID::Query(std::uint32_t leaf, os::CpuidRegisters& registers) {
    registers = os::CpuidRegisters{};
    const bool extended = (leaf & kExtendedLeaves) != 0;
    if (extended ? (leaf & 0xFF) > maxExtendedLeaf_ : leaf > maxStandardLeaf_) return false;
    registers = os::Current().cpu->Cpuid(leaf, 0);
    return true;
}

bool CPUID::GetVendorText(std::string& text) {
    os::CpuidRegisters registers;
    Query(0, registers);
    text.clear();
    AppendBytes(registers.ebx, text);
    AppendBytes(registers.edx, text);
    AppendBytes(registers.ecx, text);
    return true;
}

bool CPUID::GetVendor(std::wstring& text) {
    std::string vendor;
    GetVendorText(vendor);
    vendor = Lower(vendor);
    for (const auto& known : kVendors) {
        if (vendor == known.text) {
            text = known.name;
            break;
        }
    }
    return true;
}

bool CPUID::IsIntel() {
    std::string vendor;
    GetVendorText(vendor);
    return Lower(vendor) == "genuineintel";
}

bool CPUID::IsAmd() {
    std::string vendor;
    GetVendorText(vendor);
    return Lower(vendor) == "authenticamd";
}

bool CPUID::HasNoCacheDescriptor() {
    os::CpuidRegisters registers;
    if (!Query(2, registers)) return false;
    // Byte 0 of EAX is the iteration count, not a descriptor.
    return HasByte(registers.eax, 1) || HasByte(registers.ebx, 0) || HasByte(registers.ecx, 0) ||
           HasByte(registers.edx, 0);
}

bool CPUID::GetCpuInfo(CpuInfo& info) {
    GetVendor(info.vendor);
    info.isIntel = IsIntel();
    info.isAmd = IsAmd();
    info.noCacheDescriptor = HasNoCacheDescriptor();

    Log& log = Log::Instance();
    os::CpuidRegisters registers;
    if (Query(1, registers)) {
        const std::uint32_t signature = registers.eax;
        const std::uint32_t baseFamily = Bits(signature, 8, 4);
        std::uint32_t family = baseFamily;
        if (baseFamily == 15) family += Bits(signature, 20, 8);
        std::uint32_t model = Bits(signature, 4, 4);
        if (baseFamily == 6 || baseFamily == 15) model += Bits(signature, 16, 4) << 4;
        const std::uint32_t type = Bits(signature, 12, 2);
        info.stepping = Hex(Bits(signature, 0, 4), 1);
        info.family = Hex(family, 2);
        info.model = Hex(model, 2);
        info.processorType = Hex(type, 2);
        log.Line(Log::kTrace, L"CPU Type: ", type);
    }
    if (Query(1, registers)) {
        const std::uint64_t id = (std::uint64_t{registers.edx} << 32) | registers.eax;
        info.cpuId = Hex(id, 16);
        log.Line(Log::kTrace, L"CPU ID: ", info.cpuId);
        info.cpuIdShort =
            info.cpuId.size() > 6 ? info.cpuId.substr(info.cpuId.size() - 6) : info.cpuId;
        log.Line(Log::kTrace, L"CPU ID Short: ", info.cpuIdShort);
    }
    return true;
}

}  // namespace rigel
