// SPDX-License-Identifier: MIT
#include "platform/devicenode.h"

#include <sys/stat.h>

#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace gstreamer {

DeviceNode LookUpNode(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0 || !S_ISCHR(status.st_mode)) return {path, 0, 0};
  return {path, status.st_rdev, status.st_ino};
}

std::string FirstLine(const fs::path& file) {
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);
  return line;
}

std::string ModelWithSerial(fs::path folder) {
  for (; folder.has_relative_path(); folder = folder.parent_path()) {
    std::error_code error;
    if (!fs::exists(folder / "idVendor", error)) continue;
    const std::string serial = FirstLine(folder / "serial");
    if (serial.empty()) return {};
    return FirstLine(folder / "idVendor") + ":" + FirstLine(folder / "idProduct") + ":" + serial;
  }
  return {};
}

}  // namespace gstreamer
