// Reading and writing dates: 1,000,000 HKDatum assignments from day texts
// ("15.11.2026" and neighbours) and 1,000,000 AsString calls, reported as
// items_per_second, in the time zone Europe/Berlin. Beside them the plain C
// floors: sscanf plus mktime for reading, snprintf for writing.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <time.h>
#include <toviktwo/toviktwo.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kDates = 1000000;
constexpr int kDistinctTexts = 4096;

void UseBerlin() {
  setenv("TZ", "Europe/Berlin", 1);
  tzset();
}

const std::vector<std::string>& Texts() {
  static const std::vector<std::string> texts = [] {
    std::vector<std::string> v;
    for (int i = 0; i < kDistinctTexts; ++i) {
      v.push_back(std::to_string(1 + i % 28) + "." + std::to_string(1 + i % 12) + "." +
                  std::to_string(1990 + i % 60));
    }
    return v;
  }();
  return texts;
}

void BM_Datum_Parse(benchmark::State& state) {
  UseBerlin();
  const auto& texts = Texts();
  HKDatum d(0);
  for (auto _ : state) {
    for (int i = 0; i < kDates; ++i) {
      d = texts[i % kDistinctTexts];
      benchmark::DoNotOptimize(d.asInt());
    }
  }
  state.SetItemsProcessed(state.iterations() * kDates);
}
BENCHMARK(BM_Datum_Parse)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_CFloor_Parse(benchmark::State& state) {
  UseBerlin();
  const auto& texts = Texts();
  for (auto _ : state) {
    for (int i = 0; i < kDates; ++i) {
      std::tm t{};
      std::sscanf(texts[i % kDistinctTexts].c_str(), "%d.%d.%d", &t.tm_mday, &t.tm_mon, &t.tm_year);
      t.tm_mon -= 1;
      t.tm_year -= 1900;
      t.tm_hour = 12;
      t.tm_isdst = 1;
      benchmark::DoNotOptimize(std::mktime(&t));
    }
  }
  state.SetItemsProcessed(state.iterations() * kDates);
}
BENCHMARK(BM_CFloor_Parse)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_Datum_Format(benchmark::State& state) {
  UseBerlin();
  std::vector<HKDatum> dates;
  for (int i = 0; i < kDistinctTexts; ++i) dates.emplace_back(1 + i % 28, 1 + i % 12, 1990 + i % 60);
  for (auto _ : state) {
    for (int i = 0; i < kDates; ++i) {
      std::string text = dates[i % kDistinctTexts].AsString();
      benchmark::DoNotOptimize(text.data());
    }
  }
  state.SetItemsProcessed(state.iterations() * kDates);
}
BENCHMARK(BM_Datum_Format)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_CFloor_Format(benchmark::State& state) {
  std::vector<std::tm> dates(kDistinctTexts);
  for (int i = 0; i < kDistinctTexts; ++i) {
    dates[i].tm_mday = 1 + i % 28;
    dates[i].tm_mon = i % 12;
    dates[i].tm_year = 90 + i % 60;
  }
  char text[32];
  for (auto _ : state) {
    for (int i = 0; i < kDates; ++i) {
      const std::tm& t = dates[i % kDistinctTexts];
      std::snprintf(text, sizeof text, "%d-%02d-%02d", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday);
      benchmark::DoNotOptimize(text);
    }
  }
  state.SetItemsProcessed(state.iterations() * kDates);
}
BENCHMARK(BM_CFloor_Format)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
