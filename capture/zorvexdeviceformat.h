// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_ZORVEXDEVICEFORMAT_H
#define ZORVEX_CAPTURE_ZORVEXDEVICEFORMAT_H

/// \file
/// The formats of a device: what ZRVXDeviceFormatEnumerate of <zorvex/zorvex.h> keeps and hands
/// out, and enumerators that answer a host's usual questions.
///
/// Formats are plain values; one thread at a time uses a set or an enumerator, and neither
/// allocates.

#include <cstddef>
#include <cstdint>

#include <zorvex/capture/zorvex.h>
#include <zorvex/foundation/export.h>
#include <zorvex/platform/qtcapturedevice.h>

/// One format of a device.
struct ZRVXDeviceFormat {
  constexpr ZRVXDeviceFormat() = default;
  constexpr ZRVXDeviceFormat(unsigned int formatType, unsigned long width, unsigned long height,
                             unsigned long bytesPerRow)
      : nFormatType(formatType), nWidth(width), nHeight(height), nBytesPerRow(bytesPerRow) {}

  bool operator==(ZRVXDeviceFormat const&) const = default;

  std::uint32_t nFormatType = 0;   ///< four-character code: of pixels ('BGRA'), of sound ('lpcm')
  std::uint64_t nWidth = 0;        ///< in pixels; 0 for sound
  std::uint64_t nHeight = 0;       ///< in pixels; 0 for sound
  std::uint64_t nBytesPerRow = 0;  ///< of a frame that was seen; 0 in every listed format
};

/// At most 64 formats, each of them once.
class ZORVEX_API ZRVXDeviceFormatSet {
 public:
  ZRVXDeviceFormatSet() = default;

  /// Appends a format. False when it is there already, or 64 others are.
  bool Add(ZRVXDeviceFormat const& format);
  /// Puts the formats in the order of CompareFunc.
  void Sort();
  /// Compares two ZRVXDeviceFormat as `qsort` wants it: the wider one first, then the higher one,
  /// then the one with the smaller code. Bytes per row are not compared.
  static int CompareFunc(void const* a, void const* b);

  unsigned long Count() const { return nCount; }
  /// `index` is below Count(); it is not checked.
  ZRVXDeviceFormat const& operator[](unsigned long index) const { return Formats[index]; }

 private:
  /// There is room for 65 records, of which 64 are used. Deliberate; both numbers are part of the
  /// contract.
  static constexpr std::size_t kRecords = 65;
  static constexpr std::size_t kCapacity = 64;

  ZRVXDeviceFormat Formats[kRecords];
  std::uint64_t nCount = 0;
};

/// Keeps the formats that it receives, each of them once, up to 64 of a kind.
class ZORVEX_API ZRVXDeviceFormatHolder final : public IZRVXDeviceFormatEnumerator {
 public:
  bool OnDeviceFormatAudio(unsigned int format) override;
  bool OnDeviceFormatVideo(unsigned int pixelFormat, unsigned long width,
                           unsigned long height) override;

  /// Whether it has any format.
  bool IsValid() const { return Audio.Count() != 0 || Video.Count() != 0; }
  /// Puts the formats in the order of CompareFunc.
  void Sort();
  /// Hands the sound formats to `enumerator` until it gives false, then, whatever it gave, the
  /// pictures' formats likewise.
  void EnumerateFormats(IZRVXDeviceFormatEnumerator& enumerator) const;

 private:
  ZRVXDeviceFormatSet Audio;
  ZRVXDeviceFormatSet Video;
};

/// Finds out which kinds of formats a device has.
class ZORVEX_API ZRVXDeviceFormatChecker final : public IZRVXDeviceFormatEnumerator {
 public:
  bool OnDeviceFormatAudio(unsigned int format) override;
  bool OnDeviceFormatVideo(unsigned int pixelFormat, unsigned long width,
                           unsigned long height) override;

  bool HasVideo() const { return bVideo; }
  bool HasAudio() const { return bAudio; }

 private:
  bool bVideo = false;
  bool bAudio = false;
};

/// For enumerators that care for pictures only.
class ZORVEX_API ZRVXDeviceFormatEnumeratorVoid : public IZRVXDeviceFormatEnumerator {
 public:
  /// Does nothing and goes on.
  bool OnDeviceFormatAudio(unsigned int format) override;

 protected:
  ~ZRVXDeviceFormatEnumeratorVoid() = default;
};

/// Finds out whether a device lists pictures of a size, in any pixel format.
class ZORVEX_API ZRVXDeviceVideoFormatChecker final : public ZRVXDeviceFormatEnumeratorVoid {
 public:
  ZRVXDeviceVideoFormatChecker(unsigned int pixelFormat, unsigned long width, unsigned long height);
  bool OnDeviceFormatVideo(unsigned int pixelFormat, unsigned long width,
                           unsigned long height) override;

  bool IsFound() const { return bFound; }

 private:
  [[maybe_unused]] std::uint32_t nFormatType;  ///< deliberately not compared: any can be asked for
  std::uint64_t nWidth;
  std::uint64_t nHeight;
  bool bFound = false;
};

/// ZRVXDeviceFormatEnumerate on a platform's device, which must stay alive meanwhile. False also
/// for no device and for one without a unique identifier.
ZORVEX_API bool ZRVXDeviceFormatEnumerateEx(QTCaptureDevice* device,
                                            IZRVXDeviceFormatEnumerator* enumerator);

#endif  // ZORVEX_CAPTURE_ZORVEXDEVICEFORMAT_H
