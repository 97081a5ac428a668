// SPDX-License-Identifier: MIT
#include "tools/png.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "tools/exitcode.h"

namespace {

/// Closes the stream; what was still buffered may fail to be written only here.
bool Close(std::FILE* stream) {
  return std::fclose(stream) == 0;
}

[[noreturn]] void Fail(const std::string& file, const std::string& reason) {
  throw Failure(ExitCode::CannotWrite, "cannot write the picture \"" + file + "\": " + reason);
}

}  // namespace

void WritePng(const Picture& picture, const std::string& file) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;

  std::FILE* stream = std::fopen(file.c_str(), "wbe");
  if (!stream) Fail(file, std::strerror(errno));
  errno = 0;
  const bool written =
      png_image_write_to_stdio(&image, stream, 0, picture.rgb.data(), 0, nullptr) != 0;
  const bool closed = Close(stream);
  if (written && closed) return;
  const std::string reason = errno != 0 ? std::strerror(errno) : image.message;
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  Fail(file, reason);
}
