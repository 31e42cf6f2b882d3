// Times one first detection in a fresh process on the machine it runs on, as the control does it
// for a page: the referrer's group list, each of the twenty detectors in the product's order with
// the real OS services, the upload of the report and the report itself. Under Wine this is the
// figure for a whole pass that unit tests must not measure; scripts/time-detection runs it in
// fresh and warm prefixes and keeps the fastest of several processes.
//
//     detection_timing.exe
//
// Prints one line per step ("<ms> ms  <step>") and the detection pass: making the detectors and
// running each.
// The thread enters a single-threaded COM apartment first, as the scripting host's thread is.
#include <cxxabi.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "core/component.h"
#include "core/components.h"
#include "core/data_service.h"
#include "core/system.h"
#include "core/xml_report.h"
#include "os/clock.h"
#include "os/services.h"
#include "os/win32/com_apartment.h"

namespace {

std::string NameOf(const rigel::Component& component) {
    const char* mangled = typeid(component).name();
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
    return status == 0 && readable ? readable.get() : mangled;
}

class Stopwatch {
  public:
    Stopwatch() : clock_(*rigel::os::Current().clock), frequency_(clock_.PerformanceFrequency()) {}

    // The milliseconds that step takes.
    double Measure(const std::function<void()>& step) {
        const std::int64_t start = clock_.PerformanceCounter();
        step();
        return 1000.0 * static_cast<double>(clock_.PerformanceCounter() - start) /
               static_cast<double>(frequency_);
    }

  private:
    rigel::os::Clock& clock_;
    std::int64_t frequency_;
};

// A failed request is part of the figure, not the end of the run.
void Tolerant(const char* what, const std::function<void()>& step) {
    try {
        step();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s failed: %s\n", what, failure.what());
    }
}

void Print(const std::string& name, double milliseconds) {
    std::printf("%9.1f ms  %s\n", milliseconds, name.c_str());
}

}  // namespace

int main() {
    const rigel::os::ComApartment apartment;
    Stopwatch watch;
    rigel::System& system = rigel::System::Instance();

    Print("group list", watch.Measure([&] {
        Tolerant("group list", [&] { system.GetReferrerGroups().Load(system.GetReferrerID()); });
    }));
    // The detectors are all made before the first one runs, as the session's pass makes them:
    // making one may start work that the ones before it overlap.
    std::vector<std::unique_ptr<rigel::Component>> components;
    double pass = watch.Measure([&] {
        for (const rigel::ComponentFactory& factory : rigel::StandardComponentFactories())
            components.push_back(factory());
    });
    Print("making the detectors", pass);
    for (const std::unique_ptr<rigel::Component>& component : components) {
        const double elapsed = watch.Measure([&] {
            component->Initialize();
            component->Detect();
        });
        Print(NameOf(*component), elapsed);
        pass += elapsed;
    }
    Print("detection pass", pass);
    Print("upload", watch.Measure([] {
        Tolerant("upload", [] { rigel::DataService::Current().SendSystemInformation(); });
    }));
    std::wstring report;
    const double rendering =
        watch.Measure([&] { rigel::XMLReport(system.GetSystemValues()).GetReport(report); });
    Print("report (" + std::to_string(system.GetSystemValues().Values().size()) + " values)",
          rendering);
    return 0;
}
