#include "detect/devices/graphics.h"

#include <string>

#include "core/system.h"
#include "os/display.h"
#include "os/services.h"
#include "os/unique_handle.h"

namespace rigel {
namespace {

constexpr std::uint32_t kResolution = 71214;
constexpr std::uint32_t kColourDepth = 71079;
constexpr std::uint32_t kFlag71341 = 71341;

class ScreenDCReleaser {
  public:
    explicit ScreenDCReleaser(os::Display& display) : display_(&display) {}
    void operator()(os::DeviceContext context) const { display_->ReleaseScreenDC(context); }

  private:
    os::Display* display_;
};

}  // namespace

Graphics::Graphics() : Detector(nullptr, L"Error in Graphics detection.") {}

void Graphics::Run() {
    os::Display& display = *os::Current().display;
    const os::UniqueHandle<os::DeviceContext, ScreenDCReleaser> screen(display.GetScreenDC(),
                                                                       ScreenDCReleaser(display));
    const int width = display.GetDeviceCaps(screen.get(), os::Display::kHorizontalResolution);
    const int height = display.GetDeviceCaps(screen.get(), os::Display::kVerticalResolution);
    const int bits = display.GetDeviceCaps(screen.get(), os::Display::kBitsPerPixel);
    SystemValues& values = System::Instance().GetSystemValues();
    values.AddValue(kResolution, std::to_wstring(width) + L"x" + std::to_wstring(height));
    values.AddValue(kColourDepth, std::to_wstring(bits) + L" Bits Per Pixel");
    values.AddValue(kFlag71341, std::wstring(L"0"));
}

}  // namespace rigel
