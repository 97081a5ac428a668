// SPDX-License-Identifier: MIT
#include "platform/gstreamer/capturerun.h"

#include <utility>

#include "platform/boundedcall.h"
#include "platform/gstreamer/handover.h"
#include "platform/gstreamer/pictureconversion.h"

namespace {

using gstreamer::Chain;
using gstreamer::HandOver;
using std::chrono::milliseconds;

/// Opening and setting up a camera, slow ones included.
constexpr milliseconds kStartLimit{5000};
/// How long a start waits for the first media or for the news that there will be none.
constexpr milliseconds kFirstMediaLimit{1000};

/// How long closing a device waits for a run on it.
constexpr milliseconds kCloseLimit{2000};

/// What waits for a slow callback: pictures while something else hangs on the same source, and
/// sound always.
constexpr guint kPicturesQueued = 2;
constexpr guint64 kSoundQueued = 2 * GST_SECOND;

/// Buffers in use outside the source: the one in the callback and one to spare, those in the queue,
/// and while a recording runs those that wait to be compressed.
unsigned BuffersHeld(const GstCaps* native, bool isQueued, bool isRecorded) {
  unsigned held = 2;
  GstVideoInfo info;
  if (isQueued) held += kPicturesQueued;
  if (isRecorded && gst_caps_is_fixed(native) && gst_video_info_from_caps(&info, native)) {
    held += gstreamer::RawPicturesWaiting(GST_VIDEO_INFO_SIZE(&info));
  }
  return held;
}

/// A queue that drops its oldest buffer when it is full; 0 is no limit.
bool AppendLeakyQueue(Chain& chain, guint buffers, guint64 time) {
  if (!chain.Append("queue")) return false;
  g_object_set(chain.Last(), "max-size-buffers", buffers, "max-size-bytes", 0u, "max-size-time",
               time, nullptr);
  gst_util_set_object_arg(reinterpret_cast<GObject*>(chain.Last()), "leaky", "downstream");
  return true;
}

/// Makes a caps filter let only the format pass that the sound of a pad begins with.
void PinToFirstCaps(GstPad* pad, GstElement* filter) {
  gst_pad_add_probe(
      pad, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM,
      [](GstPad*, GstPadProbeInfo* info, gpointer element) {
        const HandOver handOver(element);
        GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
        if (GST_EVENT_TYPE(event) != GST_EVENT_CAPS) return GST_PAD_PROBE_OK;
        GstCaps* caps = nullptr;
        gst_event_parse_caps(event, &caps);
        const GstPointer<GstCaps> pinned(gst_caps_copy(caps));
        gst_caps_set_simple(pinned.get(), "layout", G_TYPE_STRING, "interleaved", nullptr);
        g_object_set(element, "caps", pinned.get(), nullptr);
        return GST_PAD_PROBE_REMOVE;
      },
      filter, nullptr);
}

}  // namespace

namespace gstreamer {

CaptureRun::CaptureRun(Retained<SourceDevice> device, Outputs outputs,
                       std::shared_ptr<RecorderTap> tap, bool isRecorded)
    : device_(std::move(device)),
      outputs_(std::move(outputs)),
      chunker_(outputs_.audio ? std::make_unique<SoundChunker>(outputs_.audio) : nullptr),
      tap_(std::move(tap)),
      isRecorded_(isRecorded) {}

bool CaptureRun::Has(QTMediaType mediaType) const {
  return device_->HasMediaType(mediaType);
}

bool CaptureRun::Start() {
  const auto started = std::make_shared<std::atomic<bool>>(false);
  const auto isExpected = std::make_shared<std::atomic<bool>>(false);
  RunBounded(kStartLimit, [self = shared_from_this(), started, isExpected] {
    *isExpected = self->device_->IsMediaExpected();
    *started = self->Begin();
  });
  if (*started) {
    const Pipeline::Events events = pipeline_.WaitFor(
        *isExpected ? kFirstMediaLimit : milliseconds::zero(),
        [](const Pipeline::Events& now) { return now.flowing || now.failed || now.stopped; });
    if (!events.failed) return true;
  }
  Stop(kCloseLimit);
  return false;
}

bool CaptureRun::Begin() {
  const std::lock_guard lock(beginMutex_);
  if (stopped_) return false;
  const CVPixelBufferAttributes wish =
      outputs_.video ? outputs_.video->Attributes() : CVPixelBufferAttributes{};
  const SourceDevice::Source source = device_->BeginStreaming(wish, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self) self->Stop(self->IsInsideDelegate() ? milliseconds::zero() : kCloseLimit);
  });
  if (!source.element) return false;
  streaming_ = true;
  const GstPointer<GstCaps> caps(source.caps);
  return Build(wish, source) && pipeline_.Play();
}

bool CaptureRun::IsInsideDelegate() const {
  return (outputs_.video && outputs_.video->Callers().IsInside()) ||
         (outputs_.audio && outputs_.audio->Callers().IsInside());
}

bool CaptureRun::IsAnybodyInsideDelegate() const {
  return (outputs_.video && outputs_.video->Callers().IsAnybodyInside()) ||
         (outputs_.audio && outputs_.audio->Callers().IsAnybodyInside());
}

void CaptureRun::Stop(milliseconds limit) {
  if (!stopped_.exchange(true)) {
    // The run, and with it the outputs that the sinks point to, lives until the pipeline has
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

bool CaptureRun::Build(const CVPixelBufferAttributes& wish, const SourceDevice::Source& source) {
  if (!pipeline_.Add(source.element)) return false;
  if (Has(QTMediaType::QTMediaTypeMuxed)) {
    return BuildPictures(wish, source) && BuildSound({source.element, nullptr}, "sound");
  }
  return Has(QTMediaType::QTMediaTypeSound) ? BuildSound(source, "src")
                                            : BuildPictures(wish, source);
}

bool CaptureRun::BuildPictures(const CVPixelBufferAttributes& wish,
                               const SourceDevice::Source& source) {
  const GstPointer<GstPad> pad(gst_element_get_static_pad(source.element, "src"));
  if (!pad) return false;
  WatchSource(MovieRecorder::Track::Pictures, pad.get());
  Chain chain(pipeline_, source.element, "src");
  GstPointer<GstCaps> native;
  if (source.caps) {
    native.reset(gst_caps_ref(source.caps));
    if (!chain.AppendCapsFilter(source.caps)) return false;
  } else {
    native.reset(gst_pad_query_caps(pad.get(), nullptr));
  }
  const bool isQueued = isRecorded_ || (outputs_.audio && Has(QTMediaType::QTMediaTypeMuxed));
  if (isQueued && !AppendLeakyQueue(chain, kPicturesQueued, 0)) return false;
  if (outputs_.video && !AppendPictureConversion(chain, wish, native.get())) return false;
  return chain.Append(
      NewStreamSink(outputs_.video.get(), BuffersHeld(native.get(), isQueued, isRecorded_)));
}

bool CaptureRun::BuildSound(const SourceDevice::Source& source, const char* padName) {
  const GstPointer<GstPad> pad(gst_element_get_static_pad(source.element, padName));
  if (!pad) return false;
  WatchSource(MovieRecorder::Track::Sound, pad.get());
  Chain chain(pipeline_, source.element, padName);
  if (source.caps && !chain.AppendCapsFilter(source.caps)) return false;
  if (!chunker_) return chain.Append(NewStreamSink(nullptr, 0));
  if (!AppendLeakyQueue(chain, 0, kSoundQueued) || !chain.Append("audioconvert") ||
      !chain.Append("audioresample") || !chain.Append("capsfilter")) {
    return false;
  }
  PinToFirstCaps(pad.get(), chain.Last());
  return chain.Append(NewStreamSink(chunker_.get(), 0));
}

void CaptureRun::WatchSource(MovieRecorder::Track track, GstPad* pad) {
  const HandOver handOver(this);
  gst_pad_add_probe(
      pad, GST_PAD_PROBE_TYPE_BUFFER,
      [](GstPad*, GstPadProbeInfo*, gpointer self) {
        auto* run = static_cast<CaptureRun*>(self);
        const HandOver scope(run);
        run->pipeline_.NoteFlow();
        return GST_PAD_PROBE_REMOVE;
      },
      this, nullptr);
  // A recording that is added later gets a run of its own.
  if (!isRecorded_) return;
  const bool isPictures = track == MovieRecorder::Track::Pictures;
  gst_pad_add_probe(
      pad, GST_PAD_PROBE_TYPE_BUFFER,
      isPictures ? Record<MovieRecorder::Track::Pictures> : Record<MovieRecorder::Track::Sound>,
      this, nullptr);
}

template <MovieRecorder::Track kTrack>
GstPadProbeReturn CaptureRun::Record(GstPad* pad, GstPadProbeInfo* info, gpointer self) {
  auto* run = static_cast<CaptureRun*>(self);
  const HandOver handOver(run);
  run->tap_->Push(kTrack, GST_PAD_PROBE_INFO_BUFFER(info), pad);
  return GST_PAD_PROBE_OK;
}

}  // namespace gstreamer
