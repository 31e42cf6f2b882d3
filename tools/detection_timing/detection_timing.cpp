// Times one detection pass on the machine it runs on: each of the twenty detectors in the
// product's order, with the real OS services, then the report. Under Wine this is the figure for
// a whole pass that unit tests must not measure.
//
//     detection_timing.exe [rounds]
//
// Prints one line per detector ("<ms> ms  <detector>") and the total; with more than one round
// the slowest round of each detector is kept, so a cold first run is not hidden.
#include <cxxabi.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "core/component.h"
#include "core/components.h"
#include "core/system.h"
#include "core/xml_report.h"
#include "os/clock.h"
#include "os/services.h"

namespace {

std::string NameOf(const rigel::Component& component) {
    const char* mangled = typeid(component).name();
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
    return status == 0 && readable ? readable.get() : mangled;
}

double Milliseconds(std::int64_t ticks, std::int64_t frequency) {
    return 1000.0 * static_cast<double>(ticks) / static_cast<double>(frequency);
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1;
    rigel::os::Clock& clock = *rigel::os::Current().clock;
    const std::int64_t frequency = clock.PerformanceFrequency();

    const auto factories = rigel::StandardComponentFactories();
    std::vector<std::string> names(factories.size());
    std::vector<double> slowest(factories.size(), 0.0);
    double slowestReport = 0.0;
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < factories.size(); ++i) {
            const std::int64_t start = clock.PerformanceCounter();
            std::unique_ptr<rigel::Component> component = factories[i]();
            component->Initialize();
            component->Detect();
            const double elapsed = Milliseconds(clock.PerformanceCounter() - start, frequency);
            names[i] = NameOf(*component);
            slowest[i] = std::max(slowest[i], elapsed);
        }
        const std::int64_t start = clock.PerformanceCounter();
        std::wstring report;
        rigel::XMLReport(rigel::System::Instance().GetSystemValues()).GetReport(report);
        slowestReport =
            std::max(slowestReport, Milliseconds(clock.PerformanceCounter() - start, frequency));
    }

    double total = 0.0;
    for (std::size_t i = 0; i < factories.size(); ++i) {
        std::printf("%9.1f ms  %s\n", slowest[i], names[i].c_str());
        total += slowest[i];
    }
    std::printf("%9.1f ms  report (%zu values)\n", slowestReport,
                rigel::System::Instance().GetSystemValues().Values().size());
    std::printf("%9.1f ms  total\n", total + slowestReport);
    return 0;
}
