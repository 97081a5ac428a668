// SPDX-License-Identifier: MIT
#include "platform/v4l2/v4l2mode.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <tuple>
#include <utility>

#include "platform/gstreamer/pixelformats.h"

namespace {

constexpr int kDefaultWidth = 1280;
constexpr int kDefaultHeight = 720;
constexpr int kDefaultRate = 30;

/// How far a mode is from what is wanted; the smaller, the better, from left to right.
using Distance = std::tuple<int, std::int64_t, int, int, int, double>;

/// A camera without a list of its sizes offers ranges: takes the values nearest to the wish.
void FixateMode(GstStructure& mode, const CVPixelBufferAttributes& wish) {
  gst_structure_fixate_field_nearest_int(
      &mode, "width", static_cast<int>(wish.kCVPixelBufferWidthKey.value_or(kDefaultWidth)));
  gst_structure_fixate_field_nearest_int(
      &mode, "height", static_cast<int>(wish.kCVPixelBufferHeightKey.value_or(kDefaultHeight)));
  gst_structure_fixate_field_nearest_fraction(&mode, "framerate", kDefaultRate, 1);
  gst_structure_fixate(&mode);
}

double RateOf(const GstStructure& mode) {
  int numerator = 0, denominator = 1;
  gst_structure_get_fraction(&mode, "framerate", &numerator, &denominator);
  return denominator > 0 ? static_cast<double>(numerator) / denominator : 0;
}

/// 0 for the size wanted, 1 for a larger one, 2 for a smaller one; then by pixels, so that the
/// nearest comes first.
std::pair<int, std::int64_t> SizeDistance(int width, int height,
                                          const CVPixelBufferAttributes& wish) {
  const std::int64_t pixels = std::int64_t{width} * height;
  const auto wantedWidth = wish.kCVPixelBufferWidthKey;
  const auto wantedHeight = wish.kCVPixelBufferHeightKey;
  if (!wantedWidth && !wantedHeight) {
    const bool fits = pixels <= std::int64_t{kDefaultWidth} * kDefaultHeight;
    return {fits ? 0 : 1, fits ? -pixels : pixels};
  }
  if (width == wantedWidth.value_or(width) && height == wantedHeight.value_or(height)) {
    return {0, wantedWidth && wantedHeight ? 0 : -pixels};
  }
  const bool covers = width >= wantedWidth.value_or(0) && height >= wantedHeight.value_or(0);
  return {covers ? 1 : 2, covers ? pixels : -pixels};
}

std::optional<Distance> DistanceOf(const GstStructure& mode, const CVPixelBufferAttributes& wish,
                                   const GstCaps* wantedFormat) {
  int width = 0, height = 0;
  if (!gst_structure_get_int(&mode, "width", &width) ||
      !gst_structure_get_int(&mode, "height", &height) || width <= 0 || height <= 0) {
    return std::nullopt;
  }
  const auto [sizeRank, pixels] = SizeDistance(width, height, wish);
  const double rate = RateOf(mode);
  const int rateRank = rate >= 24 ? 0 : rate >= 15 ? 1 : 2;
  const bool isRaw = gst_structure_has_name(&mode, "video/x-raw");
  const char* name = gst_structure_get_string(&mode, "format");
  int formatRank = 2;
  if (isRaw && name) {
    const GstStructure& wanted = *gst_caps_get_structure(wantedFormat, 0);
    const GValue* formats = gst_structure_get_value(&wanted, "format");
    // Position in the table: packed 4:2:2 first, which cameras deliver without work.
    for (guint i = 0; i < gst_value_list_get_size(formats); ++i) {
      const GValue* format = gst_value_list_get_value(formats, i);
      if (g_str_equal(g_value_get_string(format), name)) {
        formatRank = static_cast<int>(i) - 100;
        break;
      }
    }
  }
  return Distance{sizeRank,      pixels,     rateRank,
                  isRaw ? 0 : 1, formatRank, std::abs(rate - kDefaultRate)};
}

}  // namespace

GstPointer<GstCaps> gstreamer::ChooseMode(GstCaps* offered, const CVPixelBufferAttributes& wish) {
  GstPointer<GstCaps> wantedFormat =
      RawCapsForCode(wish.kCVPixelBufferPixelFormatTypeKey.value_or(0));
  if (!wantedFormat) wantedFormat = RawCapsForCode(0);
  const GstPointer<GstCaps> usable(gst_caps_from_string("video/x-raw; image/jpeg"));
  const GstPointer<GstCaps> modes(gst_caps_normalize(gst_caps_intersect(offered, usable.get())));

  GstPointer<GstStructure> best;
  std::optional<Distance> bestDistance;
  for (guint i = 0; i < gst_caps_get_size(modes.get()); ++i) {
    GstPointer<GstStructure> mode(gst_structure_copy(gst_caps_get_structure(modes.get(), i)));
    FixateMode(*mode, wish);
    const auto distance = DistanceOf(*mode, wish, wantedFormat.get());
    if (!distance || (bestDistance && *bestDistance <= *distance)) continue;
    bestDistance = distance;
    best = std::move(mode);
  }
  GstPointer<GstCaps> chosen;
  if (best) {
    chosen.reset(gst_caps_new_empty());
    gst_caps_append_structure(chosen.get(), best.release());
  }
  return chosen;
}
