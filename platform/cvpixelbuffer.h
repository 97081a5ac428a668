// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_CVPIXELBUFFER_H
#define ZORVEX_PLATFORM_CVPIXELBUFFER_H

#include <zorvex/platform/fourcharcode.h>

#include <cstddef>
#include <cstdint>
#include <optional>

/// One decoded picture in memory that belongs to the platform. Lives for the delegate call that it
/// is passed to and is used by that thread alone.
class CVPixelBuffer {
 public:
  virtual ~CVPixelBuffer() = default;

  /// Makes the pixels addressable until UnlockBaseAddress; `flags` 0 allows reading. 0 on success.
  virtual int LockBaseAddress(std::uint64_t flags) = 0;
  virtual int UnlockBaseAddress(std::uint64_t flags) = 0;

  /// First byte of the picture (of its first plane); valid while locked.
  virtual const unsigned char* GetBaseAddress() const = 0;
  /// Pixel format as a four-character code ('2vuy', 'BGRA', 24, 32 ...).
  virtual std::uint32_t GetPixelFormatType() const = 0;
  virtual std::size_t GetWidth() const = 0;        ///< in pixels
  virtual std::size_t GetHeight() const = 0;       ///< in pixels
  virtual std::size_t GetBytesPerRow() const = 0;  ///< of the first plane, padding included
};

/// What a host asks of the pictures; a key that is absent leaves the platform's choice.
struct CVPixelBufferAttributes {
  std::optional<std::uint32_t> kCVPixelBufferPixelFormatTypeKey;  ///< four-character code
  std::optional<double> kCVPixelBufferWidthKey;                   ///< in pixels
  std::optional<double> kCVPixelBufferHeightKey;                  ///< in pixels

  bool operator==(const CVPixelBufferAttributes&) const = default;
};

#endif  // ZORVEX_PLATFORM_CVPIXELBUFFER_H
