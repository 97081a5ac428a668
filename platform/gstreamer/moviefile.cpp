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

constexpr MovieContainer kContainers[] = {
    {".mov", "qtmux", true, true},   {".mp4", "mp4mux", false, true},
    {".m4v", "mp4mux", false, true}, {".mkv", "matroskamux", true, false},
    {".avi", "avimux", true, false},
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

constexpr GstClockTime kIndexPeriod = GST_SECOND;
/// Enough for the encoder and the queue to drain onto a slow disk.
constexpr std::chrono::seconds kFinishLimit{60};

/// What the index of a QuickTime file takes for each second at most: a size (4 bytes) and a
/// duration of its own (8 bytes) for each picture, as captured ones have, and four chunks with
/// their offsets. The muxer's own default is the least.
guint IndexBytesPerSecond(const GstStructure& format) {
  gint numerator = 0, denominator = 1;
  if (!gst_structure_get_fraction(&format, "framerate", &numerator, &denominator) ||
      numerator <= 0 || denominator <= 0) {
    numerator = 60;
    denominator = 1;
  }
  const int rate = std::clamp(numerator / denominator + 1, 1, 1000);
  return static_cast<guint>(std::max(550, 14 * rate + 120));
}

GstElement* Make(const char* factory) {
  return gst_element_factory_make(factory, nullptr);
}

GstElement* MakeQueue() {
  GstElement* queue = Make("queue");
  if (queue) {
    g_object_set(queue, "max-size-buffers", 0u, "max-size-bytes",
                 static_cast<guint>(kCompressedWaitingBytes), "max-size-time",
                 kCompressedWaitingTime, nullptr);
  }
  return queue;
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

}  // namespace

namespace gstreamer {

const MovieContainer* MovieContainerFor(const std::string& path) {
  const std::string extension = std::filesystem::path(path).extension().string();
  if (strcasecmp(extension.c_str(), ".dv") == 0) return nullptr;
  for (const MovieContainer& container : kContainers) {
    if (strcasecmp(extension.c_str(), container.extension) == 0) return &container;
  }
  return &kContainers[0];
}

bool CanStore(const MovieContainer& container) {
  std::vector<const char*> factories = {"appsrc", "videoconvert", "jpegdec",
                                        "queue",  "filesink",     container.muxer};
  if (container.storesJpeg) {
    factories.push_back("jpegenc");
  } else {
    factories.insert(factories.end(), {"openh264enc", "h264parse"});
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

GstElement* MovieFile::MakeEncoder() {
  if (container_.storesJpeg) {
    GstElement* encoder = Make("jpegenc");
    if (encoder) g_object_set(encoder, "quality", kJpegQuality, nullptr);
    return encoder;
  }
  GstElement* encoder = Make("openh264enc");
  if (encoder) {
    gst_util_set_object_arg(reinterpret_cast<GObject*>(encoder), "rate-control", "off");
    g_object_set(encoder, "gop-size", 1u, "qp-min", kH264Quantiser, "qp-max", kH264Quantiser,
                 nullptr);
    LeadEndPast(encoder);
  }
  return encoder;
}

GstElement* MovieFile::MakeMuxer(const GstStructure& format) {
  GstElement* muxer = Make(container_.muxer);
  if (muxer && container_.reservesIndexSpace) {
    // Both are needed: space without a period leaves a file that plays only when it is finished.
    g_object_set(muxer, "reserved-max-duration", kLongestFile, "reserved-moov-update-period",
                 kIndexPeriod, "reserved-bytes-per-sec", IndexBytesPerSecond(format),
                 "force-create-timecode-trak", TRUE, nullptr);
  }
  return muxer;
}

bool MovieFile::Begin(GstCaps* caps) {
  const GstStructure& format = *gst_caps_get_structure(caps, 0);
  isRaw_ = gst_structure_has_name(&format, "video/x-raw");
  const bool isJpeg = gst_structure_has_name(&format, "image/jpeg");
  if (!isRaw_ && !isJpeg) return false;
  GstVideoInfo info;
  mostWaiting_ = isRaw_ && gst_video_info_from_caps(&info, caps)
                     ? RawPicturesWaiting(GST_VIDEO_INFO_SIZE(&info))
                     : kCompressedWaiting;

  source_ = Make("appsrc");
  if (!pipeline_.Append(source_, nullptr)) return false;
  g_object_set(source_, "caps", caps, "format", GST_FORMAT_TIME, "max-bytes", guint64{0},
               "max-buffers", guint64{0}, nullptr);
  GstElement* last = source_;
  const auto append = [&](GstElement* element) {
    if (!pipeline_.Append(element, last)) return false;
    last = element;
    return true;
  };
  if (isJpeg && !container_.storesJpeg && !append(Make("jpegdec"))) return false;
  if (isRaw_ || !container_.storesJpeg) {
    if (!append(Make("videoconvert")) || !append(MakeEncoder())) return false;
    if (!container_.storesJpeg && !append(Make("h264parse"))) return false;
  }
  if (!append(MakeQueue()) || !append(MakeMuxer(format))) return false;
  GstElement* file = Make("filesink");
  if (file) g_object_set(file, "location", path_.c_str(), "async", FALSE, nullptr);
  return append(file) && pipeline_.Play();
}

void MovieFile::Push(GstBuffer* buffer, GstClockTimeDiff offset) {
  auto* source = reinterpret_cast<GstAppSrc*>(source_);
  if (gst_app_src_get_current_level_buffers(source) >= mostWaiting_) return;
  if (!hasOffset_ || offset != offset_) {
    const GstPointer<GstPad> pad(gst_element_get_static_pad(source_, "src"));
    gst_pad_set_offset(pad.get(), offset);
    hasOffset_ = true;
    offset_ = offset;
  }
  // A compressed picture is small and may wait long; the camera gets its buffer back.
  gst_app_src_push_buffer(source, isRaw_ ? gst_buffer_ref(buffer) : gst_buffer_copy_deep(buffer));
}

void MovieFile::Finish() {
  if (source_ && !HasFailed()) {
    gst_app_src_end_of_stream(reinterpret_cast<GstAppSrc*>(source_));
    pipeline_.WaitFor(kFinishLimit,
                      [](const Pipeline::Events& events) { return events.ended || events.failed; });
  }
  pipeline_.Stop();
}

}  // namespace gstreamer
