// SPDX-License-Identifier: MIT
#include "platform/gstreamer/videosink.h"

#include <gst/base/gstbasesink.h>

#include "platform/gstreamer/handover.h"

namespace {

struct VideoSink {
  GstBaseSink parent;
  gstreamer::FrameConsumer* consumer;
  GstVideoInfo info;
  guint buffersHeld;
  gboolean isVideo;
};

struct VideoSinkClass {
  GstBaseSinkClass parent;
};

VideoSink* Self(gpointer instance) {
  return static_cast<VideoSink*>(instance);
}

gboolean SetCaps(GstBaseSink* sink, GstCaps* caps) {
  VideoSink* self = Self(sink);
  const gstreamer::HandOver handOver(self);
  // Without a consumer any stream is accepted, to be dropped.
  self->isVideo = gst_video_info_from_caps(&self->info, caps);
  return self->isVideo || !self->consumer;
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
  VideoSink* self = Self(sink);
  const gstreamer::HandOver handOver(self), frame(buffer);
  if (self->consumer && self->isVideo) self->consumer->Consume(buffer, self->info);
  return GST_FLOW_OK;
}

void InitialiseClass(gpointer elementClass, gpointer) {
  gst_element_class_set_static_metadata(static_cast<GstElementClass*>(elementClass), "Frame sink",
                                        "Sink/Video", "Passes frames to the host by reference",
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

GType VideoSinkType() {
  static const GType type = g_type_register_static_simple(
      GST_TYPE_BASE_SINK, "ZorvexVideoSink", sizeof(VideoSinkClass), InitialiseClass,
      sizeof(VideoSink), InitialiseInstance, static_cast<GTypeFlags>(0));
  return type;
}

}  // namespace

GstElement* gstreamer::NewVideoSink(FrameConsumer* consumer, unsigned buffersHeld) {
  gpointer instance = g_object_new(VideoSinkType(), nullptr);
  const HandOver handOver(instance);
  Self(instance)->consumer = consumer;
  Self(instance)->buffersHeld = buffersHeld;
  return static_cast<GstElement*>(instance);
}
