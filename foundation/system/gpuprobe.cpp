// SPDX-License-Identifier: MIT
#include "foundation/system/gpuprobe.h"

#include <sstream>

#include "foundation/system/application.h"
#include "foundation/system/shell.h"
#include "foundation/system/xdgfolders.h"

namespace {

constexpr char kProgram[] = "/zorvex-gpuprobe";

/// Where it is installed, and where it is in a build tree.
constexpr const char* kFolders[] = {"/" ZORVEX_LIBEXEC_FROM_LIB, "/../bin"};

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream rest(text);
  for (std::string part; std::getline(rest, part, separator);)
    parts.push_back(part);
  return parts;
}

}  // namespace

std::optional<GpuProbeAnswer> RunGpuProbe(LProcessInterface& process, const std::string& program,
                                          const char* question, unsigned int timeout) {
  constexpr std::uint64_t kLongestAnswer = 65536;
  const char* const arguments[] = {program.c_str(), question, nullptr};
  LStringLongTemplate<char> output;
  LStringLongTemplate<char> complaints;
  const LProgramStreams streams = {
      .output = &output, .errorOutput = &complaints, .outputLimit = kLongestAnswer};
  int status = -1;
  if (LRunProgram(process, arguments, streams, timeout, &status) != 0) return std::nullopt;
  std::vector<std::string> lines = Split({output.Text(), output.Length()}, '\n');
  // Where the host takes the status away, the last line alone tells.
  const bool hasFailed = status != 0 && status != -1;
  if (hasFailed || lines.empty() || lines.back() != "end") {
    process.SetErrorF("The graphics drivers gave no answer (exit status %d).", status);
    return std::nullopt;
  }
  lines.pop_back();
  GpuProbeAnswer answer;
  for (const std::string& line : lines)
    answer.push_back(Split(line, '\t'));
  return answer;
}

std::string FindGpuProbe() {
  LStringLongTemplate<char> library;
  LLibraryGetPath(library);
  const std::string path(library.Text(), library.Length());
  for (const char* const folder : kFolders) {
    std::string program = FindProgram(path.substr(0, path.rfind('/')) + folder + kProgram);
    if (!program.empty()) return program;
  }
  return {};
}
