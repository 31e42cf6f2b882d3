#include "detect/devices/direct_x.h"

#include "core/system.h"
#include "detect/devices/diagnostics_provider.h"
#include "detect/devices/direct_x_11.h"
#include "os/diagnostics.h"
#include "os/services.h"
#include "os/system_info.h"

namespace rigel {
namespace {

constexpr std::uint32_t kDirectXVersion = 71082;
constexpr std::size_t kTextCapacity = 30;
constexpr std::uint32_t kPathCapacity = 260;

constexpr std::uint64_t FileVersion(std::uint64_t a, std::uint64_t b, std::uint64_t c,
                                    std::uint64_t d) {
    return (a << 48) | (b << 32) | (c << 16) | d;
}

// One piece of evidence: the file's version makes the result when the condition holds.
struct Evidence {
    const wchar_t* file;
    // At least this version; 0 with a version of the fifth series too: the file's first number
    // must be 4 and at least atLeast, or 5 and at least orSeries5.
    std::uint64_t atLeast;
    std::uint64_t orSeries5;
    DirectX::VersionParts result;
};

constexpr std::uint64_t kAny = 0;
constexpr std::uint64_t kNoSeries5 = 0;

// Newest evidence last: the last step that holds wins.
const Evidence kEvidence[] = {
    {L"\\ddraw.dll", FileVersion(4, 2, 0, 95), kNoSeries5, {1, 0, L' '}},
    {L"\\ddraw.dll", FileVersion(4, 3, 0, 1096), kNoSeries5, {2, 0, L' '}},
    {L"\\ddraw.dll", FileVersion(4, 4, 0, 68), kNoSeries5, {3, 0, L' '}},
    {L"\\d3drg8x.dll", FileVersion(4, 4, 0, 70), kNoSeries5, {3, 0, L'a'}},
    {L"\\ddraw.dll", FileVersion(4, 5, 0, 155), kNoSeries5, {5, 0, L' '}},
    {L"\\ddraw.dll", FileVersion(4, 6, 0, 318), kNoSeries5, {6, 0, L' '}},
    {L"\\ddraw.dll", FileVersion(4, 6, 0, 436), kNoSeries5, {6, 1, L' '}},
    {L"\\dplayx.dll", FileVersion(4, 6, 3, 518), kNoSeries5, {6, 1, L'a'}},
    {L"\\ddraw.dll", FileVersion(4, 7, 0, 700), kNoSeries5, {7, 0, L' '}},
    {L"\\dinput.dll", FileVersion(4, 7, 0, 716), kNoSeries5, {7, 0, L'a'}},
    {L"\\ddraw.dll", FileVersion(4, 8, 0, 400), FileVersion(5, 1, 2258, 400), {8, 0, L' '}},
    {L"\\d3d8.dll", FileVersion(4, 8, 1, 881), FileVersion(5, 1, 2600, 881), {8, 1, L' '}},
    {L"\\d3d8.dll", FileVersion(4, 8, 1, 901), FileVersion(5, 1, 2600, 901), {8, 1, L'a'}},
    {L"\\mpg2splt.ax", FileVersion(6, 3, 1, 885), kNoSeries5, {8, 1, L'b'}},
    {L"\\dpnet.dll", FileVersion(4, 9, 0, 134), FileVersion(5, 2, 3677, 134), {8, 2, L' '}},
    {L"\\d3d9.dll", kAny, kNoSeries5, {9, 0, L' '}},
};

bool Holds(const Evidence& evidence, std::uint64_t version) {
    if (evidence.orSeries5 == kNoSeries5) return version >= evidence.atLeast;
    const std::uint64_t series = version >> 48;
    return (series == 4 && version >= evidence.atLeast) ||
           (series == 5 && version >= evidence.orSeries5);
}

// COM for the calling thread while the provider is asked, given back only when it was taken.
class ComForThread {
  public:
    explicit ComForThread(os::Diagnostics& diagnostics)
        : diagnostics_(diagnostics), initialized_(diagnostics.InitializeCom() >= 0) {}
    ~ComForThread() {
        if (initialized_) diagnostics_.UninitializeCom();
    }
    ComForThread(const ComForThread&) = delete;
    ComForThread& operator=(const ComForThread&) = delete;

  private:
    os::Diagnostics& diagnostics_;
    bool initialized_;
};

using Object = os::UniqueComObject<os::Diagnostics>;

bool ReadNumber(os::Diagnostics& diagnostics, const Object& container, const wchar_t* name,
                std::uint32_t& number) {
    os::DiagnosticsValue value;
    if (diagnostics.GetProperty(container.get(), name, value) < 0) return false;
    if (value.type != os::Diagnostics::kVtUi4) return false;
    number = value.number;
    return true;
}

bool ReadLetter(os::Diagnostics& diagnostics, const Object& container, wchar_t& letter) {
    os::DiagnosticsValue value;
    if (diagnostics.GetProperty(container.get(), L"szDirectXVersionLetter", value) < 0) {
        return false;
    }
    if (value.type != os::Diagnostics::kVtBstr || value.text.empty()) return false;
    letter = value.text[0];
    return true;
}

}  // namespace

DirectX::DirectX() : DirectX(FileVersionReader::Default()) {}

DirectX::DirectX(FileVersionReader& files)
    : Detector(L"rigel::DirectX::Detect", L"Error in DirectX detection."), files_(&files) {}

void DirectX::Run() {
    std::wstring text = GetDirectXVersion(kTextCapacity);
    if (DirectX_11::Instance().IsInitialized()) text = L"11.0";
    System::Instance().GetSystemValues().AddValue(kDirectXVersion, text);
}

std::wstring DirectX::GetDirectXVersion(std::size_t capacity) {
    VersionParts parts;
    if (!GetDirectXVersionFromDxDiag(parts)) {
        parts = VersionParts{};
        GetDirectXVersionFromFiles(parts);
    }
    if (parts.letter >= L'A' && parts.letter <= L'Z') parts.letter += L'a' - L'A';
    std::wstring text = std::to_wstring(static_cast<int>(parts.major)) + L"." +
                        std::to_wstring(static_cast<int>(parts.minor));
    if (parts.letter != L' ') text += parts.letter;
    if (capacity == 0) return std::wstring();
    if (text.size() > capacity - 1) text.resize(capacity - 1);
    return text;
}

bool DirectX::GetDirectXVersionFromDxDiag(VersionParts& parts) {
    os::Diagnostics& diagnostics = *os::Current().diagnostics;
    const ComForThread com(diagnostics);
    const Object provider = CreateDiagnosticsProvider(diagnostics);
    if (!provider) return false;
    os::ComObject rootObject = 0;
    if (diagnostics.GetRootContainer(provider.get(), rootObject) < 0) return false;
    const Object root(rootObject, os::ComReleaser<os::Diagnostics>(diagnostics));
    os::ComObject systemObject = 0;
    if (diagnostics.GetChildContainer(root.get(), L"DxDiag_SystemInfo", systemObject) < 0) {
        return false;
    }
    const Object system(systemObject, os::ComReleaser<os::Diagnostics>(diagnostics));
    VersionParts read;
    const bool major = ReadNumber(diagnostics, system, L"dwDirectXVersionMajor", read.major);
    const bool minor = ReadNumber(diagnostics, system, L"dwDirectXVersionMinor", read.minor);
    const bool letter = ReadLetter(diagnostics, system, read.letter);
    if (!(major && minor && letter)) return false;
    parts = read;
    return true;
}

bool DirectX::GetDirectXVersionFromFiles(VersionParts& parts) {
    std::wstring directory;
    const std::uint32_t length =
        os::Current().systemInfo->SystemDirectory(kPathCapacity, directory);
    if (length == 0 || length >= kPathCapacity) return true;
    for (const Evidence& evidence : kEvidence) {
        std::uint64_t version = 0;
        if (!files_->GetFileVersionNumber(directory + evidence.file, version)) continue;
        if (Holds(evidence, version)) parts = evidence.result;
    }
    return true;
}

}  // namespace rigel
