// SPDX-License-Identifier: MIT
//
// Going through a folder of 10,000 entries, and copying, beside the C++ library. In the folder that
// ZORVEX_BENCHMARK_FOLDER names, or in memory.
#include <benchmark/benchmark.h>
#include <fnmatch.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <zorvex/foundation.h>

namespace fs = std::filesystem;

namespace {

class Folder {
 public:
  Folder() {
    const char* const base = std::getenv("ZORVEX_BENCHMARK_FOLDER");
    std::string name = std::string(base != nullptr ? base : "/dev/shm") + "/benchmarkXXXXXX";
    path_ = mkdtemp(name.data());
    fs::create_directory(path_ / "many");
    for (int i = 0; i < 10'000; ++i)
      std::ofstream(path_ / "many" /
                    ("entry " + std::to_string(i) + (i % 4 == 0 ? ".MOV" : ".txt")));
    std::ofstream large(path_ / "large", std::ios::binary);
    const std::string megabyte(1 << 20, 'x');
    for (int i = 0; i < 256; ++i)
      large << megabyte;
    for (int i = 0; i < 1'000; ++i) {
      const fs::path folder = path_ / "tree" / std::to_string(i / 20);
      fs::create_directories(folder);
      std::ofstream(folder / std::to_string(i)) << std::string(10'000, 'x');
    }
  }
  ~Folder() { fs::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string operator/(const char* name) const { return path_ / name; }

 private:
  fs::path path_;
};

Folder& Base() {
  static Folder folder;
  return folder;
}

void EntriesZorvex(benchmark::State& state) {
  const std::string many = Base() / "many";
  const char* const pattern = state.range(0) == 0 ? "*" : "*.mov";
  for (auto iteration : state) {
    LFile::FolderIterator files;
    int count = 0;
    for (bool isAt = files.Open(many.c_str(), pattern); isAt; isAt = files.Next())
      ++count;
    if (count != (state.range(0) == 0 ? 10'000 : 2'500)) std::abort();
  }
}
BENCHMARK(EntriesZorvex)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void EntriesDirectoryIterator(benchmark::State& state) {
  const std::string many = Base() / "many";
  for (auto iteration : state) {
    int count = 0;
    for (const auto& entry : fs::directory_iterator(many)) {
      const fs::path name = entry.path().filename();
      count += state.range(0) == 0 || fnmatch("*.mov", name.c_str(), FNM_CASEFOLD) == 0 ? 1 : 0;
    }
    benchmark::DoNotOptimize(count);
  }
}
BENCHMARK(EntriesDirectoryIterator)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

/// The same without even a look at the names.
void EntriesDirectoryIteratorBare(benchmark::State& state) {
  const std::string many = Base() / "many";
  for (auto iteration : state) {
    int count = 0;
    for (const auto& entry : fs::directory_iterator(many)) {
      benchmark::DoNotOptimize(&entry);
      ++count;
    }
    benchmark::DoNotOptimize(count);
  }
}
BENCHMARK(EntriesDirectoryIteratorBare)->Unit(benchmark::kMillisecond);

/// Each time to a new file: what is there is deleted beside the clock.
template <typename Copy>
void CopyRepeatedly(benchmark::State& state, const char* name, Copy copy) {
  const std::string from = Base() / name, to = Base() / "copy";
  for (auto iteration : state) {
    state.PauseTiming();
    fs::remove_all(to);
    state.ResumeTiming();
    if (!copy(from.c_str(), to.c_str())) std::abort();
  }
  fs::remove_all(to);
}

void FileProcess(benchmark::State& state) {
  LProcessInterfaceVoid process;
  CopyRepeatedly(state, "large", [&](const char* from, const char* to) {
    return Process(process, LProcessCopyFile(from, to)) == 0;
  });
}
BENCHMARK(FileProcess)->Unit(benchmark::kMillisecond);

void FileCopyFile(benchmark::State& state) {
  CopyRepeatedly(state, "large", LFile::CopyFile);
}
BENCHMARK(FileCopyFile)->Unit(benchmark::kMillisecond);

void FileStd(benchmark::State& state) {
  CopyRepeatedly(state, "large",
                 [](const char* from, const char* to) { return fs::copy_file(from, to); });
}
BENCHMARK(FileStd)->Unit(benchmark::kMillisecond);

void TreeProcess(benchmark::State& state) {
  LProcessInterfaceVoid process;
  CopyRepeatedly(state, "tree", [&](const char* from, const char* to) {
    return Process(process, LProcessCopyFolder(from, to)) == 0;
  });
}
BENCHMARK(TreeProcess)->Unit(benchmark::kMillisecond);

void TreeStd(benchmark::State& state) {
  CopyRepeatedly(state, "tree", [](const char* from, const char* to) {
    fs::copy(from, to, fs::copy_options::recursive);
    return true;
  });
}
BENCHMARK(TreeStd)->Unit(benchmark::kMillisecond);

void TreeSize(benchmark::State& state) {
  const std::string tree = Base() / "tree";
  for (auto iteration : state)
    if (LFile::GetFolderSizeBytes(tree.c_str(), true) != 10'000'000) std::abort();
}
BENCHMARK(TreeSize)->Unit(benchmark::kMillisecond);

void TreeSizeStd(benchmark::State& state) {
  const std::string tree = Base() / "tree";
  for (auto iteration : state) {
    std::uintmax_t size = 0;
    for (const auto& entry : fs::recursive_directory_iterator(tree))
      size += entry.is_regular_file() ? entry.file_size() : 0;
    if (size != 10'000'000) std::abort();
  }
}
BENCHMARK(TreeSizeStd)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
