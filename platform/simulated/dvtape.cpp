// SPDX-License-Identifier: MIT
#include "platform/simulated/dvtape.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace {

bool IsRegularFile(const struct stat& status) {
  return S_ISREG(status.st_mode);
}

/// Reads so many bytes from a place in a file. Not through a mapping: a file that gets shorter
/// would be fatal to the process.
bool ReadAt(int file, std::uint64_t offset, std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = pread(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
  return true;
}

}  // namespace

std::shared_ptr<const DvTape> DvTape::Load(const std::string& path) {
  struct stat status {};
  // Looked at before it is opened, as opening alone does something to a device; and afterwards, as
  // it may be another file by then.
  if (stat(path.c_str(), &status) != 0 || !IsRegularFile(status)) return nullptr;
  UniqueFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (!file || fstat(file.Get(), &status) != 0 || !IsRegularFile(status)) return nullptr;

  std::uint8_t header[gstreamer::kDvHeaderSize];
  const auto system = ReadAt(file.Get(), 0, header) ? gstreamer::DvSystemOf(header) : std::nullopt;
  if (!system) return nullptr;
  std::vector<std::uint8_t> first(gstreamer::DvFrameSize(*system));
  if (!ReadAt(file.Get(), 0, first) || !gstreamer::IsDv25(first)) return nullptr;
  const std::uint64_t frames = static_cast<std::uint64_t>(status.st_size) / first.size();
  auto tape = std::make_shared<DvTape>(std::move(file), *system, frames == 0 ? 1 : frames);
  tape->sound_ = gstreamer::DvSoundOf(first);
  return tape;
}

DvTape::DvTape(UniqueFd file, gstreamer::DvSystem system, std::uint64_t frames)
    : file_(std::move(file)), system_(system), frames_(frames) {}

FrameRate DvTape::Rate() const {
  return system_ == gstreamer::DvSystem::Lines625 ? FrameRate{25, 1} : FrameRate{30000, 1001};
}

bool DvTape::Read(std::uint64_t index, std::span<std::uint8_t> frame) const {
  return ReadAt(file_.Get(), index * FrameSize(), frame);
}
