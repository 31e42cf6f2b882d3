#include "detect/devices/direct_x.h"

#include <cwchar>

#include "core/system.h"
#include "detect/devices/diagnostics_tree.h"
#include "detect/devices/direct_x_11.h"
#include "detect/platform/file_version.h"
#include "os/diagnostics.h"
#include "os/services.h"
#include "os/system_info.h"

namespace rigel {
namespace {

constexpr std::uint32_t kDirectXVersion = 71082;
constexpr std::size_t kTextCapacity = 30;
constexpr std::uint32_t kSystemDirectoryCapacity = 260;

constexpr std::uint64_t FileVersionOf(std::uint64_t a, std::uint64_t b, std::uint64_t c,
                                      std::uint64_t d) {
    return a << 48 | b << 32 | c << 16 | d;
}

std::uint64_t FirstNumber(std::uint64_t version) { return version >> 48; }

// One piece of evidence: a system file whose version shows that a DirectX release is there.
// Files of the 4.x line and of the 5.x line (shipped with the system) have their own minimums;
// a step without any minimum holds for every version.
struct FileStep {
    const wchar_t* file;
    std::uint64_t minimum4;
    std::uint64_t minimum5;  // 0: the 4.x minimum applies to every version
    std::uint32_t major;
    std::uint32_t minor;
    wchar_t letter;

    bool Holds(std::uint64_t version) const {
        if (minimum5 == 0) return version >= minimum4;
        return (FirstNumber(version) == 4 && version >= minimum4) ||
               (FirstNumber(version) == 5 && version >= minimum5);
    }
};

// Oldest release first, so that the last step that holds names the newest release.
constexpr FileStep kFileSteps[] = {
    {L"\\ddraw.dll", FileVersionOf(4, 2, 0, 95), 0, 1, 0, L' '},
    {L"\\ddraw.dll", FileVersionOf(4, 3, 0, 1096), 0, 2, 0, L' '},
    {L"\\ddraw.dll", FileVersionOf(4, 4, 0, 68), 0, 3, 0, L' '},
    {L"\\d3drg8x.dll", FileVersionOf(4, 4, 0, 70), 0, 3, 0, L'a'},
    {L"\\ddraw.dll", FileVersionOf(4, 5, 0, 155), 0, 5, 0, L' '},
    {L"\\ddraw.dll", FileVersionOf(4, 6, 0, 318), 0, 6, 0, L' '},
    {L"\\ddraw.dll", FileVersionOf(4, 6, 0, 436), 0, 6, 1, L' '},
    {L"\\dplayx.dll", FileVersionOf(4, 6, 3, 518), 0, 6, 1, L'a'},
    {L"\\ddraw.dll", FileVersionOf(4, 7, 0, 700), 0, 7, 0, L' '},
    {L"\\dinput.dll", FileVersionOf(4, 7, 0, 716), 0, 7, 0, L'a'},
    {L"\\ddraw.dll", FileVersionOf(4, 8, 0, 400), FileVersionOf(5, 1, 2258, 400), 8, 0, L' '},
    {L"\\d3d8.dll", FileVersionOf(4, 8, 1, 881), FileVersionOf(5, 1, 2600, 881), 8, 1, L' '},
    {L"\\d3d8.dll", FileVersionOf(4, 8, 1, 901), FileVersionOf(5, 1, 2600, 901), 8, 1, L'a'},
    {L"\\mpg2splt.ax", FileVersionOf(6, 3, 1, 885), 0, 8, 1, L'b'},
    {L"\\dpnet.dll", FileVersionOf(4, 9, 0, 134), FileVersionOf(5, 2, 3677, 134), 8, 2, L' '},
    {L"\\d3d9.dll", 0, 0, 9, 0, L' '},
};

bool ReadNumber(const DiagnosticsSnapshot::Properties& properties, const wchar_t* name,
                std::uint32_t& number) {
    const auto found = properties.find(name);
    if (found == properties.end() || found->second.type != os::Diagnostics::kVtUi4) return false;
    number = found->second.number;
    return true;
}

bool ReadLetter(const DiagnosticsSnapshot::Properties& properties, const wchar_t* name,
                wchar_t& letter) {
    const auto found = properties.find(name);
    if (found == properties.end() || found->second.type != os::Diagnostics::kVtBstr ||
        found->second.text.empty()) {
        return false;
    }
    letter = found->second.text[0];
    return true;
}

}  // namespace

DirectX::DirectX() : Detector(L"rigel::DirectX::Detect", L"Error in DirectX detection.") {}

void DirectX::Run() {
    std::wstring text = GetDirectXVersion(kTextCapacity);
    if (DirectX_11::Instance().IsInitialized()) text = L"11.0";
    System::Instance().GetSystemValues().AddValue(kDirectXVersion, 0, text);
}

std::wstring DirectX::GetDirectXVersion(std::size_t capacity) {
    Version version;
    if (!GetDirectXVersionFromDxDiag(version)) GetDirectXVersionFromFiles(version);
    if (version.letter >= L'A' && version.letter <= L'Z') version.letter += L'a' - L'A';
    wchar_t text[kTextCapacity] = {};
    // Two 32-bit numbers and a letter fit the buffer whole.
    if (version.letter == L' ') {
        std::swprintf(text, kTextCapacity, L"%d.%d", static_cast<int>(version.major),
                      static_cast<int>(version.minor));
    } else {
        std::swprintf(text, kTextCapacity, L"%d.%d%lc", static_cast<int>(version.major),
                      static_cast<int>(version.minor), static_cast<wint_t>(version.letter));
    }
    return std::wstring(text).substr(0, capacity - 1);
}

bool DirectX::GetDirectXVersionFromDxDiag(Version& version) {
    const DiagnosticsSnapshot* snapshot = DiagnosticsTree::Instance().Get();
    if (snapshot == nullptr) return false;
    const DiagnosticsSnapshot::Properties& system = snapshot->systemInfo;
    Version read;
    const bool major = ReadNumber(system, L"dwDirectXVersionMajor", read.major);
    const bool minor = ReadNumber(system, L"dwDirectXVersionMinor", read.minor);
    const bool letter = ReadLetter(system, L"szDirectXVersionLetter", read.letter);
    if (!major || !minor || !letter) return false;
    version = read;
    return true;
}

bool DirectX::GetDirectXVersionFromFiles(Version& version) {
    version = Version{};
    std::wstring directory;
    const std::uint32_t length =
        os::Current().systemInfo->SystemDirectory(kSystemDirectoryCapacity, directory);
    if (length == 0 || length >= kSystemDirectoryCapacity) return true;
    for (const FileStep& step : kFileSteps) {
        std::uint64_t fileVersion = 0;
        if (FileVersion::GetNumber(directory + step.file, fileVersion) && step.Holds(fileVersion))
            version = Version{step.major, step.minor, step.letter};
    }
    return true;
}

}  // namespace rigel
