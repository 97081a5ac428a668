// SPDX-License-Identifier: MIT
#include "platform/sound/soundsource.h"

#include <gst/audio/audio.h>

#include <algorithm>
#include <atomic>
#include <utility>

#include "platform/gstreamer/handover.h"
#include "platform/sound/soundtimeline.h"

namespace gstreamer {
namespace {

/// How often the source is looked after.
constexpr GstClockTime kLookEvery = 250 * GST_MSECOND;

struct SourceState {
  GstElement* source = nullptr;  // owned by the bin
  std::atomic<bool> failed = false;
  GstClockID look = nullptr;  // while the bin plays
  // Used by the streaming thread alone.
  GstAudioInfo info{};
  SoundTimeline timeline;
};

struct SoundSource {
  GstBin parent;
  SourceState* state;
};

struct SoundSourceClass {
  GstBinClass parent;
};

GstBinClass* parentClass = nullptr;  // set once, while the type is made

SourceState& StateOf(gpointer bin) {
  return *static_cast<SoundSource*>(bin)->state;
}

GstElement* ElementOf(gpointer bin) {
  return static_cast<GstElement*>(bin);
}

/// On a thread of its own: the one that noticed the failure may be the source's.
void EndStream(GstElement* bin, gpointer) {
  const HandOver handOver(bin);
  GstElement* source = StateOf(bin).source;
  gst_element_set_locked_state(source, TRUE);
  gst_element_set_state(source, GST_STATE_NULL);
  const GstPointer<GstPad> pad(gst_element_get_static_pad(bin, "src"));
  gst_pad_push_event(pad.get(), gst_event_new_eos());
}

void HandleMessage(GstBin* bin, GstMessage* message) {
  if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
    if (StateOf(bin).failed.exchange(true)) {
      gst_message_unref(message);
      return;
    }
    gst_element_call_async(ElementOf(bin), EndStream, nullptr, nullptr);
  }
  parentClass->handle_message(bin, message);
}

/// The source of a sound server that was disconnected may just stop its thread.
gboolean LookAfter(GstClock*, GstClockTime, GstClockID, gpointer bin) {
  const HandOver handOver(bin);
  SourceState& state = StateOf(bin);
  const GstPointer<GstPad> pad(gst_element_get_static_pad(state.source, "src"));
  if (!state.failed && gst_pad_get_task_state(pad.get()) != GST_TASK_STARTED) {
    GST_ELEMENT_ERROR(state.source, RESOURCE, READ, ("The sound ended."), (nullptr));
  }
  return TRUE;
}

void BeginLooking(GstElement* bin) {
  const GstPointer<GstClock> clock(gst_system_clock_obtain());
  GstClockID look = gst_clock_new_periodic_id(
      clock.get(), gst_clock_get_time(clock.get()) + kLookEvery, kLookEvery);
  gst_clock_id_wait_async(look, LookAfter, gst_object_ref(bin), gst_object_unref);
  StateOf(bin).look = look;
}

void EndLooking(GstElement* bin) {
  GstClockID look = std::exchange(StateOf(bin).look, nullptr);
  if (!look) return;
  gst_clock_id_unschedule(look);
  gst_clock_id_unref(look);
}

GstStateChangeReturn ChangeState(GstElement* bin, GstStateChange transition) {
  const HandOver handOver(bin);
  if (transition == GST_STATE_CHANGE_PLAYING_TO_PAUSED) EndLooking(bin);
  const GstStateChangeReturn result =
      static_cast<GstElementClass*>(static_cast<gpointer>(parentClass))
          ->change_state(bin, transition);
  if (transition == GST_STATE_CHANGE_PAUSED_TO_PLAYING && result != GST_STATE_CHANGE_FAILURE) {
    BeginLooking(bin);
  }
  return result;
}

/// What the pipeline's clock shows, as running time.
std::int64_t Now(GstElement* bin) {
  const GstPointer<GstClock> clock(gst_element_get_clock(bin));
  if (!clock) return 0;
  const GstClockTimeDiff now =
      GST_CLOCK_DIFF(gst_element_get_base_time(bin), gst_clock_get_time(clock.get()));
  return std::max<std::int64_t>(now, 0);
}

void Stamp(GstElement* bin, GstBuffer* buffer) {
  SourceState& state = StateOf(bin);
  const auto rate = static_cast<guint64>(GST_AUDIO_INFO_RATE(&state.info));
  const auto bytesPerFrame = static_cast<gsize>(GST_AUDIO_INFO_BPF(&state.info));
  if (rate == 0 || bytesPerFrame == 0) return;
  const guint64 frames = gst_buffer_get_size(buffer) / bytesPerFrame;
  const bool isAfterLoss = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT);
  const SoundTimeline::Stamp stamp = state.timeline.Next(
      static_cast<std::int64_t>(gst_util_uint64_scale(frames, GST_SECOND, rate)), Now(bin),
      isAfterLoss);
  GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(stamp.start);
  GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
  GST_BUFFER_DURATION(buffer) = static_cast<GstClockTime>(stamp.duration);
  if (stamp.isDiscontinuous) {
    GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
  } else {
    GST_BUFFER_FLAG_UNSET(buffer, GST_BUFFER_FLAG_DISCONT);
  }
}

GstPadProbeReturn OnData(GstPad*, GstPadProbeInfo* info, gpointer bin) {
  const HandOver handOver(bin);
  if (info->type & GST_PAD_PROBE_TYPE_BUFFER) {
    GstBuffer* buffer = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
    info->data = buffer;
    Stamp(ElementOf(bin), buffer);
  } else if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_CAPS) {
    GstCaps* caps = nullptr;
    gst_event_parse_caps(GST_PAD_PROBE_INFO_EVENT(info), &caps);
    gst_audio_info_from_caps(&StateOf(bin).info, caps);
  }
  return GST_PAD_PROBE_OK;
}

void Finalise(GObject* object) {
  const HandOver handOver(object);
  delete static_cast<SoundSource*>(static_cast<gpointer>(object))->state;
  static_cast<GObjectClass*>(static_cast<gpointer>(parentClass))->finalize(object);
}

void InitialiseClass(gpointer elementClass, gpointer) {
  parentClass = static_cast<GstBinClass*>(g_type_class_peek_parent(elementClass));
  static_cast<GObjectClass*>(elementClass)->finalize = Finalise;
  static_cast<GstElementClass*>(elementClass)->change_state = ChangeState;
  static_cast<GstElementClass*>(elementClass)->provide_clock = nullptr;
  static_cast<GstBinClass*>(elementClass)->handle_message = HandleMessage;
}

void InitialiseInstance(GTypeInstance* instance, gpointer) {
  static_cast<SoundSource*>(static_cast<gpointer>(instance))->state = new SourceState;
}

GType SourceType() {
  static const GType type = g_type_register_static_simple(
      GST_TYPE_BIN, "ZorvexSoundSource", sizeof(SoundSourceClass), InitialiseClass,
      sizeof(SoundSource), InitialiseInstance, static_cast<GTypeFlags>(0));
  return type;
}

}  // namespace

GstElement* NewSoundSource(GstPointer<GstElement> source) {
  auto* bin = static_cast<GstElement*>(g_object_new(SourceType(), nullptr));
  const HandOver handOver(bin);
  const GstPointer<GstPad> pad(gst_element_get_static_pad(source.get(), "src"));
  constexpr auto kData =
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM);
  gst_pad_add_probe(pad.get(), kData, OnData, bin, nullptr);
  StateOf(bin).source = source.get();
  const bool isReady = GST_STATE(source.get()) == GST_STATE_READY;
  gst_bin_add(AsBin(bin), source.get());
  gst_element_add_pad(bin, gst_ghost_pad_new("src", pad.get()));
  if (isReady) gst_element_set_state(bin, GST_STATE_READY);
  return bin;
}

}  // namespace gstreamer
