// SPDX-License-Identifier: MIT
#include "platform/gstreamer/streamsink.h"

#include <cxxabi.h>
#include <gst/base/gstbasesink.h>

#include "platform/gstreamer/handover.h"

namespace {

struct StreamSink {
  GstBaseSink parent;
  gstreamer::StreamConsumer* consumer;
  gstreamer::StreamInfo info;
  guint buffersHeld;
};

struct StreamSinkClass {
  GstBaseSinkClass parent;
};

StreamSink* Self(gpointer instance) {
  return static_cast<StreamSink*>(instance);
}

gboolean SetCaps(GstBaseSink* sink, GstCaps* caps) {
  StreamSink* self = Self(sink);
  const gstreamer::HandOver handOver(self);
  const GstStructure* format = gst_caps_get_structure(caps, 0);
  gstreamer::StreamInfo& info = self->info;
  info.isVideo =
      gst_structure_has_name(format, "video/x-raw") && gst_video_info_from_caps(&info.video, caps);
  info.isAudio =
      gst_structure_has_name(format, "audio/x-raw") && gst_audio_info_from_caps(&info.audio, caps);
  // Without a consumer any stream is accepted, to be dropped.
  return info.isVideo || info.isAudio || !self->consumer;
}

gboolean ProposeAllocation(GstBaseSink* sink, GstQuery* query) {
  const gstreamer::HandOver handOver(sink);
  GstCaps* caps = nullptr;
  gst_query_parse_allocation(query, &caps, nullptr);
  GstVideoInfo info;
  if (!caps || !gst_video_info_from_caps(&info, caps)) return TRUE;
  gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
  gst_query_add_allocation_pool(query, nullptr, static_cast<guint>(GST_VIDEO_INFO_SIZE(&info)),
                                Self(sink)->buffersHeld, 0);
  return TRUE;
}

GstFlowReturn Render(GstBaseSink* sink, GstBuffer* buffer) {
  StreamSink* self = Self(sink);
  const gstreamer::HandOver handOver(self), frame(buffer);
  if (!self->consumer) return GST_FLOW_OK;
  try {
    self->consumer->Consume(buffer, self->info);
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // No memory, say: this buffer is lost. Behind this call is C code that knows no exceptions.
  }
  return GST_FLOW_OK;
}

void InitialiseClass(gpointer elementClass, gpointer) {
  gst_element_class_set_static_metadata(static_cast<GstElementClass*>(elementClass), "Capture sink",
                                        "Sink", "Passes media to the host by reference",
                                        "The zorvex authors");
  GstPadTemplate* sinkTemplate =
      gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_CAPS_ANY);
  gst_element_class_add_pad_template(static_cast<GstElementClass*>(elementClass), sinkTemplate);
  auto* sinkClass = static_cast<GstBaseSinkClass*>(elementClass);
  sinkClass->set_caps = SetCaps;
  sinkClass->propose_allocation = ProposeAllocation;
  sinkClass->render = Render;
}

void InitialiseInstance(GTypeInstance* instance, gpointer) {
  auto* sink = reinterpret_cast<GstBaseSink*>(instance);
  gst_base_sink_set_sync(sink, FALSE);
  gst_base_sink_set_last_sample_enabled(sink, FALSE);
  gst_base_sink_set_qos_enabled(sink, FALSE);
  gst_base_sink_set_async_enabled(sink, FALSE);
}

GType StreamSinkType() {
  static const GType type = g_type_register_static_simple(
      GST_TYPE_BASE_SINK, "ZorvexStreamSink", sizeof(StreamSinkClass), InitialiseClass,
      sizeof(StreamSink), InitialiseInstance, static_cast<GTypeFlags>(0));
  return type;
}

}  // namespace

GstElement* gstreamer::NewStreamSink(StreamConsumer* consumer, unsigned buffersHeld) {
  gpointer instance = g_object_new(StreamSinkType(), nullptr);
  const HandOver handOver(instance);
  Self(instance)->consumer = consumer;
  Self(instance)->buffersHeld = buffersHeld;
  return static_cast<GstElement*>(instance);
}
