// SPDX-License-Identifier: MIT
#include "platform/simulated/simulatedsource.h"

#include <gst/base/gstpushsrc.h>
#include <gst/video/video.h>

#include <algorithm>
#include <utility>

#include "platform/gstreamer/gstpointer.h"
#include "platform/gstreamer/handover.h"
#include "platform/gstreamer/pixelformats.h"
#include "platform/simulated/framepacer.h"
#include "platform/simulated/framestamp.h"
#include "platform/simulated/simulatedpicture.h"

namespace {

/// Buffers that are there from the start, and the most that consumers may hold before frames are
/// lost; as a driver's queue is limited.
constexpr guint kBuffersAtStart = 4;
constexpr guint kBuffersAtMost = 32;

/// What belongs to one source element.
struct SourceState {
  SourceState(std::shared_ptr<SimulatedHardware> usedHardware, GstPointer<GstCaps> fixedCaps,
              const GstVideoInfo& videoInfo)
      : hardware(std::move(usedHardware)),
        caps(std::move(fixedCaps)),
        info(videoInfo),
        picture(hardware->Description().pixelFormat, hardware->Description().width,
                hardware->Description().height),
        pacer(hardware->Description().rate) {}

  const std::shared_ptr<SimulatedHardware> hardware;
  const GstPointer<GstCaps> caps;
  const GstVideoInfo info;
  SimulatedPicture picture;
  FramePacer pacer;
  // Of the running source; used by the streaming thread alone.
  std::uint64_t delivered = 0;
  std::uint64_t tapeStart = 0;
};

struct SimulatedSource {
  GstPushSrc parent;
  SourceState* state;
};

struct SimulatedSourceClass {
  GstPushSrcClass parent;
};

GstBaseSrcClass* parentClass = nullptr;  // set once, while the type is made

SourceState& StateOf(gpointer element) {
  return *static_cast<SimulatedSource*>(element)->state;
}

/// The shape of a pixel: that of the two television standards on tape, square elsewhere.
std::pair<int, int> PixelAspect(const SimulatedDescription& device) {
  if (device.kind == SimulatedDescription::Kind::Camcorder && device.width == 720) {
    if (device.height == 576) return {16, 15};
    if (device.height == 480) return {8, 9};
  }
  return {1, 1};
}

GstPointer<GstCaps> CapsOf(const SimulatedDescription& device) {
  GstPointer<GstCaps> caps = gstreamer::RawCapsForCode(device.pixelFormat);
  const auto [aspectWidth, aspectHeight] = PixelAspect(device);
  gst_caps_set_simple(caps.get(), "width", G_TYPE_INT, device.width, "height", G_TYPE_INT,
                      device.height, "framerate", GST_TYPE_FRACTION, device.rate.numerator,
                      device.rate.denominator, "pixel-aspect-ratio", GST_TYPE_FRACTION, aspectWidth,
                      aspectHeight, "interlace-mode", G_TYPE_STRING, "progressive", nullptr);
  if (device.pixelFormat != FourCharCode("BGRA")) {
    // The painter's colours, at every size: without this key large pictures count as BT.709.
    gst_caps_set_simple(caps.get(), "colorimetry", G_TYPE_STRING, GST_VIDEO_COLORIMETRY_BT601,
                        nullptr);
  }
  // Where a code stands for several formats the first is the one that is painted.
  return GstPointer<GstCaps>(gst_caps_fixate(caps.release()));
}

gboolean Start(GstBaseSrc* source) {
  const gstreamer::HandOver handOver(source);
  SourceState& state = StateOf(source);
  if (!state.hardware->IsConnected()) {
    GST_ELEMENT_ERROR(source, RESOURCE, NOT_FOUND, ("The device is not connected."),
                      ("%s is unplugged", state.hardware->Description().name.c_str()));
    return FALSE;
  }
  state.pacer.Reset();
  state.delivered = 0;
  state.tapeStart = state.hardware->TapePosition();
  return TRUE;
}

gboolean Unlock(GstBaseSrc* source) {
  StateOf(source).pacer.Interrupt();
  return TRUE;
}

gboolean UnlockStop(GstBaseSrc* source) {
  StateOf(source).pacer.EndInterrupt();
  return TRUE;
}

GstCaps* GetCaps(GstBaseSrc* source, GstCaps* filter) {
  const gstreamer::HandOver handOver(source);
  GstCaps* caps = StateOf(source).caps.get();
  return filter ? gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST)
                : gst_caps_ref(caps);
}

gboolean DecideAllocation(GstBaseSrc* source, GstQuery* query) {
  const gstreamer::HandOver handOver(source);
  const SourceState& state = StateOf(source);
  const auto size = static_cast<guint>(GST_VIDEO_INFO_SIZE(&state.info));
  const GstPointer<GstBufferPool> pool(gst_buffer_pool_new());
  GstStructure* config = gst_buffer_pool_get_config(pool.get());
  gst_buffer_pool_config_set_params(config, state.caps.get(), size, kBuffersAtStart,
                                    kBuffersAtMost);
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
  const GstClockTime latency = StateOf(source).pacer.TimeOf(1);
  gst_query_set_latency(query, TRUE, latency, latency);
  return TRUE;
}

/// Does what the description says about the moment after so many frames.
GstFlowReturn ActOutFailures(GstPushSrc* source, SourceState& state) {
  const SimulatedDescription& device = state.hardware->Description();
  if (state.hardware->PullPlugAfter(state.delivered)) {
    GST_ELEMENT_ERROR(
        source, RESOURCE, READ, ("The device was unplugged."),
        ("%s after %" G_GUINT64_FORMAT " frames", device.name.c_str(), state.delivered));
    return GST_FLOW_ERROR;
  }
  if (device.hangAfter == state.delivered) state.pacer.Hang(device.hangFor);
  if (device.stallAfter == state.delivered) return state.pacer.AwaitInterrupt();
  return GST_FLOW_OK;
}

void ReportLoss(GstPushSrc* source, SourceState& state, GstBuffer* buffer,
                const FramePacer::Frame& frame) {
  if (frame.lost == 0) return;
  GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
  GstMessage* message =
      gst_message_new_qos(GST_OBJECT_CAST(source), TRUE, GST_CLOCK_TIME_NONE, GST_CLOCK_TIME_NONE,
                          frame.time, state.pacer.TimeOf(frame.lost));
  gst_message_set_qos_stats(message, GST_FORMAT_BUFFERS, frame.index - frame.lost, frame.lost);
  gst_element_post_message(GST_ELEMENT_CAST(source), message);
}

bool Paint(SourceState& state, GstBuffer* buffer, std::uint64_t index, std::string_view text) {
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_WRITE)) return false;
  SimulatedPicture::Plane planes[SimulatedPicture::kMaxPlanes];
  const std::size_t count = GST_VIDEO_INFO_N_PLANES(&state.info);
  for (std::size_t i = 0; i < count; ++i) {
    planes[i] = {map.data + GST_VIDEO_INFO_PLANE_OFFSET(&state.info, i),
                 static_cast<std::size_t>(GST_VIDEO_INFO_PLANE_STRIDE(&state.info, i))};
  }
  state.picture.Paint({planes, count}, index, text);
  gst_buffer_unmap(buffer, &map);
  return true;
}

/// Text and, on a tape, time code of a frame.
FrameStamp StampFrame(SourceState& state, GstBuffer* buffer, std::uint64_t index) {
  SimulatedHardware& hardware = *state.hardware;
  const SimulatedDescription& device = hardware.Description();
  if (device.kind == SimulatedDescription::Kind::Camera) return FrameStamp(index);
  const std::uint64_t position = state.tapeStart + index;
  const TapeTime time = hardware.Counter().TimeAt(position);
  SetTimeCode(buffer, time, device.rate, device.dropFrame);
  hardware.MoveTapeTo(position + 1);
  return FrameStamp(time, device.dropFrame);
}

GstFlowReturn Fill(GstPushSrc* source, GstBuffer* buffer) {
  const gstreamer::HandOver handOver(source), filled(buffer);
  SourceState& state = StateOf(source);
  if (const GstFlowReturn flow = ActOutFailures(source, state); flow != GST_FLOW_OK) return flow;
  FramePacer::Frame frame;
  const GstFlowReturn flow = state.pacer.AwaitFrame(GST_ELEMENT_CAST(source), frame);
  if (flow != GST_FLOW_OK) return flow;

  if (!Paint(state, buffer, frame.index, StampFrame(state, buffer, frame.index).Text())) {
    GST_ELEMENT_ERROR(source, RESOURCE, FAILED, ("A frame has no memory."), (nullptr));
    return GST_FLOW_ERROR;
  }
  GST_BUFFER_PTS(buffer) = frame.time;
  GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
  GST_BUFFER_DURATION(buffer) =
      state.pacer.TimeOf(frame.index + 1) - state.pacer.TimeOf(frame.index);
  GST_BUFFER_OFFSET(buffer) = frame.index;
  GST_BUFFER_OFFSET_END(buffer) = frame.index + 1;
  ReportLoss(source, state, buffer, frame);
  ++state.delivered;
  return GST_FLOW_OK;
}

void Finalise(GObject* object) {
  const gstreamer::HandOver handOver(object);
  delete static_cast<SimulatedSource*>(static_cast<gpointer>(object))->state;
  static_cast<GObjectClass*>(static_cast<gpointer>(parentClass))->finalize(object);
}

void InitialiseClass(gpointer elementClass, gpointer) {
  parentClass = static_cast<GstBaseSrcClass*>(g_type_class_peek_parent(elementClass));
  static_cast<GObjectClass*>(elementClass)->finalize = Finalise;
  gst_element_class_set_static_metadata(
      static_cast<GstElementClass*>(elementClass), "Simulated camera", "Source/Video",
      "A camera or camcorder without hardware", "The zorvex authors");
  const GstPointer<GstCaps> caps(gst_caps_new_empty_simple("video/x-raw"));
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
      GST_TYPE_PUSH_SRC, "ZorvexSimulatedSource", sizeof(SimulatedSourceClass), InitialiseClass,
      sizeof(SimulatedSource), InitialiseInstance, static_cast<GTypeFlags>(0));
  return type;
}

}  // namespace

GstElement* NewSimulatedSource(std::shared_ptr<SimulatedHardware> hardware) {
  GstPointer<GstCaps> caps = CapsOf(hardware->Description());
  GstVideoInfo info;
  if (!gst_video_info_from_caps(&info, caps.get())) return nullptr;
  auto* source = static_cast<SimulatedSource*>(g_object_new(SourceType(), nullptr));
  const gstreamer::HandOver handOver(source);
  source->state = new SourceState(std::move(hardware), std::move(caps), info);
  return GST_ELEMENT_CAST(source);
}
