// SPDX-License-Identifier: MIT
// Deleting 10,000 files in 220 folders, in memory. The times are the processor's, of this process
// and of the one that it starts: rm is measured with its start, which BM_Start shows by itself.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "foundation/files/file.h"
#include "foundation/threads/processinterface.h"

namespace {

constexpr int kFolders = 220;
constexpr int kFiles = 10'000;

std::string Base() {
  return access("/dev/shm", W_OK) == 0 ? "/dev/shm"
                                       : std::filesystem::temp_directory_path().string();
}

/// 20 folders with ten in each of those, which have the files.
void MakeTree(const std::string& root) {
  mkdir(root.c_str(), 0777);
  for (int i = 1; i < kFolders; ++i) {
    mkdir((root + "/" + std::to_string(i % 20)).c_str(), 0777);
    if (i >= 20)
      mkdir((root + "/" + std::to_string(i % 20) + "/" + std::to_string(i)).c_str(), 0777);
  }
  for (int i = 0; i < kFiles; ++i) {
    const int folder = i % (kFolders - 20) + 20;
    const std::string path = root + "/" + std::to_string(folder % 20) + "/" +
                             std::to_string(folder) + "/recording_" + std::to_string(i) + ".mov";
    close(open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0666));
  }
}

bool Run(const char* const* arguments) {
  pid_t child = 0;
  if (posix_spawnp(&child, arguments[0], nullptr, nullptr, const_cast<char**>(arguments),
                   environ) != 0) {
    return false;
  }
  int status = 0;
  return waitpid(child, &status, 0) == child && status == 0;
}

double ProcessorSeconds() {
  double seconds = 0.0;
  for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage = {};
    getrusage(who, &usage);
    for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
      seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }
  }
  return seconds;
}

template <typename Delete>
void Measure(benchmark::State& state, Delete deleteTree) {
  std::string root = Base() + "/deletetreeXXXXXX";
  if (mkdtemp(root.data()) == nullptr) return state.SkipWithError("no place for a tree");
  for (auto _ : state) {
    MakeTree(root);
    const double start = ProcessorSeconds();
    if (!deleteTree(root.c_str()) || access(root.c_str(), F_OK) == 0) {
      return state.SkipWithError("not deleted");
    }
    state.SetIterationTime(ProcessorSeconds() - start);
  }
  state.SetItemsProcessed(state.iterations() * kFiles);
}

void BM_DeleteFolderTree(benchmark::State& state) {
  Measure(state, [](const char* path) { return LFile::DeleteFolderTree(path); });
}

void BM_DeleteFolderTreeWithProgress(benchmark::State& state) {
  Measure(state, [](const char* path) {
    LProcessInterfaceVoid process;
    return LFile::DeleteFolderTree(process, path, 0) == 0;
  });
}

void BM_DeleteFolderTreeByAge(benchmark::State& state) {
  Measure(state, [](const char* path) {
    LProcessInterfaceVoid process;
    return LFile::DeleteFolderTree(process, path, -1) == 0;
  });
}

void BM_Rm(benchmark::State& state) {
  Measure(state, [](const char* path) {
    const char* const arguments[] = {"rm", "-r", path, nullptr};
    return Run(arguments);
  });
}

void BM_RemoveAll(benchmark::State& state) {
  Measure(state, [](const char* path) {
    std::error_code error;
    return std::filesystem::remove_all(path, error) > kFiles;
  });
}

void BM_Start(benchmark::State& state) {
  const char* const arguments[] = {"rm", "-f", nullptr};
  for (auto _ : state) {
    const double start = ProcessorSeconds();
    if (!Run(arguments)) return state.SkipWithError("not started");
    state.SetIterationTime(ProcessorSeconds() - start);
  }
}

BENCHMARK(BM_DeleteFolderTree)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(BM_DeleteFolderTreeWithProgress)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(BM_DeleteFolderTreeByAge)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(BM_Rm)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(BM_RemoveAll)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(BM_Start)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace

BENCHMARK_MAIN();
