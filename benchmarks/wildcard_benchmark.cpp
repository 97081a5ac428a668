// SPDX-License-Identifier: MIT
//
// Matching names with wildcards beside what a program would use without this library. The last two
// go through 10,000 names; their patterns are compiled once where a matcher can.
#include <benchmark/benchmark.h>
#include <fnmatch.h>
#include <glib.h>

#include <string>
#include <vector>

#include <zorvex/foundation.h>

namespace {

struct Case {
  const char* pattern;
  const char* name;  ///< null: 10,000 names
};

constexpr Case kCases[] = {
    {"a*a*a*a*b", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"},
    {"*.txt", "annual report of the year.txt"},
    {"report*", "report of the year 2024.txt"},
    {"img_????_*.jp*g", "img_2024_holiday_by_the_sea.jpeg"},
    {"*error*", "2024-01-01 something went wrong: an error in line 12"},
    {"*.txt", nullptr},
    {"*a*e*", nullptr},
};

const std::vector<std::string>& Names(const Case& test) {
  static std::vector<std::string> names = [] {
    std::vector<std::string> many;
    unsigned int random = 1;
    for (unsigned int i = 0; i < 10'000; ++i) {
      std::string name;
      for (unsigned int n = 0; n < 6 + i % 20; ++n)
        name += static_cast<char>('a' + ((random = random * 1'664'525 + 1'013'904'223) >> 16) % 26);
      many.push_back(name + (i % 3 == 0 ? ".txt" : ".jpeg"));
    }
    return many;
  }();
  static std::vector<std::string> one(1);
  if (test.name == nullptr) return names;
  one[0] = test.name;
  return one;
}

template <typename Match>
void Run(benchmark::State& state, Match isMatch) {
  const Case& test = kCases[state.range(0)];
  const std::vector<std::string>& names = Names(test);
  int matches = 0;
  for (auto iteration : state) {
    for (const std::string& name : names)
      matches += isMatch(test.pattern, name) ? 1 : 0;
    benchmark::DoNotOptimize(matches);
  }
  state.SetLabel(test.pattern);
}

void Zorvex(benchmark::State& state) {
  Run(state, [](const char* pattern, const std::string& name) {
    return LFile::IsMatch(pattern, name.c_str());
  });
}

void Fnmatch(benchmark::State& state) {
  Run(state, [](const char* pattern, const std::string& name) {
    return fnmatch(pattern, name.c_str(), FNM_NOESCAPE) == 0;
  });
}

void GlibSimple(benchmark::State& state) {
  Run(state, [](const char* pattern, const std::string& name) {
    return g_pattern_match_simple(pattern, name.c_str()) != 0;
  });
}

void GlibCompiled(benchmark::State& state) {
  GPatternSpec* const compiled = g_pattern_spec_new(kCases[state.range(0)].pattern);
  Run(state, [&](const char* /*pattern*/, const std::string& name) {
    return g_pattern_spec_match(compiled, name.size(), name.c_str(), nullptr) != 0;
  });
  g_pattern_spec_free(compiled);
}

BENCHMARK(Zorvex)->DenseRange(0, 6);
BENCHMARK(Fnmatch)->DenseRange(0, 6);
BENCHMARK(GlibSimple)->DenseRange(0, 6);
BENCHMARK(GlibCompiled)->DenseRange(0, 6);

}  // namespace

BENCHMARK_MAIN();
