// SPDX-License-Identifier: MIT
#include "tools/outputfile.h"

#include <stdlib.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "tools/exitcode.h"

namespace fs = std::filesystem;

namespace {

/// What a second of uncompressed video may take, which is written between two looks at the disk.
constexpr unsigned long reserve = 16ul << 20;

fs::path FolderOf(const std::string& file) {
  const fs::path folder = fs::path(file).parent_path();
  return folder.empty() ? fs::path(".") : folder;
}

/// Whether a file can be made in the folder; tried, as permissions alone do not tell it of every
/// file system. The reason is left in errno.
bool CanMakeFile(const fs::path& folder) {
  std::string probe = (folder / ".zvcap-XXXXXX").string();
  const int descriptor = mkostemp(probe.data(), 0);
  if (descriptor < 0) return false;
  close(descriptor);
  unlink(probe.c_str());
  return true;
}

}  // namespace

void CheckWritable(const std::string& file, const char* what) {
  const auto refuse = [&](const std::string& reason) {
    throw Failure(ExitCode::CannotWrite,
                  std::string("cannot write ") + what + " \"" + file + "\": " + reason);
  };
  std::error_code ignored;
  const fs::path folder = FolderOf(file);
  const fs::file_status target = fs::status(file, ignored);
  if (!fs::exists(folder, ignored)) refuse("there is no folder \"" + folder.string() + "\"");
  if (!fs::is_directory(folder, ignored)) refuse("\"" + folder.string() + "\" is no folder");
  if (fs::is_directory(target)) refuse("it is a folder");
  if (fs::exists(target)) {
    if (!fs::is_regular_file(target)) refuse("it is no ordinary file");
    if (access(file.c_str(), W_OK) != 0) refuse(std::strerror(errno));
  } else if (!CanMakeFile(folder)) {
    refuse(std::strerror(errno));
  }
  if (IsDiskFull(file)) refuse("the disk is full");
}

bool IsDiskFull(const std::string& file) {
  struct statvfs disk {};
  if (statvfs(FolderOf(file).c_str(), &disk) != 0) return false;
  return disk.f_bavail * disk.f_frsize < reserve;
}

unsigned long FileBytes(const std::string& file) {
  std::error_code error;
  const auto bytes = fs::file_size(file, error);
  return error ? 0 : bytes;
}
