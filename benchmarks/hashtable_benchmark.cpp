// SPDX-License-Identifier: MIT
//
// The ordered table of texts beside what a program would use without this library. Machines drift,
// so compare ratios within one run, of CPU time:
//
//   hashtable_benchmark --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
//                       --benchmark_report_aggregates_only=true
#include <absl/container/btree_map.h>
#include <benchmark/benchmark.h>
#include <glib.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <zorvex/foundation.h>

namespace {

using Texts = std::vector<std::string>;

/// `count` different keys of 28 bytes in random order. With a common beginning, the first bytes
/// tell nothing: 14 are the same.
Texts MakeKeys(std::size_t count, bool haveCommonBeginning) {
  std::mt19937_64 random(count);
  Texts keys;
  for (std::size_t index = 0; index < count; ++index) {
    char key[40];
    const auto number = static_cast<unsigned long long>(random());
    if (haveCommonBeginning)
      std::snprintf(key, sizeof key, "capture.device%014llx", number >> 8);
    else
      std::snprintf(key, sizeof key, "%016llx.setting%04zu", number, index % 10000);
    keys.emplace_back(key);
  }
  return keys;
}

struct OurTable {
  void Set(const std::string& key, const std::string& value) {
    table.SetString(key.c_str(), value.c_str());
  }
  const char* Get(const std::string& key) const { return table.GetString(key.c_str(), nullptr); }
  std::size_t Walk() const {
    std::size_t sum = 0;
    for (LHashTableConstIterator entry(table.Entries()); entry.Current(); entry.Next())
      sum += static_cast<unsigned char>(*entry.Current()->value->Text());
    return sum;
  }
  LHashTable table;
};

// Looked up by std::string: a conversion of the key would count against the peers.
template <typename Map>
struct MapTable {
  void Set(const std::string& key, const std::string& value) { map.insert_or_assign(key, value); }
  const char* Get(const std::string& key) const {
    const auto found = map.find(key);
    return found == map.end() ? nullptr : found->second.c_str();
  }
  std::size_t Walk() const {
    std::size_t sum = 0;
    for (const auto& [key, value] : map)
      sum += static_cast<unsigned char>(*value.c_str());
    return sum;
  }
  Map map;
};
using StdMap = MapTable<std::map<std::string, std::string>>;
using BTreeMap = MapTable<absl::btree_map<std::string, std::string>>;

struct GlibTree {
  GlibTree()
      : tree(g_tree_new_full(
            [](gconstpointer left, gconstpointer right, gpointer) {
              return std::strcmp(static_cast<const char*>(left), static_cast<const char*>(right));
            },
            nullptr, g_free, g_free)) {}
  ~GlibTree() { g_tree_unref(tree); }
  GlibTree(const GlibTree&) = delete;
  GlibTree& operator=(const GlibTree&) = delete;

  void Set(const std::string& key, const std::string& value) {
    g_tree_insert(tree, g_strdup(key.c_str()), g_strdup(value.c_str()));
  }
  const char* Get(const std::string& key) const {
    return static_cast<const char*>(g_tree_lookup(tree, key.c_str()));
  }
  std::size_t Walk() const {
    std::size_t sum = 0;
    g_tree_foreach(
        tree,
        [](gpointer, gpointer value, gpointer data) -> gboolean {
          *static_cast<std::size_t*>(data) += *static_cast<unsigned char*>(value);
          return FALSE;
        },
        &sum);
    return sum;
  }
  GTree* tree;
};

const std::string kValue = "1920x1080";

template <typename Table>
void Fill(Table& table, const Texts& keys) {
  for (const std::string& key : keys)
    table.Set(key, kValue);
}

struct Shape {
  std::size_t count;
  bool haveCommonBeginning;
};

Shape ShapeOf(const benchmark::State& state) {
  return {static_cast<std::size_t>(state.range(0)), state.range(1) != 0};
}

// Everything a table costs from its first entry to its end; and the heap that an entry takes.
template <typename Table>
void InsertAndFree(benchmark::State& state) {
  const Shape shape = ShapeOf(state);
  const Texts keys = MakeKeys(shape.count, shape.haveCommonBeginning);
  {
    const std::size_t before = mallinfo2().uordblks;
    Table table;
    Fill(table, keys);
    state.counters["bytes"] =
        static_cast<double>(mallinfo2().uordblks - before) / static_cast<double>(shape.count);
  }
  for (auto _ : state) {
    Table table;
    Fill(table, keys);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Table>
void Insert(benchmark::State& state) {
  const Shape shape = ShapeOf(state);
  const Texts keys = MakeKeys(shape.count, shape.haveCommonBeginning);
  std::unique_ptr<Table> table;
  for (auto _ : state) {
    state.PauseTiming();
    table = std::make_unique<Table>();
    state.ResumeTiming();
    Fill(*table, keys);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Table>
void LookUp(benchmark::State& state, const Texts& keys, const Texts& wanted) {
  Table table;
  Fill(table, keys);
  for (auto _ : state) {
    for (const std::string& key : wanted)
      benchmark::DoNotOptimize(table.Get(key));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Table>
void Find(benchmark::State& state) {
  const Shape shape = ShapeOf(state);
  const Texts keys = MakeKeys(shape.count, shape.haveCommonBeginning);
  Texts wanted = keys;
  std::shuffle(wanted.begin(), wanted.end(), std::mt19937(1));
  LookUp<Table>(state, keys, wanted);
}

template <typename Table>
void FindAbsent(benchmark::State& state) {
  const Shape shape = ShapeOf(state);
  const Texts keys = MakeKeys(shape.count, shape.haveCommonBeginning);
  Texts wanted = MakeKeys(shape.count + 1, shape.haveCommonBeginning);
  wanted.resize(shape.count);
  LookUp<Table>(state, keys, wanted);
}

template <typename Table>
void Walk(benchmark::State& state) {
  Table table;
  Fill(table, MakeKeys(static_cast<std::size_t>(state.range(0)), false));
  for (auto _ : state)
    benchmark::DoNotOptimize(table.Walk());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void SaveQuery(benchmark::State& state) {
  OurTable table;
  Fill(table, MakeKeys(static_cast<std::size_t>(state.range(0)), false));
  LStringLongTemplate<char> out;
  for (auto _ : state)
    table.table.SaveHTTPString(out);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void LoadQuery(benchmark::State& state) {
  OurTable table;
  Fill(table, MakeKeys(static_cast<std::size_t>(state.range(0)), false));
  LStringLongTemplate<char> query;
  table.table.SaveHTTPString(query);
  for (auto _ : state) {
    LHashTable loaded;
    loaded.LoadHTTPString(query);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"keys", "common"})
      ->Args({1000, 0})
      ->Args({100000, 0})
      ->Args({1000, 1})
      ->Args({100000, 1});
}

#define BENCHMARK_TABLES(function)                      \
  BENCHMARK_TEMPLATE(function, OurTable)->Apply(Sizes); \
  BENCHMARK_TEMPLATE(function, StdMap)->Apply(Sizes);   \
  BENCHMARK_TEMPLATE(function, BTreeMap)->Apply(Sizes); \
  BENCHMARK_TEMPLATE(function, GlibTree)->Apply(Sizes)
BENCHMARK_TABLES(Insert);
BENCHMARK_TABLES(InsertAndFree);
BENCHMARK_TABLES(Find);
BENCHMARK_TABLES(FindAbsent);

BENCHMARK_TEMPLATE(Walk, OurTable)->Arg(1000)->Arg(100000);
BENCHMARK_TEMPLATE(Walk, StdMap)->Arg(1000)->Arg(100000);
BENCHMARK_TEMPLATE(Walk, BTreeMap)->Arg(1000)->Arg(100000);
BENCHMARK_TEMPLATE(Walk, GlibTree)->Arg(1000)->Arg(100000);
BENCHMARK(SaveQuery)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(LoadQuery)->Arg(1000)->Arg(10000)->Arg(100000);

}  // namespace

BENCHMARK_MAIN();
