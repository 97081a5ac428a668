// SPDX-License-Identifier: MIT
#include "platform/linux/pcinames.h"

#include <cstdio>
#include <string_view>

namespace {

/// What stands behind a key; empty when the line does not begin with it.
std::string NameBehind(std::string_view line, std::string_view key) {
  if (!line.starts_with(key)) return {};
  const std::size_t begin = line.find_first_not_of(" \t", key.size());
  if (begin == key.size() || begin == std::string_view::npos) return {};
  return std::string(line.substr(begin, line.find_last_not_of(" \t\r") + 1 - begin));
}

std::string KeyOf(const char* format, unsigned int id) {
  char key[16];
  std::snprintf(key, sizeof key, format, id);
  return key;
}

}  // namespace

PciNames FindPciNames(std::istream& list, unsigned int vendorId, unsigned int deviceId) {
  const std::string vendorKey = KeyOf("%04x", vendorId);
  const std::string deviceKey = KeyOf("\t%04x", deviceId);
  PciNames names;
  std::string line;
  while (std::getline(list, line)) {
    if (line.empty() || line[0] == '#') continue;
    if (line[0] != '\t') {
      if (!names.vendor.empty()) break;  // the next vendor, or the lists of other things
      names.vendor = NameBehind(line, vendorKey);
    } else if (!names.vendor.empty() && names.device.empty()) {
      names.device = NameBehind(line, deviceKey);
    }
  }
  return names;
}
