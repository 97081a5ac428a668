// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_QTFORMATDESCRIPTION_H
#define ZORVEX_PLATFORM_QTFORMATDESCRIPTION_H

#include <zorvex/platform/coreaudiotypes.h>
#include <zorvex/platform/nsobject.h>

#include <cstdint>
#include <optional>

enum class QTMediaType {
  QTMediaTypeVideo,
  QTMediaTypeSound,
  QTMediaTypeMuxed,  ///< picture and sound in one stream, as a tape camcorder sends them
  QTMediaTypeOther,  ///< anything else, such as text or metadata
};

struct NSSize {
  double width;
  double height;
};

/// formatDescriptionAttributes: what is absent is not known.
struct QTFormatDescriptionAttributes {
  /// In pixels.
  std::optional<NSSize> QTFormatDescriptionVideoEncodedPixelsSizeAttribute;
  std::optional<AudioStreamBasicDescription>
      QTFormatDescriptionAudioStreamBasicDescriptionAttribute;
};

/// The format of a stream, or one that a device offers. Immutable.
class QTFormatDescription : public NSObject {
 public:
  QTFormatDescription(QTMediaType mediaType, std::uint32_t formatType,
                      const QTFormatDescriptionAttributes& attributes)
      : mediaType_(mediaType), formatType_(formatType), attributes_(attributes) {}

  QTMediaType MediaType() const { return mediaType_; }
  /// A four-character code: the pixel format or codec of pictures, 'lpcm' for sound.
  std::uint32_t FormatType() const { return formatType_; }
  const QTFormatDescriptionAttributes& FormatDescriptionAttributes() const { return attributes_; }

 private:
  const QTMediaType mediaType_;
  const std::uint32_t formatType_;
  const QTFormatDescriptionAttributes attributes_;
};

#endif  // ZORVEX_PLATFORM_QTFORMATDESCRIPTION_H
