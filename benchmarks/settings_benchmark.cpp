// SPDX-License-Identifier: MIT
//
// User settings beside what a program would use without them: a statement of SQLite prepared once,
// and GLib's key files. Each holds the same 1,000 values in a file of its own. Machines drift, so
// compare ratios within one run:
//
//   settings_benchmark --benchmark_repetitions=15 --benchmark_enable_random_interleaving=true
//                      --benchmark_report_aggregates_only=true
//
// What is set lasts in all three, so setting takes what the disk of the temporary folder takes.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "foundation/store/usersettings.h"
#include "platform/preferences.h"

namespace {

constexpr int kItems = 1000;

std::string NameOf(int i) {
  return "Item" + std::to_string(i) + "Setting";
}
std::string ValueOf(int i) {
  return "value of the item " + std::to_string(i * 7919);
}

class Folder {
 public:
  Folder() {
    std::string name = std::filesystem::temp_directory_path() / "settings-XXXXXX";
    path_ = mkdtemp(name.data());
    setenv("XDG_CONFIG_HOME", path_.c_str(), 1);
    for (int i = 0; i < kItems; ++i) {
      CFPreferencesSetValue(("Main/" + NameOf(i)).c_str(), ValueOf(i).c_str(), "LZorvex",
                            kCFPreferencesCurrentUser, kCFPreferencesCurrentHost);
    }
    CFPreferencesSynchronize("LZorvex", kCFPreferencesCurrentUser, kCFPreferencesCurrentHost);
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::string PathOf(const char* file) const { return path_ + "/" + file; }

 private:
  std::string path_;
};

const Folder& TheFolder() {
  static const Folder folder;
  return folder;
}

class Database {
 public:
  Database() {
    sqlite3_open(TheFolder().PathOf("plain.sqlite").c_str(), &database_);
    sqlite3_exec(database_,
                 "PRAGMA synchronous = EXTRA;"
                 "CREATE TABLE IF NOT EXISTS t(key TEXT PRIMARY KEY, value TEXT) WITHOUT ROWID;"
                 "BEGIN",
                 nullptr, nullptr, nullptr);
    sqlite3_prepare_v2(database_, "SELECT value FROM t WHERE key = ?", -1, &get_, nullptr);
    sqlite3_prepare_v2(database_, "INSERT OR REPLACE INTO t VALUES(?, ?)", -1, &set_, nullptr);
    for (int i = 0; i < kItems; ++i)
      Set("Main/" + NameOf(i), ValueOf(i));
    sqlite3_exec(database_, "COMMIT", nullptr, nullptr, nullptr);
  }
  ~Database() {
    sqlite3_finalize(get_);
    sqlite3_finalize(set_);
    sqlite3_close(database_);
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  void Set(const std::string& key, const std::string& value) {
    sqlite3_bind_text(set_, 1, key.c_str(), -1, SQLITE_STATIC);
    sqlite3_bind_text(set_, 2, value.c_str(), -1, SQLITE_STATIC);
    sqlite3_step(set_);
    sqlite3_reset(set_);
  }
  void Get(const char* section, const char* name, char* out) {
    char key[520];
    std::snprintf(key, sizeof key, "%s/%s", section, name);
    sqlite3_bind_text(get_, 1, key, -1, SQLITE_STATIC);
    sqlite3_step(get_);
    std::snprintf(out, 260, "%s", reinterpret_cast<const char*>(sqlite3_column_text(get_, 0)));
    sqlite3_reset(get_);
  }

 private:
  sqlite3* database_ = nullptr;
  sqlite3_stmt* get_ = nullptr;
  sqlite3_stmt* set_ = nullptr;
};

struct KeyFileDeleter {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

KeyFile MakeKeyFile() {
  KeyFile file(g_key_file_new());
  for (int i = 0; i < kItems; ++i)
    g_key_file_set_string(file.get(), "Main", NameOf(i).c_str(), ValueOf(i).c_str());
  return file;
}

/// Calls with a name of each item in turn.
template <class Work>
void ForNames(benchmark::State& state, Work work) {
  std::string names[kItems];
  for (int i = 0; i < kItems; ++i)
    names[i] = NameOf(i * 617 % kItems);
  int i = 0;
  for (auto _ : state) {
    work(names[i].c_str());
    i = i + 1 == kItems ? 0 : i + 1;
  }
}

void GetUserSetting(benchmark::State& state) {
  TheFolder();
  char out[260];
  ForNames(state, [&](const char* name) {
    benchmark::DoNotOptimize(_LUserSettingGetString("Main", name, "", out));
  });
}
BENCHMARK(GetUserSetting);

void GetSqlite(benchmark::State& state) {
  Database database;
  char out[260];
  ForNames(state, [&](const char* name) { database.Get("Main", name, out); });
}
BENCHMARK(GetSqlite);

void GetGKeyFile(benchmark::State& state) {
  const KeyFile file = MakeKeyFile();
  ForNames(state, [&](const char* name) {
    g_free(g_key_file_get_string(file.get(), "Main", name, nullptr));
  });
}
BENCHMARK(GetGKeyFile);

// Setting one of them to something else.

int number = 0;

void SetUserSetting(benchmark::State& state) {
  TheFolder();
  ForNames(state, [&](const char* name) {
    LUserSettingSetString("Main", name, std::to_string(++number).c_str());
  });
}
BENCHMARK(SetUserSetting)->UseRealTime();

void SetSqlite(benchmark::State& state) {
  Database database;
  ForNames(state, [&](const char* name) {
    database.Set(std::string("Main/") + name, std::to_string(++number));
  });
}
BENCHMARK(SetSqlite)->UseRealTime();

void SetGKeyFile(benchmark::State& state) {
  const KeyFile file = MakeKeyFile();
  const std::string path = TheFolder().PathOf("key.file");
  ForNames(state, [&](const char* name) {
    g_key_file_set_string(file.get(), "Main", name, std::to_string(++number).c_str());
    g_key_file_save_to_file(file.get(), path.c_str(), nullptr);
  });
}
BENCHMARK(SetGKeyFile)->UseRealTime();

// To what it is already, which nobody else has changed.
void SetUserSettingToTheSame(benchmark::State& state) {
  TheFolder();
  for (auto _ : state)
    LUserSettingSetString("Main", "Same", "value");
}
BENCHMARK(SetUserSettingToTheSame)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
