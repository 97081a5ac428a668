// SPDX-License-Identifier: MIT
#include "platform/gstreamer/moviefile.h"

#include <gst/app/gstappsrc.h>
#include <gst/video/video.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <utility>
#include <vector>

namespace {

using gstreamer::MovieContainer;

constexpr int kAnyRate = 1'000'000;
constexpr int kQuickTimeRate = 65535;  ///< 16 bits of its sound description
constexpr int kAviRate = 96000;        ///< of this muxer

constexpr MovieContainer kContainers[] = {
    {".mov", "qtmux", true, true, kQuickTimeRate}, {".mp4", "mp4mux", false, true, kAnyRate},
    {".m4v", "mp4mux", false, true, kAnyRate},     {".mkv", "matroskamux", true, false, kAnyRate},
    {".avi", "avimux", true, false, kAviRate},     {".dv", nullptr, true, false, 0},
};

/// Raw pictures waiting to be compressed: a quarter of a second of them, half as many where one is
/// larger than any of 1920x1080. Beyond that, pictures are left out.
constexpr unsigned kRawWaiting = 8;
constexpr std::size_t kLargePicture = std::size_t{1920} * 1080 * 4;
/// Compressed pictures wait in memory of their own while the disk is slow.
constexpr guint64 kCompressedWaiting = 150;
constexpr guint64 kCompressedWaitingBytes = 256u << 20;
constexpr guint64 kCompressedWaitingTime = 5 * GST_SECOND;

/// JPEG quality of 100 at which generation loss is not seen; about 1.5 bits a pixel.
constexpr int kJpegQuality = 92;
/// Constant quantiser of the H.264 pictures, of 51: visually lossless.
constexpr guint kH264Quantiser = 18;

/// The sound may be so late: then there is none, and pictures must not wait for it any longer.
constexpr GstClockTimeDiff kSoundIsLate = 1 * GST_SECOND;
/// After so long without a picture the muxer gets no more of them, and the sound goes on.
constexpr GstClockTimeDiff kPicturesHaveEnded = 5 * GST_SECOND;

constexpr GstClockTime kIndexPeriod = GST_SECOND;
/// Enough for the encoder and the queue to drain onto a slow disk.
constexpr std::chrono::seconds kFinishLimit{60};

/// What the index of a QuickTime file takes for each second at most: a size (4 bytes) and a
/// duration of its own (8 bytes) for each picture, as captured ones have, and four chunks with
/// their offsets. The muxer's own default is the least, and enough for sound alone.
guint IndexBytesPerSecond(const GstStructure* format) {
  constexpr guint kLeast = 550;
  if (!format) return kLeast;
  gint numerator = 0, denominator = 1;
  if (!gst_structure_get_fraction(format, "framerate", &numerator, &denominator) ||
      numerator <= 0 || denominator <= 0) {
    numerator = 60;
    denominator = 1;
  }
  const int rate = std::clamp(numerator / denominator + 1, 1, 1000);
  return std::max(kLeast, static_cast<guint>(14 * rate + 120));
}

GstElement* Make(const char* factory) {
  return gst_element_factory_make(factory, nullptr);
}

gstreamer::SoundStorage StorageIn(const MovieContainer& container) {
  return container.isEditable ? gstreamer::SoundStorage::Pcm : gstreamer::SoundStorage::Aac;
}

/// Leads the end of the stream past the encoder: this one has nothing left to give by then, and its
/// library complains on the standard error stream about being asked.
void LeadEndPast(GstElement* encoder) {
  const GstPointer<GstPad> sink(gst_element_get_static_pad(encoder, "sink"));
  gst_pad_add_probe(
      sink.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM,
      [](GstPad*, GstPadProbeInfo* info, gpointer element) {
        GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
        if (GST_EVENT_TYPE(event) != GST_EVENT_EOS) return GST_PAD_PROBE_OK;
        const GstPointer<GstPad> source(
            gst_element_get_static_pad(static_cast<GstElement*>(element), "src"));
        gst_pad_push_event(source.get(), gst_event_ref(event));
        return GST_PAD_PROBE_DROP;
      },
      encoder, nullptr);
}

GstElement* MakeJpegEncoder() {
  GstElement* encoder = Make("jpegenc");
  if (encoder) g_object_set(encoder, "quality", kJpegQuality, nullptr);
  return encoder;
}

GstElement* MakeH264Encoder() {
  GstElement* encoder = Make("openh264enc");
  if (!encoder) return nullptr;
  gst_util_set_object_arg(reinterpret_cast<GObject*>(encoder), "rate-control", "off");
  g_object_set(encoder, "gop-size", 1u, "qp-min", kH264Quantiser, "qp-max", kH264Quantiser,
               nullptr);
  LeadEndPast(encoder);
  return encoder;
}

}  // namespace

namespace gstreamer {

const MovieContainer& MovieContainerFor(const std::string& path) {
  const std::string extension = std::filesystem::path(path).extension().string();
  for (const MovieContainer& container : kContainers) {
    if (strcasecmp(extension.c_str(), container.extension) == 0) return container;
  }
  return kContainers[0];
}

bool CanStore(const MovieContainer& container) {
  std::vector<const char*> factories = {"appsrc", "queue", "filesink"};
  if (!container.IsDvStream()) {
    factories.insert(factories.end(), {"videoconvert", "jpegdec", container.muxer});
    if (container.isEditable) {
      factories.push_back("jpegenc");
    } else {
      factories.insert(factories.end(), {"openh264enc", "h264parse"});
    }
    for (auto name = SoundFactories(StorageIn(container)); *name; ++name)
      factories.push_back(*name);
  }
  return std::all_of(factories.begin(), factories.end(), [](const char* factory) {
    GstElement* element = Make(factory);
    if (element) gst_object_unref(gst_object_ref_sink(element));
    return element != nullptr;
  });
}

unsigned RawPicturesWaiting(std::size_t bytes) {
  return bytes > kLargePicture ? kRawWaiting / 2 : kRawWaiting;
}

MovieFile::MovieFile(std::string path, const MovieContainer& container)
    : path_(std::move(path)), container_(container) {}

MovieFile::~MovieFile() {
  pipeline_.Stop();
}

GstElement* MovieFile::MakeMuxer(const GstStructure* format) {
  GstElement* muxer = Make(container_.muxer);
  if (muxer && container_.reservesIndexSpace) {
    // Both are needed: space without a period leaves a file that plays only when it is finished.
    g_object_set(muxer, "reserved-max-duration", kLongestFile, "reserved-moov-update-period",
                 kIndexPeriod, "reserved-bytes-per-sec", IndexBytesPerSecond(format),
                 "force-create-timecode-trak", TRUE, nullptr);
  }
  return muxer;
}

bool MovieFile::Begin(GstCaps* pictures, bool hasSound) {
  const GstStructure* format = pictures ? gst_caps_get_structure(pictures, 0) : nullptr;
  if (container_.IsDvStream()) {
    // The sound is part of the stream.
    if (!format || !gst_structure_has_name(format, "video/x-dv")) return false;
    muxer_ = Make("queue");
    hasSound = false;
  } else {
    muxer_ = MakeMuxer(format);
  }
  Chain chain(pipeline_);
  if (!chain.Append(muxer_)) return false;
  GstElement* file = Make("filesink");
  if (!file) return false;
  g_object_set(file, "location", path_.c_str(), "async", FALSE, nullptr);
  if (!chain.Append(file)) return false;
  if (pictures && !BuildPictures(pictures)) return false;
  if (hasSound) sound_.emplace(StorageIn(container_), container_.mostSoundRate);
  return (!sound_ || sound_->Build(pipeline_, muxer_)) && pipeline_.Play();
}

bool MovieFile::BuildPictures(GstCaps* caps) {
  const GstStructure& format = *gst_caps_get_structure(caps, 0);
  isRaw_ = gst_structure_has_name(&format, "video/x-raw");
  GstVideoInfo info;
  mostWaiting_ = isRaw_ && gst_video_info_from_caps(&info, caps)
                     ? RawPicturesWaiting(GST_VIDEO_INFO_SIZE(&info))
                     : kCompressedWaiting;
  Chain chain(pipeline_);
  if (!chain.Append("appsrc")) return false;
  source_ = chain.Last();
  g_object_set(source_, "caps", caps, "format", GST_FORMAT_TIME, "max-bytes", guint64{0},
               "max-buffers", guint64{0}, nullptr);
  if (container_.IsDvStream()) return chain.LinkTo(muxer_, nullptr);
  if (!AppendPictureCoding(chain, format) || !chain.Append("queue")) return false;
  g_object_set(chain.Last(), "max-size-buffers", 0u, "max-size-bytes",
               static_cast<guint>(kCompressedWaitingBytes), "max-size-time", kCompressedWaitingTime,
               nullptr);
  return chain.LinkTo(muxer_, "video_%u");
}

bool MovieFile::AppendPictureCoding(Chain& chain, const GstStructure& format) {
  const bool isJpeg = gst_structure_has_name(&format, "image/jpeg");
  const bool isDv = gst_structure_has_name(&format, "video/x-dv");
  if ((isJpeg || isDv) && container_.isEditable) return true;
  if (isJpeg && !chain.Append("jpegdec")) return false;
  if (isDv && !chain.Append("avdec_dvvideo")) return false;
  if (!isJpeg && !isDv && !isRaw_) return false;
  if (!chain.Append("videoconvert")) return false;
  if (container_.isEditable) return chain.Append(MakeJpegEncoder());
  return chain.Append(MakeH264Encoder()) && chain.Append("h264parse");
}

void MovieFile::PushPicture(GstBuffer* buffer, GstClockTimeDiff time) {
  latestPicture_ = time;
  soundWithoutPicture_ = 0;
  if (sound_) sound_->FillUpTo(time - kSoundIsLate);
  auto* source = reinterpret_cast<GstAppSrc*>(source_);
  if (gst_app_src_get_current_level_buffers(source) >= mostWaiting_) return;
  // The stamps stay: a raw picture is the camera's own buffer.
  const GstClockTimeDiff offset = time - static_cast<GstClockTimeDiff>(GST_BUFFER_PTS(buffer));
  if (offset_ != offset) {
    const GstPointer<GstPad> pad(gst_element_get_static_pad(source_, "src"));
    gst_pad_set_offset(pad.get(), offset);
    offset_ = offset;
  }
  // A compressed picture is small and may wait long; the camera gets its buffer back.
  gst_app_src_push_buffer(source, isRaw_ ? gst_buffer_ref(buffer) : gst_buffer_copy_deep(buffer));
}

void MovieFile::PushSound(GstBuffer* buffer, GstCaps* caps, GstClockTimeDiff time) {
  if (!sound_) return;
  soundWithoutPicture_ += sound_->Push(buffer, caps, time);
  if (!source_ || havePicturesEnded_ || soundWithoutPicture_ < kPicturesHaveEnded) return;
  havePicturesEnded_ = true;
  gst_app_src_end_of_stream(reinterpret_cast<GstAppSrc*>(source_));
}

void MovieFile::Finish() {
  if (muxer_ && !HasFailed()) {
    if (source_ && !havePicturesEnded_) {
      gst_app_src_end_of_stream(reinterpret_cast<GstAppSrc*>(source_));
    }
    if (sound_) {
      sound_->FillUpTo(latestPicture_);
      sound_->End();
    }
    pipeline_.WaitFor(kFinishLimit,
                      [](const Pipeline::Events& events) { return events.ended || events.failed; });
  }
  pipeline_.Stop();
}

}  // namespace gstreamer
