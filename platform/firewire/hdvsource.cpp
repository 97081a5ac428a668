// SPDX-License-Identifier: MIT
#include "platform/firewire/hdvsource.h"

#include <atomic>
#include <initializer_list>

#include "platform/gstreamer/gstpointer.h"
#include "platform/gstreamer/handover.h"

namespace {

using gstreamer::HandOver;

/// A quarter of a second of the stream, which comes at 25 Mbit/s, while the decoder is at a large
/// picture; the receiver itself holds but a few milliseconds.
constexpr guint kStreamQueued = 1 << 20;

/// A chain of elements in a bin; nothing of it when one of them is missing.
struct Decoder {
  GstElement* first = nullptr;
  GstElement* last = nullptr;
};

Decoder AddChain(GstElement* bin, std::initializer_list<const char*> factories) {
  Decoder decoder;
  for (const char* factory : factories) {
    GstElement* element = gst_element_factory_make(factory, nullptr);
    if (!element) return {};
    gst_bin_add(AsBin(bin), element);
    if (!decoder.first) decoder.first = element;
    if (decoder.last && !gst_element_link(decoder.last, element)) return {};
    decoder.last = element;
  }
  return decoder;
}

bool AddGhostPad(GstElement* bin, const char* name, GstElement* element) {
  const GstPointer<GstPad> target(gst_element_get_static_pad(element, "src"));
  return gst_element_add_pad(bin, gst_ghost_pad_new(name, target.get()));
}

GstPad* SinkPad(GstElement* element) {
  return gst_element_get_static_pad(element, "sink");
}

/// Whether a stream of a program is the one that a decoder is for.
bool IsFor(GstElement* parser, const GstCaps* caps) {
  const GstPointer<GstPad> pad(SinkPad(parser));
  const GstPointer<GstCaps> accepted(gst_pad_get_pad_template_caps(pad.get()));
  return gst_caps_can_intersect(caps, accepted.get());
}

/// Links a new stream of the demultiplexer in the place of the one before.
void OnPadAdded(GstElement* demuxer, GstPad* pad, gpointer parser) {
  const HandOver handOver(demuxer);
  const GstPointer<GstCaps> caps(gst_pad_query_caps(pad, nullptr));
  auto* element = static_cast<GstElement*>(parser);
  if (!IsFor(element, caps.get())) return;
  const GstPointer<GstPad> sink(SinkPad(element));
  const GstPointer<GstPad> before(gst_pad_get_peer(sink.get()));
  if (before) gst_pad_unlink(before.get(), sink.get());
  gst_pad_link(pad, sink.get());
}

/// What the pads of one source share.
struct HdvStream {
  GstElement* pictures = nullptr;  ///< the parsers, owned by the source
  GstElement* sound = nullptr;
  std::atomic<bool> ended = false;
};

GstPadProbeReturn NoteEnd(GstPad*, GstPadProbeInfo* info, gpointer data) {
  const HandOver handOver(data);
  if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) != GST_EVENT_EOS) return GST_PAD_PROBE_OK;
  auto* stream = static_cast<HdvStream*>(data);
  stream->ended = true;
  for (GstElement* parser : {stream->pictures, stream->sound}) {
    // It would not hear of the end otherwise.
    const GstPointer<GstPad> pad(SinkPad(parser));
    if (!gst_pad_is_linked(pad.get())) gst_pad_send_event(pad.get(), gst_event_new_eos());
  }
  return GST_PAD_PROBE_OK;
}

/// The end of one program is not the end of the tape: the demultiplexer ends its pads where the
/// next recording begins.
GstPadProbeReturn DropEndOfProgram(GstPad*, GstPadProbeInfo* info, gpointer data) {
  const HandOver handOver(data);
  if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) != GST_EVENT_EOS) return GST_PAD_PROBE_OK;
  return static_cast<HdvStream*>(data)->ended ? GST_PAD_PROBE_OK : GST_PAD_PROBE_DROP;
}

void Watch(GstElement* element, GstPadProbeCallback probe, HdvStream* stream) {
  const GstPointer<GstPad> pad(SinkPad(element));
  gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, probe, stream, nullptr);
}

/// Ties demultiplexer and decoders of a source together.
void Connect(GstElement* bin, GstElement* demuxer, GstElement* pictures, GstElement* sound) {
  auto* stream = new HdvStream{.pictures = pictures, .sound = sound};
  g_object_set_data_full(reinterpret_cast<GObject*>(bin), "zorvex-hdv-stream", stream,
                         [](gpointer data) {
                           { const HandOver handOver(data); }
                           delete static_cast<HdvStream*>(data);
                         });
  const HandOver handOver(stream);
  Watch(demuxer, NoteEnd, stream);
  for (GstElement* parser : {pictures, sound}) {
    g_signal_connect(demuxer, "pad-added", G_CALLBACK(OnPadAdded), parser);
    Watch(parser, DropEndOfProgram, stream);
  }
}

}  // namespace

namespace firewire {

GstElement* NewHdvSource(GstElement* stream) {
  GstPointer<GstElement> bin(static_cast<GstElement*>(gst_object_ref_sink(gst_bin_new(nullptr))));
  const HandOver handOver(bin.get());
  gst_bin_add(AsBin(bin.get()), stream);
  const Decoder demuxer = AddChain(bin.get(), {"queue", "tsdemux"});
  const Decoder pictures = AddChain(bin.get(), {"mpegvideoparse", "avdec_mpeg2video"});
  const Decoder sound = AddChain(bin.get(), {"mpegaudioparse", "mpg123audiodec"});
  if (!demuxer.first || !pictures.first || !sound.first) return nullptr;
  if (!gst_element_link(stream, demuxer.first)) return nullptr;
  g_object_set(demuxer.first, "max-size-bytes", kStreamQueued, "max-size-buffers", 0u,
               "max-size-time", guint64{0}, nullptr);
  Connect(bin.get(), demuxer.last, pictures.first, sound.first);
  if (!AddGhostPad(bin.get(), "src", pictures.last)) return nullptr;
  if (!AddGhostPad(bin.get(), "sound", sound.last)) return nullptr;
  GstElement* floating = bin.release();
  g_object_force_floating(reinterpret_cast<GObject*>(floating));
  return floating;
}

}  // namespace firewire
