// SPDX-License-Identifier: MIT
#include "platform/processlist.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/uniquefd.h"

namespace {

constexpr unsigned long kKernelThread = 0x00200000;  // PF_KTHREAD
// What the kernel keeps of a process's name.
constexpr std::size_t kShortName = 15;

/// The files of one process. Its folder stays that of this one process: reading a file in it fails
/// once it has been waited for, also when its number is another one's by then.
class ProcessFolder {
 public:
  explicit ProcessFolder(int pid)
      : folder_(open(("/proc/" + std::to_string(pid)).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

  /// The head of a file, as much as is needed of any of those here. Empty when it cannot be read.
  [[nodiscard]] std::string ReadHead(const char* name) const {
    char text[4096];
    if (!folder_) return {};
    const UniqueFd file(openat(folder_.Get(), name, O_RDONLY | O_CLOEXEC));
    const ssize_t count = file ? read(file.Get(), text, sizeof text) : 0;
    return {text, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }

  /// What a link leads to; empty when that may not be seen.
  [[nodiscard]] std::string ReadLink(const char* name) const {
    char text[8192];
    if (!folder_) return {};
    const ssize_t count = readlinkat(folder_.Get(), name, text, sizeof text);
    return {text, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }

 private:
  UniqueFd folder_;
};

/// The file "stat": the number, the name in parentheses, the state, and numbers.
class StatLine {
 public:
  explicit StatLine(const std::string& text) : text_(text) {
    // A name may have parentheses, spaces and line ends itself; behind it there are none.
    const std::size_t open = text_.find('(');
    const std::size_t close = text_.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open) return;
    name_ = text_.substr(open + 1, close - open - 1);
    rest_ = text_.substr(close + 1);
  }

  [[nodiscard]] bool IsValid() const { return !rest_.empty(); }
  [[nodiscard]] const std::string& Name() const { return name_; }
  [[nodiscard]] char State() const { return Field(3)[0]; }
  /// Counted from 1, as the system's manual does; from 4 on.
  [[nodiscard]] unsigned long long Number(int field) const {
    return std::strtoull(Field(field), nullptr, 10);
  }

 private:
  [[nodiscard]] const char* Field(int field) const {
    std::size_t place = 1;
    for (int skipped = 3; skipped < field && place < rest_.size(); ++skipped)
      place = std::min(rest_.find(' ', place), rest_.size() - 1) + 1;
    return rest_.c_str() + std::min(place, rest_.size());
  }

  std::string text_;
  std::string name_;
  std::string rest_;
};

// A process whose first thread alone has ended counts as a zombie for the kernel, with its other
// threads at work.
bool IsZombie(const StatLine& stat) {
  constexpr int kThreads = 20;
  return std::strchr("ZXx", stat.State()) != nullptr && stat.Number(kThreads) <= 1;
}

long SecondsOf(clockid_t clock) {
  timespec now = {};
  clock_gettime(clock, &now);
  return now.tv_sec;
}

long StartTimeOf(unsigned long long ticks) {
  const long ticksPerSecond = std::max(sysconf(_SC_CLK_TCK), 1L);
  return SecondsOf(CLOCK_REALTIME) - SecondsOf(CLOCK_BOOTTIME) +
         static_cast<long>(ticks) / ticksPerSecond;
}

/// The file "status": lines of a label and numbers.
class StatusLines {
 public:
  explicit StatusLines(std::string text) : text_(std::move(text)) {}

  /// The number at a place in a line, from 0; 0 when there is none.
  [[nodiscard]] unsigned int Number(const char* label, int place) const {
    const std::size_t line = text_.find(label);
    if (line == std::string::npos) return 0;
    const char* numbers = text_.c_str() + line + std::strlen(label);
    unsigned long number = 0;
    for (char* end = nullptr; place >= 0; --place, numbers = end)
      number = std::strtoul(numbers, &end, 10);
    return static_cast<unsigned int>(number);
  }

 private:
  std::string text_;
};

// The kernel marks a file that was replaced while it runs, as updates do. The mark may also be the
// end of a file's real name.
std::string WithoutDeletedMark(std::string path) {
  constexpr std::string_view kMark = " (deleted)";
  struct stat file = {};
  const bool isMarked = path.size() > kMark.size() && path.ends_with(kMark);
  if (isMarked && lstat(path.c_str(), &file) != 0) path.resize(path.size() - kMark.size());
  return path;
}

std::string FileNameOf(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

// Without leave to see the file: what the process was started by, if the kernel's name for it
// speaks for that. It is the process's own to write what it wants there.
std::string NameFromCommand(const ProcessFolder& folder, const std::string& shortName) {
  const std::string command = folder.ReadHead("cmdline");
  const std::string name = FileNameOf(command.substr(0, command.find('\0')));
  return name.substr(0, kShortName) == shortName ? name : shortName;
}

}  // namespace

std::vector<int> ListProcesses() {
  std::vector<int> pids;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc"), closedir);
  while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
    const int pid = static_cast<int>(std::strtol(entry->d_name, nullptr, 10));
    if (pid > 0) pids.push_back(pid);
  }
  return pids;
}

bool ReadProcess(int pid, ProcessEntry& entry) {
  constexpr int kParent = 4;
  constexpr int kFlags = 9;
  constexpr int kStart = 22;
  errno = 0;
  const ProcessFolder folder(pid);
  const StatLine stat(folder.ReadHead("stat"));
  const StatusLines status(folder.ReadHead("status"));
  if (!stat.IsValid() || IsZombie(stat) || (stat.Number(kFlags) & kKernelThread) != 0) return false;
  // Threads, which are not listed, have folders as well.
  if (status.Number("\nTgid:", 0) != static_cast<unsigned int>(pid)) return false;
  entry.pid = pid;
  entry.parentPid = static_cast<int>(stat.Number(kParent));
  entry.userId = status.Number("\nUid:", 1);
  entry.birth = stat.Number(kStart);
  entry.startTime = StartTimeOf(entry.birth);
  entry.path = WithoutDeletedMark(folder.ReadLink("exe"));
  entry.name = entry.path.empty() ? NameFromCommand(folder, stat.Name()) : FileNameOf(entry.path);
  return true;
}
