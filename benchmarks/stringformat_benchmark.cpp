// SPDX-License-Identifier: MIT
//
// The printf of this library beside the C library's, libfmt's two and the bare conversion functions
// of C++. Compare ratios within one run:
//
//   stringformat_benchmark --benchmark_repetitions=15 --benchmark_enable_random_interleaving=true
//                          --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <fmt/printf.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>

#include <zorvex/foundation/text/stringformat.h>

namespace {

// A format of printf, that of libfmt which gives the same, and the arguments.
template <typename... Arguments>
struct Case {
  const char* name;
  const char* format;
  const char* replacement;
  std::tuple<Arguments...> arguments;
};

template <typename... Arguments>
Case<Arguments...> MakeCase(const char* name, const char* format, const char* replacement,
                            Arguments... arguments) {
  return {name, format, replacement, {arguments...}};
}

// As arguments that differ from call to call, for the branches not to be learnt by heart.
template <typename Value>
Value Vary(Value value, unsigned int round) {
  if constexpr (std::is_pointer_v<Value>)
    return value;
  else
    return value + static_cast<Value>(round % 64);
}

template <typename Call, typename... Arguments>
void Run(benchmark::State& state, const Case<Arguments...>& what, Call call) {
  unsigned int round = 0;
  for (auto _ : state) {
    ++round;
    std::apply([&](auto... values) { call(Vary(values, round)...); }, what.arguments);
  }
}

#pragma GCC diagnostic ignored "-Wformat-security"

template <typename... Arguments>
void Register(const Case<Arguments...>& what) {
  const auto add = [&](const char* who, auto maker) {
    benchmark::RegisterBenchmark((std::string(what.name) + "/" + who).c_str(),
                                 [what, maker](benchmark::State& state) {
                                   char buffer[4096];
                                   maker(state, what, buffer);
                                 });
  };
  add("tplsnprintf", [](auto& state, const auto& c, auto& buffer) {
    Run(state, c, [&](auto... values) {
      tplsnprintf(buffer, sizeof buffer, c.format, values...);
      benchmark::DoNotOptimize(buffer);
    });
  });
  add("sprintf_string", [](auto& state, const auto& c, auto&) {
    LStringLongTemplate<char> string;
    Run(state, c, [&](auto... values) {
      sprintf(string, c.format, values...);
      benchmark::DoNotOptimize(string.Buffer());
    });
  });
  add("snprintf", [](auto& state, const auto& c, auto& buffer) {
    Run(state, c, [&](auto... values) {
      snprintf(buffer, sizeof buffer, c.format, values...);
      benchmark::DoNotOptimize(buffer);
    });
  });
  add("fmt_format_to", [](auto& state, const auto& c, auto& buffer) {
    Run(state, c, [&](auto... values) {
      *fmt::format_to(buffer, fmt::runtime(c.replacement), values...) = 0;
      benchmark::DoNotOptimize(buffer);
    });
  });
  add("fmt_sprintf", [](auto& state, const auto& c, auto&) {
    Run(state, c, [&](auto... values) {
      const std::string text = fmt::sprintf(c.format, values...);
      benchmark::DoNotOptimize(text.data());
    });
  });
}

// The floors: a conversion by hand, no format.
void AddFloors() {
  benchmark::RegisterBenchmark("int/to_chars", [](benchmark::State& state) {
    char buffer[64];
    Run(state, MakeCase("", "", "", -12345678), [&](int value) {
      *std::to_chars(buffer, buffer + 63, value).ptr = 0;
      benchmark::DoNotOptimize(buffer);
    });
  });
  benchmark::RegisterBenchmark("double/to_chars", [](benchmark::State& state) {
    char buffer[64];
    Run(state, MakeCase("", "", "", 12345.678901), [&](double value) {
      *std::to_chars(buffer, buffer + 63, value, std::chars_format::fixed, 6).ptr = 0;
      benchmark::DoNotOptimize(buffer);
    });
  });
  for (const std::size_t length : {50U, 200U, 1000U}) {
    benchmark::RegisterBenchmark(("plain" + std::to_string(length) + "/search_and_copy").c_str(),
                                 [length](benchmark::State& state) {
                                   const std::string text(length, 'x');
                                   char buffer[1024];
                                   for (auto _ : state) {
                                     const char* format = text.c_str();
                                     benchmark::DoNotOptimize(format);
                                     const auto count =
                                         static_cast<std::size_t>(strchrnul(format, '%') - format);
                                     std::memcpy(buffer, format, count);
                                     buffer[count] = 0;
                                     benchmark::DoNotOptimize(buffer);
                                   }
                                 });
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  static const std::string text50(50, 'x');
  static const std::string text200(200, 'x');
  static const std::string text1000(1000, 'x');
  Register(MakeCase("int", "%d", "{}", -12345678));
  Register(MakeCase("int64", "%lld", "{}", 1234567890123456LL));
  Register(MakeCase("padded", "%02d:%02d:%02d", "{:02}:{:02}:{:02}", 7, 11, 30));
  Register(MakeCase("hex", "%08x", "{:08x}", 0xbeef01U));
  Register(MakeCase("plain50", text50.c_str(), text50.c_str()));
  Register(MakeCase("plain200", text200.c_str(), text200.c_str()));
  Register(MakeCase("plain1000", text1000.c_str(), text1000.c_str()));
  Register(MakeCase("text", "%s", "{}", "Camera of the house"));
  Register(MakeCase("double", "%f", "{:f}", 12345.678901));
  Register(MakeCase("double2", "%.2f", "{:.2f}", 12345.678901));
  Register(MakeCase("general", "%g", "{:g}", 12345.678901));
  Register(MakeCase("mixed", "%s=%d (%lld) %f", "{}={} ({}) {:f}", "framesDropped", -12345,
                    1234567890123LL, 25.123456));
  AddFloors();
  benchmark::Initialize(&argumentCount, arguments);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
