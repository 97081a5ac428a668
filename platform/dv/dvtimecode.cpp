// SPDX-License-Identifier: MIT
#include "platform/dv/dvtimecode.h"

#include <gst/video/video.h>

#include <algorithm>

namespace gstreamer {

namespace {

constexpr std::uint8_t kTimeCodePack = 0x13;
constexpr std::size_t kSubcodeBlocks = 2;  ///< in a sequence, the first at block 1
constexpr std::size_t kPackets = 6;        ///< in a block, of eight bytes each
constexpr std::size_t kMostCopies = 12 * kSubcodeBlocks * kPackets;

/// The number of two decimal digits; -1 when they are none or the number is not below the limit.
int FromBcd(int byte, int limit) {
  const int tens = byte >> 4, ones = byte & 0x0f;
  const int value = tens * 10 + ones;
  return tens < 10 && ones < 10 && value < limit ? value : -1;
}

std::optional<DvTimeCode> Parse(DvBytes bytes, DvSystem system) {
  const bool is625 = system == DvSystem::Lines625;
  if (std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0xff; })) {
    return std::nullopt;  // "no information", which the masks below would hide
  }
  const DvTimeCode code{.hours = FromBcd(bytes[3] & 0x3f, 24),
                        .minutes = FromBcd(bytes[2] & 0x7f, 60),
                        .seconds = FromBcd(bytes[1] & 0x7f, 60),
                        .frames = FromBcd(bytes[0] & 0x3f, is625 ? 25 : 30),
                        // With 625 lines the bit means something else, or nothing.
                        .dropFrame = !is625 && (bytes[0] & 0x40) != 0};
  if (code.hours < 0 || code.minutes < 0 || code.seconds < 0 || code.frames < 0) {
    return std::nullopt;
  }
  const bool isDropped =
      code.dropFrame && code.minutes % 10 != 0 && code.seconds == 0 && code.frames < 2;
  return isDropped ? std::nullopt : std::optional(code);
}

}  // namespace

std::optional<DvTimeCode> ReadDvTimeCode(DvBytes frame) {
  const auto system = DvSystemOf(frame);
  if (!system || frame.size() < DvFrameSize(*system)) return std::nullopt;
  struct Vote {
    DvTimeCode code;
    int count;
  };
  std::array<Vote, kMostCopies> votes;
  auto end = votes.begin();
  for (std::size_t start = 0; start < DvFrameSize(*system); start += kDvSequenceSize) {
    for (std::size_t i = 0; i < kSubcodeBlocks * kPackets; ++i) {
      // A block has an address of three bytes, and so has a packet.
      const std::size_t at = start + (1 + i / kPackets) * kDvBlockSize + 3 + i % kPackets * 8 + 3;
      if (frame[at] != kTimeCodePack) continue;
      const auto code = Parse(frame.subspan(at + 1, 4), *system);
      if (!code) continue;
      auto vote = std::find_if(votes.begin(), end, [&](const Vote& v) { return v.code == *code; });
      if (vote == end) *end++ = {*code, 0};
      ++vote->count;
    }
  }
  if (end == votes.begin()) return std::nullopt;
  return std::max_element(
             votes.begin(), end,
             [](const Vote& left, const Vote& right) { return left.count < right.count; })
      ->code;
}

void SetDvTimeCode(GstBuffer* buffer, const std::optional<DvTimeCode>& timeCode, DvSystem system) {
  GstVideoTimeCodeMeta* meta = gst_buffer_get_video_time_code_meta(buffer);
  if (!timeCode) {
    if (meta) gst_buffer_remove_meta(buffer, &meta->meta);
    return;
  }
  const bool is625 = system == DvSystem::Lines625;
  if (!meta) {
    meta = gst_buffer_add_video_time_code_meta_full(buffer, is625 ? 25 : 30000, is625 ? 1 : 1001,
                                                    nullptr, GST_VIDEO_TIME_CODE_FLAGS_NONE, 0, 0,
                                                    0, 0, 0);
    if (buffer->pool) {
      meta->meta.flags = static_cast<GstMetaFlags>(meta->meta.flags | GST_META_FLAG_POOLED);
    }
  }
  meta->tc.config.flags =
      timeCode->dropFrame ? GST_VIDEO_TIME_CODE_FLAGS_DROP_FRAME : GST_VIDEO_TIME_CODE_FLAGS_NONE;
  meta->tc.hours = static_cast<guint>(timeCode->hours);
  meta->tc.minutes = static_cast<guint>(timeCode->minutes);
  meta->tc.seconds = static_cast<guint>(timeCode->seconds);
  meta->tc.frames = static_cast<guint>(timeCode->frames);
}

}  // namespace gstreamer
