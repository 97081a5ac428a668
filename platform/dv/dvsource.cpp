// SPDX-License-Identifier: MIT
#include "platform/dv/dvsource.h"

#include "platform/dv/dvframe.h"
#include "platform/dv/dvsound.h"
#include "platform/dv/dvtimecode.h"
#include "platform/gstreamer/gstpointer.h"
#include "platform/gstreamer/handover.h"

namespace {

using gstreamer::DvBytes;
using gstreamer::DvSound;
using gstreamer::DvSystem;
using gstreamer::HandOver;

constexpr gsize kSoundBufferSize =
    gsize{gstreamer::kDvMostSamples} * gstreamer::kDvSoundChannels * sizeof(std::int16_t);

/// Divides a DV system stream into its pictures and its sound. The demultiplexers that there are do
/// without the time code, and read and write beyond their memory where a damaged tape misstates
/// what its sound is.
struct DvSplitter {
  GstElement parent;
  GstPad* pictures;  ///< owned by the element, as the next
  GstPad* sound;
  // Used by the streaming thread alone.
  GstBufferPool* soundPool;
  GstEvent* segment;  ///< for the streams that have no format yet; owned, or null
  gboolean pictureFormatIsSet;
  DvSystem system;
  gboolean isWide;
  int soundRate;
  gboolean soundWasLost;
};

struct DvSplitterClass {
  GstElementClass parent;
};

GObjectClass* parentClass = nullptr;  // set once, while the type is made

DvSplitter* SplitterOf(gpointer object) {
  return static_cast<DvSplitter*>(object);
}

/// The frame in a buffer, for as long as this lives; empty when it cannot be read.
class MappedFrame {
 public:
  explicit MappedFrame(GstBuffer* buffer)
      : buffer_(buffer), isMapped_(gst_buffer_map(buffer, &map_, GST_MAP_READ)) {}
  ~MappedFrame() {
    if (isMapped_) gst_buffer_unmap(buffer_, &map_);
  }
  MappedFrame(const MappedFrame&) = delete;
  MappedFrame& operator=(const MappedFrame&) = delete;

  DvBytes Bytes() const { return isMapped_ ? DvBytes(map_.data, map_.size) : DvBytes(); }

 private:
  GstBuffer* const buffer_;
  GstMapInfo map_;
  const bool isMapped_;
};

/// Takes the caps. A stream's segment follows its first format.
void PushCaps(const DvSplitter* self, GstPad* pad, GstCaps* caps) {
  const GstPointer<GstCaps> owned(caps);
  const bool isFirst = !gst_pad_has_current_caps(pad);
  gst_pad_push_event(pad, gst_event_new_caps(caps));
  if (isFirst && self->segment) gst_pad_push_event(pad, gst_event_ref(self->segment));
}

void SetPictureFormat(DvSplitter* self, DvSystem system, gboolean isWide) {
  if (self->pictureFormatIsSet && self->system == system && self->isWide == isWide) return;
  self->pictureFormatIsSet = TRUE;
  self->system = system;
  self->isWide = isWide;
  const bool is625 = system == DvSystem::Lines625;
  const int pixelWidth = is625 ? (isWide ? 64 : 16) : (isWide ? 32 : 8);
  const int pixelHeight = is625 ? (isWide ? 45 : 15) : (isWide ? 27 : 9);
  PushCaps(self, self->pictures,
           gst_caps_new_simple("video/x-dv", "systemstream", G_TYPE_BOOLEAN, FALSE, "width",
                               G_TYPE_INT, 720, "height", G_TYPE_INT, is625 ? 576 : 480,
                               "framerate", GST_TYPE_FRACTION, is625 ? 25 : 30000, is625 ? 1 : 1001,
                               "pixel-aspect-ratio", GST_TYPE_FRACTION, pixelWidth, pixelHeight,
                               nullptr));
}

void SetSoundFormat(DvSplitter* self, int rate) {
  if (self->soundRate == rate) return;
  self->soundRate = rate;
  PushCaps(self, self->sound,
           gst_caps_new_simple("audio/x-raw", "format", G_TYPE_STRING, "S16LE", "layout",
                               G_TYPE_STRING, "interleaved", "rate", G_TYPE_INT, rate, "channels",
                               G_TYPE_INT, gstreamer::kDvSoundChannels, nullptr));
}

/// The sound of a frame as a buffer of its own; null when there is no memory for it or the stream
/// ends. The sound belongs to the same moments as the picture, so it has its times: the number of
/// samples differs from frame to frame, and a stream of frames that a deck gives has gaps.
GstBuffer* NewSoundBuffer(DvSplitter* self, GstBuffer* picture, DvBytes frame,
                          const DvSound& sound) {
  GstBuffer* buffer = nullptr;
  if (gst_buffer_pool_acquire_buffer(self->soundPool, &buffer, nullptr) != GST_FLOW_OK) {
    return nullptr;
  }
  const HandOver filled(buffer);
  const auto samples = static_cast<gsize>(sound.samples);
  gst_buffer_set_size(
      buffer, static_cast<gssize>(samples * gstreamer::kDvSoundChannels * sizeof(std::int16_t)));
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_WRITE)) {
    gst_buffer_unref(buffer);
    return nullptr;
  }
  gstreamer::ReadDvSound(frame, sound, static_cast<std::int16_t*>(static_cast<void*>(map.data)));
  gst_buffer_unmap(buffer, &map);
  GST_BUFFER_PTS(buffer) = GST_BUFFER_PTS(picture);
  GST_BUFFER_DURATION(buffer) = GST_BUFFER_DURATION(picture);
  if (self->soundWasLost || GST_BUFFER_FLAG_IS_SET(picture, GST_BUFFER_FLAG_DISCONT)) {
    GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
  }
  return buffer;
}

GstFlowReturn PushSound(DvSplitter* self, GstBuffer* picture, DvBytes frame) {
  const auto sound =
      gstreamer::IsDvAtNormalSpeed(frame) ? gstreamer::DvSoundOf(frame) : std::optional<DvSound>();
  GstBuffer* buffer = sound ? NewSoundBuffer(self, picture, frame, *sound) : nullptr;
  self->soundWasLost = !buffer;
  if (!buffer) return GST_FLOW_OK;
  SetSoundFormat(self, sound->rate);
  return gst_pad_push(self->sound, buffer);
}

GstFlowReturn Chain(GstPad*, GstObject* element, GstBuffer* buffer) {
  const HandOver handOver(element), chained(buffer);
  DvSplitter* self = SplitterOf(element);
  std::optional<gstreamer::DvTimeCode> timeCode;
  std::optional<DvSystem> system;
  GstFlowReturn soundFlow = GST_FLOW_OK;
  {
    const MappedFrame frame(buffer);
    system = gstreamer::DvSystemOfFrame(frame.Bytes());
    if (!system) {
      // Not a frame: what a damaged tape or a disturbed wire gives. The next one may be.
      gst_buffer_unref(buffer);
      self->soundWasLost = TRUE;
      return GST_FLOW_OK;
    }
    timeCode = gstreamer::ReadDvTimeCode(frame.Bytes());
    SetPictureFormat(self, *system, gstreamer::IsDvWide(frame.Bytes()));
    soundFlow = PushSound(self, buffer, frame.Bytes());
  }
  GstBuffer* picture = gst_buffer_make_writable(buffer);
  gstreamer::SetDvTimeCode(picture, timeCode, *system);
  const GstFlowReturn pictureFlow = gst_pad_push(self->pictures, picture);
  // One of the two alone may be without a consumer.
  if (pictureFlow == GST_FLOW_NOT_LINKED) return soundFlow;
  return pictureFlow == GST_FLOW_OK && soundFlow != GST_FLOW_NOT_LINKED ? soundFlow : pictureFlow;
}

gboolean HandleEvent(GstPad* sink, GstObject* element, GstEvent* event) {
  const HandOver handOver(element);
  DvSplitter* self = SplitterOf(element);
  switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_CAPS:
      gst_event_unref(event);  // each stream has caps of its own, from its frames
      return TRUE;
    case GST_EVENT_STREAM_START:
      for (GstPad* pad : {self->pictures, self->sound}) {
        gchar* id = gst_pad_create_stream_id(pad, GST_ELEMENT_CAST(element),
                                             pad == self->sound ? "sound" : "pictures");
        GstEvent* start = gst_event_new_stream_start(id);
        guint group = 0;
        if (gst_event_parse_group_id(event, &group)) gst_event_set_group_id(start, group);
        gst_pad_push_event(pad, start);
        g_free(id);
      }
      gst_event_unref(event);
      return TRUE;
    case GST_EVENT_SEGMENT:
      gst_event_replace(&self->segment, event);
      for (GstPad* pad : {self->pictures, self->sound}) {
        if (gst_pad_has_current_caps(pad)) gst_pad_push_event(pad, gst_event_ref(event));
      }
      gst_event_unref(event);
      return TRUE;
    default:
      return gst_pad_event_default(sink, element, event);
  }
}

/// The memory for sound is there while the element runs.
GstStateChangeReturn ChangeState(GstElement* element, GstStateChange transition) {
  const HandOver handOver(element);
  DvSplitter* self = SplitterOf(element);
  if (transition == GST_STATE_CHANGE_READY_TO_PAUSED) {
    self->pictureFormatIsSet = FALSE;
    self->soundRate = 0;
    self->soundWasLost = FALSE;
    if (!gst_buffer_pool_set_active(self->soundPool, TRUE)) return GST_STATE_CHANGE_FAILURE;
  }
  const auto* elementClass = reinterpret_cast<GstElementClass*>(parentClass);
  const GstStateChangeReturn result = elementClass->change_state(element, transition);
  if (transition == GST_STATE_CHANGE_PAUSED_TO_READY) {
    gst_buffer_pool_set_active(self->soundPool, FALSE);
    gst_event_replace(&self->segment, nullptr);
  }
  return result;
}

void Finalise(GObject* object) {
  const HandOver handOver(object);
  gst_object_unref(SplitterOf(object)->soundPool);
  parentClass->finalize(object);
}

GstStaticPadTemplate sinkTemplate =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS,
                            GST_STATIC_CAPS("video/x-dv, systemstream=(boolean)true"));
GstStaticPadTemplate pictureTemplate = GST_STATIC_PAD_TEMPLATE(
    "src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS("video/x-dv, systemstream=(boolean)false"));
GstStaticPadTemplate soundTemplate = GST_STATIC_PAD_TEMPLATE(
    "sound", GST_PAD_SRC, GST_PAD_ALWAYS,
    GST_STATIC_CAPS("audio/x-raw, format=(string)S16LE, layout=(string)interleaved, "
                    "rate=(int){ 48000, 44100, 32000 }, channels=(int)2"));

void InitialiseClass(gpointer splitterClass, gpointer) {
  parentClass = static_cast<GObjectClass*>(g_type_class_peek_parent(splitterClass));
  static_cast<GObjectClass*>(splitterClass)->finalize = Finalise;
  auto* elementClass = static_cast<GstElementClass*>(splitterClass);
  elementClass->change_state = ChangeState;
  gst_element_class_set_static_metadata(elementClass, "DV splitter", "Codec/Demuxer",
                                        "Pictures with time code, and sound, of a DV stream",
                                        "The zorvex authors");
  for (GstStaticPadTemplate* pad : {&sinkTemplate, &pictureTemplate, &soundTemplate}) {
    gst_element_class_add_static_pad_template(elementClass, pad);
  }
}

void InitialiseInstance(GTypeInstance* instance, gpointer) {
  DvSplitter* self = SplitterOf(instance);
  auto* element = static_cast<GstElement*>(static_cast<gpointer>(instance));
  GstPad* sink = gst_pad_new_from_static_template(&sinkTemplate, "sink");
  gst_pad_set_chain_function(sink, Chain);
  gst_pad_set_event_function(sink, HandleEvent);
  gst_element_add_pad(element, sink);
  self->pictures = gst_pad_new_from_static_template(&pictureTemplate, "src");
  self->sound = gst_pad_new_from_static_template(&soundTemplate, "sound");
  gst_element_add_pad(element, self->pictures);
  gst_element_add_pad(element, self->sound);
  self->soundPool = gst_buffer_pool_new();
  GstStructure* config = gst_buffer_pool_get_config(self->soundPool);
  gst_buffer_pool_config_set_params(config, nullptr, kSoundBufferSize, 2, 0);
  gst_buffer_pool_set_config(self->soundPool, config);
}

GType SplitterType() {
  static const GType type = g_type_register_static_simple(
      GST_TYPE_ELEMENT, "ZorvexDvSplitter", sizeof(DvSplitterClass), InitialiseClass,
      sizeof(DvSplitter), InitialiseInstance, static_cast<GTypeFlags>(0));
  return type;
}

void AddGhostPad(GstElement* bin, GstElement* element, const char* target, const char* name) {
  const GstPointer<GstPad> pad(gst_element_get_static_pad(element, target));
  gst_element_add_pad(bin, gst_ghost_pad_new(name, pad.get()));
}

/// Gives the sound a thread of its own: neither of the two streams waits for what is done with the
/// other. Sound that nobody takes is dropped, the oldest first.
GstElement* NewSoundQueue() {
  GstElement* queue = gst_element_factory_make("queue", nullptr);
  if (!queue) return nullptr;
  g_object_set(queue, "max-size-buffers", 0u, "max-size-bytes", 0u, "max-size-time",
               guint64{GST_SECOND}, nullptr);
  gst_util_set_object_arg(reinterpret_cast<GObject*>(queue), "leaky", "downstream");
  return queue;
}

}  // namespace

GstElement* gstreamer::NewDvSource(GstElement* stream) {
  if (!stream) return nullptr;
  GstElement* bin = gst_bin_new(nullptr);
  gst_bin_add(AsBin(bin), stream);
  auto* splitter = static_cast<GstElement*>(g_object_new(SplitterType(), nullptr));
  gst_bin_add(AsBin(bin), splitter);
  GstElement* queue = NewSoundQueue();
  if (!queue || !gst_bin_add(AsBin(bin), queue) || !gst_element_link(stream, splitter) ||
      !gst_element_link_pads(splitter, "sound", queue, "sink")) {
    gst_object_unref(gst_object_ref_sink(bin));
    return nullptr;
  }
  AddGhostPad(bin, splitter, "src", "src");
  AddGhostPad(bin, queue, "src", "sound");
  return bin;
}
