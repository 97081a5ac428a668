// SPDX-License-Identifier: MIT
#include "platform/gstreamer/pictureconversion.h"

#include "platform/gstreamer/pixelformats.h"

namespace {

/// The largest picture that the conversion is asked for, in each direction.
constexpr double kLargestSide = 16384;

/// What the stream has to be in the end. Where one side alone is asked for the other one follows,
/// by keeping the shape of the pixels; a size of both sides is taken literally.
GstPointer<GstCaps> WantedCaps(const CVPixelBufferAttributes& wish, const GstCaps* native) {
  GstPointer<GstCaps> caps =
      gstreamer::RawCapsForCode(wish.kCVPixelBufferPixelFormatTypeKey.value_or(0));
  if (!caps) return caps;
  if (const auto width = wish.kCVPixelBufferWidthKey) {
    gst_caps_set_simple(caps.get(), "width", G_TYPE_INT, static_cast<int>(*width), nullptr);
  }
  if (const auto height = wish.kCVPixelBufferHeightKey) {
    gst_caps_set_simple(caps.get(), "height", G_TYPE_INT, static_cast<int>(*height), nullptr);
  }
  if (wish.kCVPixelBufferWidthKey.has_value() != wish.kCVPixelBufferHeightKey.has_value()) {
    int numerator = 1, denominator = 1;
    gst_structure_get_fraction(gst_caps_get_structure(native, 0), "pixel-aspect-ratio", &numerator,
                               &denominator);
    gst_caps_set_simple(caps.get(), "pixel-aspect-ratio", GST_TYPE_FRACTION, numerator, denominator,
                        nullptr);
  }
  return caps;
}

/// What decodes a compressed stream; null for one that is not compressed.
const char* DecoderOf(const GstCaps* caps) {
  const GstStructure* format = gst_caps_get_structure(caps, 0);
  if (gst_structure_has_name(format, "image/jpeg")) return "jpegdec";
  // The other decoder of DV loses the time codes.
  if (gst_structure_has_name(format, "video/x-dv")) return "avdec_dvvideo";
  return nullptr;
}

}  // namespace

namespace gstreamer {

bool CanConvertTo(const CVPixelBufferAttributes& wish) {
  const auto isSide = [](std::optional<double> side) {
    return !side || (*side >= 1 && *side <= kLargestSide);
  };
  return isSide(wish.kCVPixelBufferWidthKey) && isSide(wish.kCVPixelBufferHeightKey) &&
         RawCapsForCode(wish.kCVPixelBufferPixelFormatTypeKey.value_or(0)) != nullptr;
}

bool AppendPictureConversion(Chain& chain, const CVPixelBufferAttributes& wish,
                             const GstCaps* native) {
  if (gst_caps_is_empty(native) || gst_caps_is_any(native)) return false;
  const GstPointer<GstCaps> wanted = WantedCaps(wish, native);
  if (!wanted) return false;
  if (gst_caps_can_intersect(native, wanted.get()) && gst_caps_is_fixed(native)) return true;
  if (const char* decoder = DecoderOf(native)) {
    if (!chain.Append(decoder)) return false;
  }
  if (wish.kCVPixelBufferPixelFormatTypeKey == kFullRange420) {
    // The converter leaves the range as it is where the matrix stays the same; RGB has but one.
    const GstPointer<GstCaps> rgb = RawCapsForCode(FourCharCode("BGRA"));
    if (!chain.Append("videoconvert") || !chain.AppendCapsFilter(rgb.get())) return false;
  }
  GstElement* converter = gst_element_factory_make("videoconvertscale", nullptr);
  // Without borders: the whole picture in the size asked for.
  if (converter) g_object_set(converter, "add-borders", FALSE, nullptr);
  return chain.Append(converter) && chain.AppendCapsFilter(wanted.get());
}

}  // namespace gstreamer
