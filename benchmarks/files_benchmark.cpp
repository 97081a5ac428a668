// SPDX-License-Identifier: MIT
//
// Readers and writers of files beside what a program would use without this library, on a file of
// 20 MB with lines of 84 bytes on average. Machines drift, so compare ratios within one run:
//
//   files_benchmark --benchmark_repetitions=7 --benchmark_enable_random_interleaving=true
//                   --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <zorvex/foundation.h>

namespace {

constexpr std::size_t kFileSize = 20'000'000;

/// The file of lines, at its beginning.
int LineFile() {
  static const int fd = [] {
    std::mt19937 random(1);
    std::string content;
    while (content.size() < kFileSize)
      content.append(random() % 167, 'x').append(1, '\n');
    const int file = memfd_create("lines", 0);
    if (write(file, content.data(), content.size()) < 0) std::abort();
    return file;
  }();
  lseek(fd, 0, SEEK_SET);
  return fd;
}

std::string PathOf(int fd) {
  return "/proc/self/fd/" + std::to_string(fd);
}

void LinesBuffered(benchmark::State& state) {
  char line[260];
  for (auto iteration : state) {
    LReadFileBuffered reader(LineFile());
    while (reader.ReadLine(line, sizeof line))
      benchmark::DoNotOptimize(line);
  }
}
BENCHMARK(LinesBuffered)->Unit(benchmark::kMillisecond);

void LinesGetline(benchmark::State& state) {
  char* line = nullptr;
  std::size_t size = 0;
  for (auto iteration : state) {
    std::FILE* const file = std::fopen(PathOf(LineFile()).c_str(), "r");
    while (getline(&line, &size, file) >= 0)
      benchmark::DoNotOptimize(line);
    std::fclose(file);
  }
  std::free(line);
}
BENCHMARK(LinesGetline)->Unit(benchmark::kMillisecond);

void LinesStdGetline(benchmark::State& state) {
  std::string line;
  for (auto iteration : state) {
    std::ifstream file(PathOf(LineFile()));
    while (std::getline(file, line))
      benchmark::DoNotOptimize(line.data());
  }
}
BENCHMARK(LinesStdGetline)->Unit(benchmark::kMillisecond);

// The first tenth of the file, with nothing read ahead after any line.
constexpr off_t kUnbufferedSize = kFileSize / 10;

void LinesUnbuffered(benchmark::State& state) {
  LStringLongTemplate<char> line;
  for (auto iteration : state) {
    LReadFileRef reader(LineFile());
    while (lseek(reader.Descriptor(), 0, SEEK_CUR) < kUnbufferedSize)
      reader.ReadLine(line);
  }
}
BENCHMARK(LinesUnbuffered)->Unit(benchmark::kMillisecond);

void LinesByBytes(benchmark::State& state) {
  for (auto iteration : state) {
    const int fd = LineFile();
    std::string line;
    char character = 0;
    for (off_t i = 0; i < kUnbufferedSize && read(fd, &character, 1) == 1; ++i) {
      if (character == '\n') {
        benchmark::DoNotOptimize(line.data());
        line.clear();
      } else {
        line += character;
      }
    }
  }
}
BENCHMARK(LinesByBytes)->Unit(benchmark::kMillisecond);

std::vector<char>& Bytes() {
  static std::vector<char> bytes(kFileSize);
  return bytes;
}

void ProcessRead(benchmark::State& state) {
  LProcessInterfaceVoid process;
  for (auto iteration : state) {
    LReadFileRef reader(LineFile());
    if (LProcessFileRead(process, reader, Bytes().data(), kFileSize) != 0) std::abort();
  }
}
BENCHMARK(ProcessRead)->Unit(benchmark::kMillisecond);

void PlainRead(benchmark::State& state) {
  for (auto iteration : state) {
    const int fd = LineFile();
    for (std::size_t done = 0; done < kFileSize; done += 10240)
      if (read(fd, Bytes().data() + done, std::min<std::size_t>(10240, kFileSize - done)) < 0)
        std::abort();
  }
}
BENCHMARK(PlainRead)->Unit(benchmark::kMillisecond);

void ProcessWrite(benchmark::State& state) {
  LProcessInterfaceVoid process;
  for (auto iteration : state) {
    LWriteFileRef writer(LineFile());
    if (LProcessFileWrite(process, writer, Bytes().data(), kFileSize) != 0) std::abort();
  }
}
BENCHMARK(ProcessWrite)->Unit(benchmark::kMillisecond);

void PlainWrite(benchmark::State& state) {
  for (auto iteration : state) {
    const int fd = LineFile();
    for (std::size_t done = 0; done < kFileSize; done += 10240)
      if (write(fd, Bytes().data() + done, std::min<std::size_t>(10240, kFileSize - done)) < 0)
        std::abort();
  }
}
BENCHMARK(PlainWrite)->Unit(benchmark::kMillisecond);

int Scratch() {
  static const int fd = memfd_create("scratch", 0);
  lseek(fd, 0, SEEK_SET);
  return fd;
}

void Fprintf(benchmark::State& state) {
  for (auto iteration : state)
    fprintf(LWriteFileRef(Scratch()), "%s=%d (%lld) %f\r\n", "name", 42, 1234567890123LL, 2.5);
}
BENCHMARK(Fprintf);

void Dprintf(benchmark::State& state) {
  for (auto iteration : state)
    dprintf(Scratch(), "%s=%d (%lld) %f\r\n", "name", 42, 1234567890123LL, 2.5);
}
BENCHMARK(Dprintf);

/// Forty bytes into a pipe and out again. A pipe to a command costs more to write to.
void PipeWrite(benchmark::State& state) {
  LPipeInOut command;
  int ends[2];
  if (pipe(ends) != 0 || !command._Open("exec sleep 1000", 0, 0)) std::abort();
  LWriteFileRef writer(ends[1]);
  if (state.range(0) == 1) {
    // The same pipe by the number of one to a command.
    writer = command.Writer();
    dup2(ends[1], writer.Descriptor());
  }
  char taken[40];
  for (auto iteration : state) {
    writer.WriteString("0123456789012345678901234567890123456789");
    if (read(ends[0], taken, sizeof taken) != sizeof taken) std::abort();
  }
  kill(command.Pid(), SIGKILL);
  close(ends[0]);
  close(ends[1]);
}
BENCHMARK(PipeWrite)->ArgName("command")->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
