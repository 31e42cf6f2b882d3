// The value store, the XML report and the groups-configuration scanner at 1,000 to 100,000
// values. Goal: 100,000 values added and rendered in under 100 ms, and ten times the values
// costing no more than about twelve times the time.
//
// With glibc's default settings a store freed at the end of an iteration hands its pages back to
// the system and the next iteration pays a page fault for each; to time the store alone, run with
// GLIBC_TUNABLES=glibc.malloc.trim_threshold=1073741824:glibc.malloc.mmap_threshold=1073741824
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "core/system_values.h"
#include "core/xml_report.h"
#include "support/fake_machine.h"

namespace {

// Identifiers spread over 500 groups with repeated indexes, as many devices would give.
rigel::SystemValueID IdOf(std::uint32_t i) {
    return rigel::SystemValueID(rigel::GroupID(71000 + i % 500), i / 500);
}

std::vector<rigel::SystemValue> MakeValues(std::uint32_t count, const wchar_t* prefix) {
    std::vector<rigel::SystemValue> values;
    values.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        values.emplace_back(IdOf(i), prefix + std::to_wstring(i) + L" @ 3.20GHz & <more>");
    }
    return values;
}

std::uint32_t CountOf(const benchmark::State& state) {
    return static_cast<std::uint32_t>(state.range(0));
}

void Fill(rigel::SystemValues& store, const std::vector<rigel::SystemValue>& values) {
    for (const rigel::SystemValue& value : values) store.AddValue(value);
}

void BM_Add(benchmark::State& state) {
    rigel::test::FakeMachine machine;
    const auto values = MakeValues(CountOf(state), L"Processor ");
    for (auto _ : state) {
        rigel::SystemValues store;
        Fill(store, values);
        benchmark::DoNotOptimize(store.Values().data());
    }
    state.SetComplexityN(state.range(0));
}

void BM_Replace(benchmark::State& state) {
    rigel::test::FakeMachine machine;
    const auto values = MakeValues(CountOf(state), L"Processor ");
    const auto replacements = MakeValues(CountOf(state), L"Replaced ");
    rigel::SystemValues store;
    Fill(store, values);
    for (auto _ : state) {
        Fill(store, replacements);
        benchmark::DoNotOptimize(store.Values().data());
    }
    state.SetComplexityN(state.range(0));
}

void BM_Lookup(benchmark::State& state) {
    rigel::test::FakeMachine machine;
    const auto values = MakeValues(CountOf(state), L"Processor ");
    rigel::SystemValues store;
    Fill(store, values);
    rigel::SystemValue out(IdOf(0), std::wstring());
    for (auto _ : state) {
        for (std::uint32_t i = 0; i < CountOf(state); ++i) {
            benchmark::DoNotOptimize(store.TryGetValue(IdOf(i), out));
        }
    }
    state.SetComplexityN(state.range(0));
}

void BM_Render(benchmark::State& state) {
    rigel::test::FakeMachine machine;
    rigel::SystemValues store;
    Fill(store, MakeValues(CountOf(state), L"Processor "));
    std::wstring report;
    for (auto _ : state) {
        rigel::XMLReport(store).GetReport(report);
        benchmark::DoNotOptimize(report.data());
    }
    state.SetComplexityN(state.range(0));
}

void BM_AddAndRender(benchmark::State& state) {
    rigel::test::FakeMachine machine;
    const auto values = MakeValues(CountOf(state), L"Processor ");
    std::wstring report;
    for (auto _ : state) {
        rigel::SystemValues store;
        Fill(store, values);
        rigel::XMLReport(store).GetReport(report);
        benchmark::DoNotOptimize(report.data());
    }
    state.SetComplexityN(state.range(0));
}

// A configuration of a million characters in the report's own shape.
std::wstring MegabyteConfiguration() {
    std::wstring configuration = L"<groups>";
    for (std::uint32_t i = 0; configuration.size() < (std::size_t{1} << 20); ++i) {
        const rigel::SystemValueID id = IdOf(i);
        configuration += L"<group index=\"" + std::to_wstring(id.index) + L"\" id=\"" +
                         id.group.GetText() + L"\"><value>Processor " + std::to_wstring(i) +
                         L" @ 3.20GHz</value></group>";
    }
    return configuration + L"</groups>  ";
}

void BM_ParseConfiguration(benchmark::State& state) {
    rigel::test::FakeMachine machine;
    const std::wstring configuration = MegabyteConfiguration();
    for (auto _ : state) {
        rigel::SystemValues store;
        store.AddValues(configuration);
        benchmark::DoNotOptimize(store.Values().data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(configuration.size()));
}

}  // namespace

BENCHMARK(BM_Add)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK(BM_Replace)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK(BM_Lookup)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK(BM_Render)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK(BM_AddAndRender)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK(BM_ParseConfiguration)->Unit(benchmark::kMillisecond);
