// SPDX-License-Identifier: MIT
//
// zorvex-gpuprobe opengl|vulkan: asks the drivers, in a process in which they may do what they
// like.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "platform/gpuprobe/probe.h"

namespace {

constexpr unsigned int kLongestLifeSeconds = 300;

/// The answer alone goes where the caller reads; what drivers print goes nowhere.
std::FILE* TakeOutput() {
  const int answer = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (answer < 0 || nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0) return nullptr;
  return fdopen(answer, "w");
}

}  // namespace

void WriteField(std::FILE* answer, const char* text, char behind) {
  for (; *text != '\0'; ++text)
    std::fputc(*text == '\t' || *text == '\n' ? ' ' : *text, answer);
  std::fputc(behind, answer);
}

int main(int argc, char** argv) {
  // For when a driver hangs and the caller has gone.
  alarm(kLongestLifeSeconds);
  std::FILE* const answer = TakeOutput();
  if (argc != 2 || answer == nullptr) return 2;
  if (std::strcmp(argv[1], "opengl") == 0) {
    AskOpenGL(answer);
  } else if (std::strcmp(argv[1], "vulkan") == 0) {
    AskVulkan(answer);
  } else {
    return 2;
  }
  WriteField(answer, "end", '\n');
  // Nothing is taken down: that is where drivers like to crash, and everything is known.
  _exit(std::fflush(answer) == 0 ? 0 : 1);
}
