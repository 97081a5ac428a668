// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_CVPIXELBUFFER_H
#define ZORVEX_PLATFORM_CVPIXELBUFFER_H

#include <cstddef>
#include <cstdint>
#include <optional>

/// A four-character code as one big-endian number: FourCharCode("2vuy").
constexpr std::uint32_t FourCharCode(const char (&text)[5]) {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i)
    code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}

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
