// SPDX-License-Identifier: MIT
#include "platform/memory.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "platform/uniquefd.h"

namespace {

using Bytes = unsigned long long;

constexpr Bytes kNoLimit = std::numeric_limits<Bytes>::max();

/// The head of a file, as much as any of those below has of what is looked for.
std::string ReadHead(const std::string& path) {
  char text[8192];
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  const ssize_t count = file ? read(file.Get(), text, sizeof text) : 0;
  return {text, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

/// The number behind a label at the beginning of a line; nothing when there is no such line.
std::optional<Bytes> NumberBehind(const std::string& text, const char* label) {
  std::size_t place = text.find(label);
  while (place != std::string::npos && place != 0 && text[place - 1] != '\n')
    place = text.find(label, place + 1);
  if (place == std::string::npos) return std::nullopt;
  return std::strtoull(text.c_str() + place + std::strlen(label), nullptr, 10);
}

/// The number that a file consists of; "max" and no file are no limit.
Bytes LimitIn(const std::string& path) {
  const std::string text = ReadHead(path);
  char* end = nullptr;
  const Bytes limit = std::strtoull(text.c_str(), &end, 10);
  return end == text.c_str() ? kNoLimit : limit;
}

Bytes Less(Bytes limit, Bytes used) {
  if (limit == kNoLimit) return kNoLimit;
  return limit > used ? limit - used : 0;
}

Bytes KilobytesBehind(const std::string& text, const char* label) {
  return NumberBehind(text, label).value_or(0) * 1024;
}

Bytes FreeOfMachine() {
  const std::string info = ReadHead("/proc/meminfo");
  const std::optional<Bytes> available = NumberBehind(info, "MemAvailable:");
  if (available) return *available * 1024 + KilobytesBehind(info, "SwapFree:");
  const long pages = sysconf(_SC_AVPHYS_PAGES);
  const long pageSize = sysconf(_SC_PAGESIZE);
  return static_cast<Bytes>(std::max(pages, 0L)) * static_cast<Bytes>(std::max(pageSize, 0L));
}

Bytes FreeOfLimits() {
  const std::string status = ReadHead("/proc/self/status");
  rlimit space = {};
  rlimit data = {};
  Bytes free = kNoLimit;
  if (getrlimit(RLIMIT_AS, &space) == 0 && space.rlim_cur != RLIM_INFINITY)
    free = Less(space.rlim_cur, KilobytesBehind(status, "VmSize:"));
  if (getrlimit(RLIMIT_DATA, &data) == 0 && data.rlim_cur != RLIM_INFINITY)
    free = std::min(free, Less(data.rlim_cur, KilobytesBehind(status, "VmData:")));
  return free;
}

struct GroupFiles {
  const char* label;  // of the line that names the group
  const char* root;
  const char* limit;
  const char* used;
  const char* cache;  // in memory.stat: what is given up for others
};

constexpr GroupFiles kGroupFiles[] = {
    {"0::", "/sys/fs/cgroup", "/memory.max", "/memory.current", "inactive_file "},
    {":memory:", "/sys/fs/cgroup/memory", "/memory.limit_in_bytes", "/memory.usage_in_bytes",
     "total_inactive_file "},
};

struct GroupMemory {
  Bytes limit = kNoLimit;
  Bytes free = kNoLimit;
};

GroupMemory MemoryOfGroup(const std::string& folder, const GroupFiles& files) {
  const Bytes limit = LimitIn(folder + files.limit);
  if (limit == kNoLimit) return {};
  const Bytes cache = NumberBehind(ReadHead(folder + "/memory.stat"), files.cache).value_or(0);
  return {limit, Less(limit, Less(LimitIn(folder + files.used), cache))};
}

/// Limits hold for all groups from the process's own up. In a container the path may be one of
/// outside, of which only the root is to be seen.
GroupMemory MemoryOfGroups() {
  const std::string groups = ReadHead("/proc/self/cgroup");
  GroupMemory memory;
  for (const GroupFiles& files : kGroupFiles) {
    const std::size_t label = groups.find(files.label);
    if (label == std::string::npos) continue;
    const std::size_t begin = label + std::strlen(files.label);
    std::string path = groups.substr(begin, groups.find('\n', begin) - begin);
    for (;;) {
      const GroupMemory group = MemoryOfGroup(files.root + path, files);
      memory.limit = std::min(memory.limit, group.limit);
      memory.free = std::min(memory.free, group.free);
      const std::size_t slash = path.rfind('/');
      if (slash == std::string::npos) break;
      path.resize(slash);
    }
  }
  return memory;
}

}  // namespace

unsigned long long ReadFreeMemory() {
  return std::min({FreeOfMachine(), FreeOfLimits(), MemoryOfGroups().free});
}

PhysicalMemory ReadPhysicalMemory() {
  const std::string info = ReadHead("/proc/meminfo");
  const GroupMemory group = MemoryOfGroups();
  return {std::min(KilobytesBehind(info, "MemTotal:"), group.limit),
          std::min(KilobytesBehind(info, "MemAvailable:"), group.free)};
}

ProcessMemory ReadProcessMemory() {
  const std::string status = ReadHead("/proc/self/status");
  return {KilobytesBehind(status, "VmRSS:"), KilobytesBehind(status, "VmHWM:"),
          KilobytesBehind(status, "VmSize:"), KilobytesBehind(status, "VmPeak:")};
}
