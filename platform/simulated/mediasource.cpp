// SPDX-License-Identifier: MIT
#include "platform/simulated/mediasource.h"

#include <gst/base/gstpushsrc.h>

#include <atomic>
#include <utility>

#include "platform/gstreamer/gstpointer.h"
#include "platform/gstreamer/handover.h"

namespace {

/// Buffers that are there from the start, and the most that consumers may hold before frames are
/// lost; as a driver's queue is limited.
constexpr guint kBuffersAtStart = 4;
constexpr guint kBuffersAtMost = 32;

/// What belongs to one source element.
struct SourceState {
  const std::shared_ptr<SimulatedHardware> hardware;
  const std::unique_ptr<SourceTiming> timing;
  const std::unique_ptr<SourceMedium> medium;
  const MediaRole role;
  // Of the running source; used by the streaming thread alone.
  std::uint64_t delivered = 0;
  bool hasSkipped = false;  ///< the medium had nothing for the frame before
  int timesUnplugged = 0;
  std::atomic<GstCaps*> caps = nullptr;  ///< that the medium has now; it owns them
};

struct MediaSource {
  GstPushSrc parent;
  SourceState* state;
};

struct MediaSourceClass {
  GstPushSrcClass parent;
};

GstBaseSrcClass* parentClass = nullptr;  // set once, while the type is made

SourceState& StateOf(gpointer element) {
  return *static_cast<MediaSource*>(element)->state;
}

gboolean Start(GstBaseSrc* source) {
  const gstreamer::HandOver handOver(source);
  SourceState& state = StateOf(source);
  state.timesUnplugged = state.hardware->TimesUnplugged();
  if (!state.hardware->IsConnected()) {
    GST_ELEMENT_ERROR(source, RESOURCE, NOT_FOUND, ("The device is not connected."),
                      ("%s is unplugged", state.hardware->Description().name.c_str()));
    return FALSE;
  }
  state.timing->Reset();
  state.delivered = 0;
  state.hasSkipped = false;
  state.caps = state.medium->CapsAt(nullptr);
  return TRUE;
}

gboolean Unlock(GstBaseSrc* source) {
  StateOf(source).timing->Waiting().Interrupt();
  return TRUE;
}

gboolean UnlockStop(GstBaseSrc* source) {
  StateOf(source).timing->Waiting().EndInterrupt();
  return TRUE;
}

GstCaps* GetCaps(GstBaseSrc* source, GstCaps* filter) {
  const gstreamer::HandOver handOver(source);
  GstCaps* caps = StateOf(source).caps;
  return filter ? gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST)
                : gst_caps_ref(caps);
}

gboolean DecideAllocation(GstBaseSrc* source, GstQuery* query) {
  const gstreamer::HandOver handOver(source);
  const SourceState& state = StateOf(source);
  const auto size = static_cast<guint>(state.medium->BufferSize());
  const GstPointer<GstBufferPool> pool(gst_buffer_pool_new());
  GstStructure* config = gst_buffer_pool_get_config(pool.get());
  gst_buffer_pool_config_set_params(config, state.caps, size, kBuffersAtStart, kBuffersAtMost);
  if (!gst_buffer_pool_set_config(pool.get(), config)) return FALSE;
  if (gst_query_get_n_allocation_pools(query) > 0) {
    gst_query_set_nth_allocation_pool(query, 0, pool.get(), size, kBuffersAtStart, kBuffersAtMost);
  } else {
    gst_query_add_allocation_pool(query, pool.get(), size, kBuffersAtStart, kBuffersAtMost);
  }
  return TRUE;
}

gboolean Query(GstBaseSrc* source, GstQuery* query) {
  const gstreamer::HandOver handOver(source);
  if (GST_QUERY_TYPE(query) != GST_QUERY_LATENCY) return parentClass->query(source, query);
  // A frame leaves at its time; painting and handing on takes part of the next one's.
  const GstClockTime latency = StateOf(source).timing->FrameDuration();
  gst_query_set_latency(query, TRUE, latency, latency);
  return TRUE;
}

/// Does what the description says about the moment after so many frames.
GstFlowReturn ActOutFailures(GstPushSrc* source, SourceState& state) {
  const SimulatedDescription& device = state.hardware->Description();
  if (state.role == MediaRole::Companion) {
    if (state.hardware->TimesUnplugged() != state.timesUnplugged) return GST_FLOW_EOS;
  } else if (state.hardware->PullPlugAfter(state.delivered)) {
    GST_ELEMENT_ERROR(
        source, RESOURCE, READ, ("The device was unplugged."),
        ("%s after %" G_GUINT64_FORMAT " frames", device.name.c_str(), state.delivered));
    return GST_FLOW_ERROR;
  }
  if (device.hangAfter == state.delivered) state.hardware->Hang();
  if (device.stallAfter != state.delivered) return GST_FLOW_OK;
  state.timing->Waiting().ForInterrupt();
  return GST_FLOW_FLUSHING;
}

void ReportLoss(GstPushSrc* source, const SourceFrame& frame, std::uint64_t lost) {
  GstMessage* message = gst_message_new_qos(GST_OBJECT_CAST(source), TRUE, GST_CLOCK_TIME_NONE,
                                            GST_CLOCK_TIME_NONE, frame.time, lost * frame.duration);
  gst_message_set_qos_stats(message, GST_FORMAT_BUFFERS, frame.index - lost, lost);
  gst_element_post_message(GST_ELEMENT_CAST(source), message);
}

/// Waits for a frame and fills the buffer with it; kLookAgain when there is none after all.
GstFlowReturn FillNext(GstPushSrc* source, SourceState& state, GstBuffer* buffer,
                       SourceFrame& frame) {
  const GstFlowReturn flow = state.timing->AwaitFrame(GST_ELEMENT_CAST(source), frame);
  if (flow != GST_FLOW_OK) return flow;
  GST_BUFFER_OFFSET(buffer) = frame.index;
  GST_BUFFER_OFFSET_END(buffer) = frame.index + 1;
  switch (state.medium->Fill(buffer, frame)) {
    case SourceMedium::Filling::Filled:
      return GST_FLOW_OK;
    case SourceMedium::Filling::Skipped:
      state.hasSkipped = true;
      return SourceTiming::kLookAgain;
    default:
      GST_ELEMENT_ERROR(source, RESOURCE, FAILED, ("A frame has no memory."), (nullptr));
      return GST_FLOW_ERROR;
  }
}

GstFlowReturn Fill(GstPushSrc* source, GstBuffer* buffer) {
  const gstreamer::HandOver handOver(source), filled(buffer);
  SourceState& state = StateOf(source);
  SourceFrame frame;
  GstFlowReturn flow = SourceTiming::kLookAgain;
  while (flow == SourceTiming::kLookAgain) {
    flow = ActOutFailures(source, state);
    if (flow == GST_FLOW_OK) flow = FillNext(source, state, buffer, frame);
  }
  if (flow != GST_FLOW_OK) return flow;

  GstCaps* caps = state.medium->CapsAt(&frame);
  if (state.caps.exchange(caps) != caps &&
      !gst_base_src_set_caps(GST_BASE_SRC_CAST(source), caps)) {
    return GST_FLOW_NOT_NEGOTIATED;
  }
  GST_BUFFER_PTS(buffer) = frame.time;
  GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
  GST_BUFFER_DURATION(buffer) = frame.duration;
  if (frame.isDiscontinuity || state.hasSkipped) {
    GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
  }
  if (frame.lost > 0) ReportLoss(source, frame, frame.lost);
  state.hasSkipped = false;
  ++state.delivered;
  return GST_FLOW_OK;
}

void Finalise(GObject* object) {
  const gstreamer::HandOver handOver(object);
  delete static_cast<MediaSource*>(static_cast<gpointer>(object))->state;
  static_cast<GObjectClass*>(static_cast<gpointer>(parentClass))->finalize(object);
}

void InitialiseClass(gpointer elementClass, gpointer) {
  parentClass = static_cast<GstBaseSrcClass*>(g_type_class_peek_parent(elementClass));
  static_cast<GObjectClass*>(elementClass)->finalize = Finalise;
  gst_element_class_set_static_metadata(
      static_cast<GstElementClass*>(elementClass), "Simulated source", "Source",
      "A camera, camcorder or microphone without hardware", "The zorvex authors");
  const GstPointer<GstCaps> caps(gst_caps_new_any());
  gst_element_class_add_pad_template(
      static_cast<GstElementClass*>(elementClass),
      gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps.get()));
  auto* sourceClass = static_cast<GstBaseSrcClass*>(elementClass);
  sourceClass->start = Start;
  sourceClass->unlock = Unlock;
  sourceClass->unlock_stop = UnlockStop;
  sourceClass->get_caps = GetCaps;
  sourceClass->decide_allocation = DecideAllocation;
  sourceClass->query = Query;
  static_cast<GstPushSrcClass*>(elementClass)->fill = Fill;
}

void InitialiseInstance(GTypeInstance* instance, gpointer) {
  auto* source = static_cast<GstBaseSrc*>(static_cast<gpointer>(instance));
  gst_base_src_set_live(source, TRUE);
  gst_base_src_set_format(source, GST_FORMAT_TIME);
}

GType SourceType() {
  static const GType type = g_type_register_static_simple(
      GST_TYPE_PUSH_SRC, "ZorvexSimulatedSource", sizeof(MediaSourceClass), InitialiseClass,
      sizeof(MediaSource), InitialiseInstance, static_cast<GTypeFlags>(0));
  return type;
}

}  // namespace

GstElement* NewMediaSource(std::shared_ptr<SimulatedHardware> hardware,
                           std::unique_ptr<SourceTiming> timing,
                           std::unique_ptr<SourceMedium> medium, MediaRole role) {
  auto* source = static_cast<MediaSource*>(g_object_new(SourceType(), nullptr));
  const gstreamer::HandOver handOver(source);
  source->state = new SourceState{std::move(hardware), std::move(timing), std::move(medium), role};
  source->state->caps = source->state->medium->CapsAt(nullptr);
  return GST_ELEMENT_CAST(source);
}
