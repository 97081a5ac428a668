// SPDX-License-Identifier: MIT
//
// Dat files beside GLib's key files, on a file of 5,000 items. Machines drift, so compare ratios
// within one run:
//
//   datfile_benchmark --benchmark_repetitions=15 --benchmark_enable_random_interleaving=true
//                     --benchmark_report_aggregates_only=true
//
// The file lies in memory (/dev/shm) where there is such a place: GLib writes to the disk with
// fsync, which dat files never do.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>

#include "foundation/store/datfile.h"
#include "foundation/store/datfilenative.h"

namespace {

constexpr int kItems = 5000;

std::string NameOf(int i) {
  return "Item" + std::to_string(i) + "Setting";
}

/// The same content for both, in files of their own.
class SettingsFile {
 public:
  explicit SettingsFile(const std::string& name)
      : path_(std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : "/tmp/") + name +
              std::to_string(getpid())) {
    std::ofstream file(path_);
    file << "[Main]\r\n";
    for (int i = 0; i < kItems; ++i)
      file << NameOf(i) << "=value of the item " << i * 7919 << "\r\n";
    file << "\r\n";
  }
  ~SettingsFile() { unlink(Path()); }
  SettingsFile(const SettingsFile&) = delete;
  SettingsFile& operator=(const SettingsFile&) = delete;
  const char* Path() const { return path_.c_str(); }

 private:
  const std::string path_;
};

const SettingsFile kDatFile("datfile");
const SettingsFile kKeyFile("keyfile");

struct KeyFileDeleter {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

KeyFile LoadKeyFile() {
  KeyFile file(g_key_file_new());
  g_key_file_load_from_file(file.get(), kKeyFile.Path(), G_KEY_FILE_NONE, nullptr);
  return file;
}

// Loading, until it is freed again.

void LoadGKeyFile(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(LoadKeyFile());
}
BENCHMARK(LoadGKeyFile);

void LoadDatFile(benchmark::State& state) {
  for (auto _ : state) {
    LDatFileNativeFile file(kDatFile.Path());
    file.ReloadIfChanged();
    benchmark::DoNotOptimize(&file);
  }
}
BENCHMARK(LoadDatFile);

// What a process does when another one has written: the items are there already.
void ReloadDatFile(benchmark::State& state) {
  LDatFileNativeFile file(kDatFile.Path());
  file.ReloadIfChanged();
  for (auto _ : state) {
    const int descriptor = open(kDatFile.Path(), O_RDONLY | O_CLOEXEC);
    file.Load(LReadFileRef(descriptor));
    close(descriptor);
  }
}
BENCHMARK(ReloadDatFile);

// Setting one item, until it is in the file.

void SetGKeyFile(benchmark::State& state) {
  const KeyFile file = LoadKeyFile();
  int i = 0;
  for (auto _ : state) {
    g_key_file_set_string(file.get(), "Main", NameOf(i = (i + 1) % kItems).c_str(), "changed");
    g_key_file_save_to_file(file.get(), kKeyFile.Path(), nullptr);
  }
}
BENCHMARK(SetGKeyFile);

void SetDatFile(benchmark::State& state) {
  int i = 0;
  for (auto _ : state)
    LDatFileSetValue(kDatFile.Path(), "Main", NameOf(i = (i + 1) % kItems).c_str(), "changed");
}
BENCHMARK(SetDatFile);

// The least that it takes to lock a file of that size and write it anew.
void WriteOnly(benchmark::State& state) {
  struct stat status = {};
  stat(kKeyFile.Path(), &status);
  const std::string text(static_cast<std::size_t>(status.st_size), 'x');
  const SettingsFile file("writeonly");
  for (auto _ : state) {
    const int descriptor = open(file.Path(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (ftruncate(descriptor, 0) != 0 || write(descriptor, text.data(), text.size()) < 0) {
      state.SkipWithError("cannot write");
    }
    close(descriptor);
  }
}
BENCHMARK(WriteOnly);

// Getting one item. GLib's has no reload check; ours is one stat, which GetStat is alone.

void GetGKeyFile(benchmark::State& state) {
  const KeyFile file = LoadKeyFile();
  const std::string name = NameOf(kItems / 2);
  for (auto _ : state) {
    char* const value = g_key_file_get_string(file.get(), "Main", name.c_str(), nullptr);
    benchmark::DoNotOptimize(value);
    g_free(value);
  }
}
BENCHMARK(GetGKeyFile);

void GetDatFile(benchmark::State& state) {
  const std::string name = NameOf(kItems / 2);
  char value[260];
  for (auto _ : state) {
    LDatFileGetValue(kDatFile.Path(), "Main", name.c_str(), "", value);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(GetDatFile);

void GetStat(benchmark::State& state) {
  struct stat status = {};
  for (auto _ : state)
    benchmark::DoNotOptimize(stat(kDatFile.Path(), &status));
}
BENCHMARK(GetStat);

}  // namespace

BENCHMARK_MAIN();
