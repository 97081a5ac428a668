// SPDX-License-Identifier: MIT
#include "platform/gstreamer/moviesound.h"

#include <algorithm>

namespace {

using gstreamer::SoundStorage;

/// How far stamps may be off before the sound is put in step again: a driver's jitter is less, and
/// it is less than a picture of 25 a second.
constexpr GstClockTimeDiff kTolerance = 40 * GST_MSECOND;
/// Sound that waits for a slow disk or for pictures.
constexpr guint64 kWaitingBytes = 64u << 20;
constexpr guint64 kQueuedTime = 10 * GST_SECOND;
constexpr guint64 kSilenceAtOnce = 48000;  ///< frames

/// Where no sound has come when it has to begin: what most devices give.
constexpr int kUsualRate = 48000, kUsualChannels = 2;

constexpr const char* kPcmFactories[] = {"appsrc", "audioconvert", "audioresample", "queue",
                                         nullptr};
constexpr const char* kAacFactories[] = {"appsrc", "audioconvert", "audioresample",
                                         "queue",  "avenc_aac",    nullptr};
constexpr gint kAacBitsPerSecond = 256000;

/// The channels that can be stored: more than two samples without places of the channels, which is
/// how containers of PCM take them; for an encoder they need places, to be mixed down.
constexpr int kMostPcmChannels = 16;
/// The format of the track.
GstPointer<GstCaps> StoredCaps(const GstAudioInfo& info, SoundStorage storage, int mostRate) {
  const int rate = GST_AUDIO_INFO_RATE(&info);
  int channels = GST_AUDIO_INFO_CHANNELS(&info);
  int storedRate = rate;
  const char* format = GST_AUDIO_INFO_DEPTH(&info) > 16 ? "S24LE" : "S16LE";
  if (storage == SoundStorage::Aac) {
    format = "F32LE";
    channels = std::min(channels, 2);
  }
  // Two rates that every player knows.
  if (storage == SoundStorage::Aac || rate > mostRate) {
    storedRate = rate % 11025 == 0 ? 44100 : 48000;
  }
  GstPointer<GstCaps> caps(gst_caps_new_simple(
      "audio/x-raw", "format", G_TYPE_STRING, format, "layout", G_TYPE_STRING, "interleaved",
      "rate", G_TYPE_INT, storedRate, "channels", G_TYPE_INT, channels, nullptr));
  if (channels > 2) {
    gst_caps_set_simple(caps.get(), "channel-mask", GST_TYPE_BITMASK, guint64{0}, nullptr);
  }
  return caps;
}

/// Lays out more than two channels as the storage needs it; false when it cannot store them.
bool ArrangeChannels(GstAudioInfo& info, SoundStorage storage) {
  const int channels = GST_AUDIO_INFO_CHANNELS(&info);
  if (channels <= 2) return true;
  GstAudioChannelPosition places[64];
  if (storage == SoundStorage::Pcm) {
    if (channels > kMostPcmChannels) return false;
    std::fill_n(places, channels, GST_AUDIO_CHANNEL_POSITION_NONE);
  } else {
    if (!GST_AUDIO_INFO_IS_UNPOSITIONED(&info)) return true;
    const guint64 mask = gst_audio_channel_get_fallback_mask(channels);
    if (mask == 0) return false;
    gst_audio_channel_positions_from_mask(channels, mask, places);
  }
  gst_audio_info_set_format(&info, GST_AUDIO_INFO_FORMAT(&info), GST_AUDIO_INFO_RATE(&info),
                            channels, places);
  return true;
}

}  // namespace

namespace gstreamer {

const char* const* SoundFactories(SoundStorage storage) {
  return storage == SoundStorage::Pcm ? kPcmFactories : kAacFactories;
}

bool MovieSound::Build(Pipeline& pipeline, GstElement* muxer) {
  Chain chain(pipeline);
  if (!chain.Append("appsrc")) return false;
  source_ = reinterpret_cast<GstAppSrc*>(chain.Last());
  g_object_set(source_, "format", GST_FORMAT_TIME, "max-bytes", guint64{0}, "max-buffers",
               guint64{0}, nullptr);
  if (!chain.Append("audioconvert") || !chain.Append("audioresample") ||
      !chain.Append("capsfilter")) {
    return false;
  }
  storedFormat_ = chain.Last();
  if (storage_ == SoundStorage::Aac) {
    if (!chain.Append("avenc_aac")) return false;
    g_object_set(chain.Last(), "bitrate", kAacBitsPerSecond, nullptr);
  }
  if (!chain.Append("queue")) return false;
  g_object_set(chain.Last(), "max-size-buffers", 0u, "max-size-bytes",
               static_cast<guint>(kWaitingBytes), "max-size-time", kQueuedTime, nullptr);
  return chain.LinkTo(muxer, "audio_%u");
}

void MovieSound::SetFormat(const GstAudioInfo& info) {
  begin_ = hasFormat_ ? Position() : 0;
  frames_ = 0;
  info_ = info;
  if (!hasFormat_) {
    const GstPointer<GstCaps> stored = StoredCaps(info_, storage_, mostRate_);
    g_object_set(storedFormat_, "caps", stored.get(), nullptr);
  }
  const GstPointer<GstCaps> caps(gst_audio_info_to_caps(&info_));
  gst_app_src_set_caps(source_, caps.get());
  hasFormat_ = true;
}

GstClockTimeDiff MovieSound::TimeOf(guint64 frames) const {
  return static_cast<GstClockTimeDiff>(gst_util_uint64_scale_int_round(
      frames, static_cast<gint>(GST_SECOND), GST_AUDIO_INFO_RATE(&info_)));
}

guint64 MovieSound::FramesIn(GstClockTimeDiff time) const {
  return gst_util_uint64_scale_int_round(static_cast<guint64>(std::max<GstClockTimeDiff>(time, 0)),
                                         GST_AUDIO_INFO_RATE(&info_),
                                         static_cast<gint>(GST_SECOND));
}

GstClockTimeDiff MovieSound::Position() const {
  return begin_ + TimeOf(frames_);
}

bool MovieSound::IsFull() const {
  return gst_app_src_get_current_level_bytes(source_) >= kWaitingBytes;
}

GstClockTimeDiff MovieSound::Push(GstBuffer* buffer, GstCaps* caps, GstClockTimeDiff time) {
  GstAudioInfo info;
  if (!gst_audio_info_from_caps(&info, caps) || GST_AUDIO_INFO_BPF(&info) <= 0) return 0;
  if (!ArrangeChannels(info, storage_)) return 0;
  if (!hasFormat_ || !gst_audio_info_is_equal(&info, &info_)) SetFormat(info);

  const auto frameBytes = static_cast<guint64>(GST_AUDIO_INFO_BPF(&info_));
  guint64 frames = gst_buffer_get_size(buffer) / frameBytes;
  const GstClockTimeDiff length = TimeOf(frames);
  guint64 first = 0;
  const GstClockTimeDiff ahead = time - Position();
  if (!isInStep_ || ahead > kTolerance || ahead < -kTolerance) {
    if (ahead > 0) AppendSilence(FramesIn(ahead));
    first = std::min(FramesIn(-ahead), frames);
    isInStep_ = true;
  }
  frames -= first;
  if (frames == 0 || IsFull()) {
    isInStep_ = false;
    return length;
  }
  GstBuffer* part = gst_buffer_copy_region(
      buffer, static_cast<GstBufferCopyFlags>(GST_BUFFER_COPY_MEMORY | GST_BUFFER_COPY_DEEP),
      first * frameBytes, frames * frameBytes);
  Append(part, frames);
  return length;
}

void MovieSound::FillUpTo(GstClockTimeDiff time) {
  if (!hasFormat_) {
    if (time <= 0) return;
    GstAudioInfo usual;
    gst_audio_info_init(&usual);
    gst_audio_info_set_format(&usual, GST_AUDIO_FORMAT_S16LE, kUsualRate, kUsualChannels, nullptr);
    SetFormat(usual);
  }
  if (time <= Position()) return;
  AppendSilence(FramesIn(time - Position()));
  isInStep_ = false;
}

void MovieSound::AppendSilence(guint64 frames) {
  while (frames > 0 && !IsFull()) {
    const guint64 part = std::min(frames, kSilenceAtOnce);
    const auto size = static_cast<gsize>(part * static_cast<guint64>(GST_AUDIO_INFO_BPF(&info_)));
    GstBuffer* silence = gst_buffer_new_allocate(nullptr, size, nullptr);
    GstMapInfo map;
    if (silence && gst_buffer_map(silence, &map, GST_MAP_WRITE)) {
      gst_audio_format_info_fill_silence(info_.finfo, map.data, map.size);
      gst_buffer_unmap(silence, &map);
    }
    Append(silence, part);
    frames -= part;
  }
}

void MovieSound::Append(GstBuffer* sound, guint64 frames) {
  if (!sound) return;
  const GstClockTimeDiff begin = Position();
  frames_ += frames;
  GST_BUFFER_PTS(sound) = static_cast<GstClockTime>(begin);
  GST_BUFFER_DURATION(sound) = static_cast<GstClockTime>(Position() - begin);
  gst_app_src_push_buffer(source_, sound);
}

void MovieSound::End() {
  gst_app_src_end_of_stream(source_);
}

}  // namespace gstreamer
