// SPDX-License-Identifier: MIT
#include "platform/gstreamer/capturerun.h"

#include <utility>

#include "platform/boundedcall.h"
#include "platform/gstreamer/handover.h"
#include "platform/gstreamer/pixelformats.h"

namespace {

using std::chrono::milliseconds;

/// Opening and setting up a camera, slow ones included.
constexpr milliseconds kStartLimit{5000};
/// How long a start waits for the first picture or for the news that there will be none.
constexpr milliseconds kFirstPictureLimit{1000};

/// How long closing a device waits for a run on it.
constexpr milliseconds kCloseLimit{2000};

/// The largest picture that the conversion is asked for, in each direction.
constexpr double kLargestSide = 16384;

/// Pictures that wait for a slow callback while a recording runs.
constexpr guint kPicturesQueued = 2;

/// Buffers in use outside the source: the one in the callback and one to spare, and while a
/// recording runs also those in the queue and those that wait to be compressed.
unsigned BuffersHeld(const GstCaps* native, bool isRecorded) {
  constexpr unsigned kCallBack = 2;
  GstVideoInfo info;
  if (!isRecorded || !gst_video_info_from_caps(&info, native)) return kCallBack;
  return kCallBack + kPicturesQueued + gstreamer::RawPicturesWaiting(GST_VIDEO_INFO_SIZE(&info));
}

GstElement* Make(const char* factory) {
  return gst_element_factory_make(factory, nullptr);
}

GstElement* MakeCapsFilter(const GstCaps* caps) {
  GstElement* filter = Make("capsfilter");
  if (filter) g_object_set(filter, "caps", caps, nullptr);
  return filter;
}

GstElement* MakeLeakyQueue() {
  GstElement* queue = Make("queue");
  if (queue) {
    g_object_set(queue, "max-size-buffers", kPicturesQueued, "max-size-bytes", 0u, "max-size-time",
                 guint64{0}, nullptr);
    gst_util_set_object_arg(reinterpret_cast<GObject*>(queue), "leaky", "downstream");
  }
  return queue;
}

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

bool IsJpeg(const GstCaps* caps) {
  return gst_structure_has_name(gst_caps_get_structure(caps, 0), "image/jpeg");
}

}  // namespace

namespace gstreamer {

void RecorderTap::Set(std::vector<std::shared_ptr<MovieRecorder>> recorders) {
  auto fresh =
      std::make_shared<const std::vector<std::shared_ptr<MovieRecorder>>>(std::move(recorders));
  const std::lock_guard lock(mutex_);
  std::swap(recorders_, fresh);
}

void RecorderTap::Push(GstBuffer* buffer, GstPad* pad) {
  std::shared_ptr<const std::vector<std::shared_ptr<MovieRecorder>>> recorders;
  {
    const std::lock_guard lock(mutex_);
    recorders = recorders_;
  }
  if (!recorders || recorders->empty()) return;
  const GstPointer<GstCaps> caps(gst_pad_get_current_caps(pad));
  const GstPointer<GstElement> element(gst_pad_get_parent_element(pad));
  if (!caps || !element) return;
  for (const auto& recorder : *recorders) {
    recorder->Push(buffer, caps.get(), gst_element_get_base_time(element.get()));
  }
}

bool CanConvertTo(const CVPixelBufferAttributes& wish) {
  const auto isSide = [](std::optional<double> side) {
    return !side || (*side >= 1 && *side <= kLargestSide);
  };
  return isSide(wish.kCVPixelBufferWidthKey) && isSide(wish.kCVPixelBufferHeightKey) &&
         RawCapsForCode(wish.kCVPixelBufferPixelFormatTypeKey.value_or(0)) != nullptr;
}

CaptureRun::CaptureRun(Retained<SourceDevice> device, Retained<VideoOutput> output,
                       std::shared_ptr<RecorderTap> tap, bool isRecorded)
    : device_(std::move(device)),
      output_(std::move(output)),
      tap_(std::move(tap)),
      isRecorded_(isRecorded) {}

bool CaptureRun::Start() {
  const auto started = std::make_shared<std::atomic<bool>>(false);
  RunBounded(kStartLimit, [self = shared_from_this(), started] { *started = self->Begin(); });
  if (*started) {
    const Pipeline::Events events = pipeline_.WaitFor(
        kFirstPictureLimit,
        [](const Pipeline::Events& now) { return now.flowing || now.failed || now.stopped; });
    if (!events.failed) return true;
  }
  Stop(kCloseLimit);
  return false;
}

bool CaptureRun::Begin() {
  const std::lock_guard lock(beginMutex_);
  if (stopped_) return false;
  const CVPixelBufferAttributes wish = output_ ? output_->Attributes() : CVPixelBufferAttributes{};
  const SourceDevice::Source source = device_->BeginStreaming(wish, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->Stop(self->CloseLimit());
  });
  if (!source.element) return false;
  streaming_ = true;
  const GstPointer<GstCaps> caps(source.caps);
  return Build(wish, source) && pipeline_.Play();
}

milliseconds CaptureRun::CloseLimit() const {
  return output_ && output_->IsInsideDelegate() ? milliseconds::zero() : kCloseLimit;
}

void CaptureRun::Stop(milliseconds limit) {
  if (!stopped_.exchange(true)) {
    // The run, and with it the output that the sink points to, lives until the pipeline has
    // stopped.
    const auto stop = [self = shared_from_this()] { self->End(); };
    pipeline_.NoteStop();
    if (RunBounded(milliseconds::zero(), stop) == BoundedCall::NotBegun) {
      if (limit == milliseconds::zero()) stopped_ = false;  // for the next stop to do
      if (limit > milliseconds::zero()) stop();
    }
  }
  std::unique_lock lock(endMutex_);
  // One wait in vain is enough: who closes the device after the stop should not wait once more.
  if (isLate_) return;
  isLate_ =
      !ended_.wait_for(lock, limit, [&] { return hasEnded_; }) && limit > milliseconds::zero();
}

void CaptureRun::End() {
  {
    const std::lock_guard lock(beginMutex_);
    pipeline_.Stop();
    const HandOver handOver(this);
    if (streaming_) device_->EndStreaming();
  }
  const std::lock_guard lock(endMutex_);
  hasEnded_ = true;
  ended_.notify_all();
}

bool CaptureRun::Append(GstElement* element) {
  if (!pipeline_.Append(element, last_)) return false;
  last_ = element;
  return true;
}

bool CaptureRun::Build(const CVPixelBufferAttributes& wish, const SourceDevice::Source& source) {
  if (!Append(source.element)) return false;
  WatchSource();
  GstPointer<GstCaps> native;
  if (source.caps) {
    native.reset(gst_caps_ref(source.caps));
    if (!Append(MakeCapsFilter(source.caps))) return false;
  } else {
    const GstPointer<GstPad> pad(gst_element_get_static_pad(source.element, "src"));
    native.reset(gst_pad_query_caps(pad.get(), nullptr));
  }
  if (isRecorded_ && !Append(MakeLeakyQueue())) return false;
  if (output_ && !AppendConversion(wish, native.get())) return false;
  return Append(NewVideoSink(output_.get(), BuffersHeld(native.get(), isRecorded_)));
}

bool CaptureRun::AppendConversion(const CVPixelBufferAttributes& wish, const GstCaps* native) {
  if (gst_caps_is_empty(native) || gst_caps_is_any(native)) return false;
  const GstPointer<GstCaps> wanted = WantedCaps(wish, native);
  if (!wanted) return false;
  if (gst_caps_can_intersect(native, wanted.get()) && gst_caps_is_fixed(native)) return true;
  if (IsJpeg(native) && !Append(Make("jpegdec"))) return false;
  if (wish.kCVPixelBufferPixelFormatTypeKey == kFullRange420) {
    // The converter leaves the range as it is where the matrix stays the same; RGB has but one.
    const GstPointer<GstCaps> rgb = RawCapsForCode(FourCharCode("BGRA"));
    if (!Append(Make("videoconvert")) || !Append(MakeCapsFilter(rgb.get()))) return false;
  }
  GstElement* converter = Make("videoconvertscale");
  // Without borders: the whole picture in the size asked for.
  if (converter) g_object_set(converter, "add-borders", FALSE, nullptr);
  return Append(converter) && Append(MakeCapsFilter(wanted.get()));
}

void CaptureRun::WatchSource() {
  const HandOver handOver(this);
  const GstPointer<GstPad> pad(gst_element_get_static_pad(last_, "src"));
  gst_pad_add_probe(
      pad.get(), GST_PAD_PROBE_TYPE_BUFFER,
      [](GstPad*, GstPadProbeInfo*, gpointer self) {
        auto* run = static_cast<CaptureRun*>(self);
        const HandOver scope(run);
        run->pipeline_.NoteFlow();
        return GST_PAD_PROBE_REMOVE;
      },
      this, nullptr);
  // A recording that is added later gets a run of its own.
  if (!isRecorded_) return;
  gst_pad_add_probe(
      pad.get(), GST_PAD_PROBE_TYPE_BUFFER,
      [](GstPad* source, GstPadProbeInfo* info, gpointer self) {
        auto* run = static_cast<CaptureRun*>(self);
        const HandOver scope(run);
        run->tap_->Push(GST_PAD_PROBE_INFO_BUFFER(info), source);
        return GST_PAD_PROBE_OK;
      },
      this, nullptr);
}

}  // namespace gstreamer
