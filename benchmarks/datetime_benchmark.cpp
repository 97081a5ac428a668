// SPDX-License-Identifier: MIT
//
// Dates as text beside the C library's own. Both sides ask it for local time, each time: the
// difference is in making and reading the text. Machines drift, so compare ratios within one run:
//
//   TZ=Europe/Berlin datetime_benchmark --benchmark_repetitions=15
//       --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true
//
// Without TZ every mktime looks at the system's zone file, which costs more than all the rest.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>

#include "foundation/time/datetime.h"

namespace {

// Times of the years after 2023, another one for each round and thread.
class Times {
 public:
  explicit Times(const benchmark::State& state) : now_(1700000000 + state.thread_index() * 1000) {}
  long Next() { return now_ += 61; }

 private:
  long now_;
};

void Floor(benchmark::State& state) {
  Times times(state);
  tm fields;
  for (auto _ : state) {
    const long now = times.Next();
    benchmark::DoNotOptimize(localtime_r(&now, &fields));
  }
}

void Strftime(benchmark::State& state, const char* format) {
  Times times(state);
  tm fields;
  char text[64];
  for (auto _ : state) {
    const long now = times.Next();
    localtime_r(&now, &fields);
    strftime(text, sizeof text, format, &fields);
    benchmark::DoNotOptimize(text);
    benchmark::ClobberMemory();
  }
}

void Text(benchmark::State& state, void (LDateTime::*form)(char*) const) {
  Times times(state);
  char text[64];
  for (auto _ : state) {
    (LDateTime(times.Next()).*form)(text);
    benchmark::DoNotOptimize(text);
    benchmark::ClobberMemory();
  }
}

// The same day each time: from one call to the next mktime keeps what it found.
void ReadWith(benchmark::State& state, long (*read)(const char*)) {
  const char* text = "2012-05-06 07:08:09";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(read(text));
  }
}

long ReadByLibrary(const char* text) {
  long value = 0;
  LDateTime::SetDateYYYYHMMHDDTimeHHCMMCSS(value, text);
  return value;
}

long ReadByStrptime(const char* text) {
  tm fields = {};
  strptime(text, "%Y-%m-%d %H:%M:%S", &fields);
  fields.tm_isdst = -1;
  return mktime(&fields);
}

long ReadBySscanf(const char* text) {
  tm fields = {};
  if (std::sscanf(text, "%d-%d-%d %d:%d:%d", &fields.tm_year, &fields.tm_mon, &fields.tm_mday,
                  &fields.tm_hour, &fields.tm_min, &fields.tm_sec) < 6) {
    return 0;
  }
  fields.tm_year -= 1900;
  fields.tm_mon -= 1;
  fields.tm_isdst = -1;
  return mktime(&fields);
}

long ReadNothing(const char*) {
  tm fields = {};
  fields.tm_year = 112;
  fields.tm_mon = 4;
  fields.tm_mday = 6;
  fields.tm_isdst = -1;
  return mktime(&fields);
}

void OneAndTwoThreads(benchmark::internal::Benchmark* benchmark) {
  benchmark->Threads(1)->Threads(2);
}

BENCHMARK(Floor)->Name("LocalTimeAlone")->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(Strftime, DateTime, "%Y-%m-%d %H:%M:%S")->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(Text, DateTime, &LDateTime::GetDateTime)->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(Strftime, Date, "%Y-%m-%d")->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(Text, Date, &LDateTime::GetDateInLocalFormat)->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(Strftime, Time, "%H:%M:%S")->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(Text, Time, &LDateTime::GetTimeInLocalFormat)->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(ReadWith, MktimeAlone, &ReadNothing)->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(ReadWith, Library, &ReadByLibrary)->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(ReadWith, Strptime, &ReadByStrptime)->Apply(OneAndTwoThreads);
BENCHMARK_CAPTURE(ReadWith, Sscanf, &ReadBySscanf)->Apply(OneAndTwoThreads);

}  // namespace

BENCHMARK_MAIN();
