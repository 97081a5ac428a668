// SPDX-License-Identifier: MIT
#include "platform/sound/soundmode.h"

#include <gst/audio/audio.h>

#include <cstdlib>
#include <utility>

#include "platform/gstreamer/soundformat.h"

namespace {

constexpr int kRate = 48000;
constexpr int kChannels = 2;

/// In the order of preference: what hosts ask for, what keeps every bit, the rest.
constexpr GstAudioFormat kFormats[] = {
    GST_AUDIO_FORMAT_S16LE, GST_AUDIO_FORMAT_F32LE,    GST_AUDIO_FORMAT_S32LE,
    GST_AUDIO_FORMAT_S24LE, GST_AUDIO_FORMAT_S24_32LE, GST_AUDIO_FORMAT_F64LE,
    GST_AUDIO_FORMAT_S16BE, GST_AUDIO_FORMAT_F32BE,    GST_AUDIO_FORMAT_S32BE,
    GST_AUDIO_FORMAT_S24BE, GST_AUDIO_FORMAT_S24_32BE, GST_AUDIO_FORMAT_F64BE,
    GST_AUDIO_FORMAT_U16LE, GST_AUDIO_FORMAT_U16BE,    GST_AUDIO_FORMAT_S8,
    GST_AUDIO_FORMAT_U8,
};

/// How far a mode is from the best; the smaller, the better: by the rate, then by the channels.
using Distance = std::pair<int, int>;

/// Takes one mode out of a structure of offered ones. False when the structure has none.
bool Fixate(GstStructure& mode, Distance& distance) {
  gst_structure_fixate_field_nearest_int(&mode, "rate", kRate);
  gst_structure_fixate_field_nearest_int(&mode, "channels", kChannels);
  int rate = 0, channels = 0;
  if (!gst_structure_get_int(&mode, "rate", &rate) ||
      !gst_structure_get_int(&mode, "channels", &channels) || rate <= 0 || channels <= 0) {
    return false;
  }
  if (channels > 2 && !gst_structure_has_field(&mode, "channel-mask")) {
    // Three channels or more have to say where they belong: here, nowhere.
    gst_structure_set(&mode, "channel-mask", GST_TYPE_BITMASK, guint64{0}, nullptr);
  }
  gst_structure_fixate(&mode);
  distance = {std::abs(rate - kRate), std::abs(channels - kChannels)};
  return true;
}

/// The best mode of one sample format; null when the device does not offer it.
GstPointer<GstCaps> BestMode(GstCaps* offered, GstAudioFormat format, Distance& bestDistance) {
  const GstPointer<GstCaps> wanted(gst_caps_new_simple("audio/x-raw", "format", G_TYPE_STRING,
                                                       gst_audio_format_to_string(format), "layout",
                                                       G_TYPE_STRING, "interleaved", nullptr));
  const GstPointer<GstCaps> modes(gst_caps_normalize(gst_caps_intersect(offered, wanted.get())));
  GstPointer<GstCaps> best;
  for (guint i = 0; i < gst_caps_get_size(modes.get()); ++i) {
    GstPointer<GstStructure> mode(gst_structure_copy(gst_caps_get_structure(modes.get(), i)));
    Distance distance;
    if (!Fixate(*mode, distance) || (best && bestDistance <= distance)) continue;
    bestDistance = distance;
    best.reset(gst_caps_new_empty());
    gst_caps_append_structure(best.get(), mode.release());
  }
  return best;
}

}  // namespace

GstPointer<GstCaps> gstreamer::ChooseSoundMode(GstCaps* offered) {
  GstPointer<GstCaps> best;
  Distance bestDistance;
  for (const GstAudioFormat format : kFormats) {
    Distance distance;
    GstPointer<GstCaps> mode = BestMode(offered, format, distance);
    if (!mode || (best && bestDistance <= distance)) continue;
    bestDistance = distance;
    best = std::move(mode);
  }
  return best;
}

std::vector<Retained<QTFormatDescription>> gstreamer::DescribeSoundModes(GstCaps* offered) {
  std::vector<Retained<QTFormatDescription>> descriptions;
  for (const GstAudioFormat format : kFormats) {
    Distance distance;
    const GstPointer<GstCaps> mode = BestMode(offered, format, distance);
    GstAudioInfo info;
    if (!mode || !gst_audio_info_from_caps(&info, mode.get())) continue;
    descriptions.push_back(NewSoundDescription(DescribeSound(info)));
  }
  return descriptions;
}
