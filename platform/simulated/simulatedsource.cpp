// SPDX-License-Identifier: MIT
#include "platform/simulated/simulatedsource.h"

#include "platform/dv/dvsource.h"
#include "platform/simulated/framepacer.h"
#include "platform/simulated/media.h"
#include "platform/simulated/mediasource.h"
#include "platform/simulated/tapepacer.h"

namespace {

void AddGhostPad(GstElement* bin, GstElement* element, const char* name) {
  const GstPointer<GstPad> target(gst_element_get_static_pad(element, "src"));
  gst_element_add_pad(bin, gst_ghost_pad_new(name, target.get()));
}

/// Pictures and sound on threads of their own: a consumer that is slow with the one loses nothing
/// of the other.
GstElement* NewTapeSource(const std::shared_ptr<SimulatedHardware>& hardware) {
  GstElement* bin = gst_bin_new(nullptr);
  GstElement* pictures = NewMediaSource(hardware, std::make_unique<TapePacer>(hardware),
                                        NewPictures(hardware), MediaRole::Principal);
  GstElement* sound = NewMediaSource(hardware, std::make_unique<TapePacer>(hardware),
                                     NewTapeSound(hardware), MediaRole::Companion);
  gst_bin_add_many(AsBin(bin), pictures, sound, nullptr);
  AddGhostPad(bin, pictures, "src");
  AddGhostPad(bin, sound, "sound");
  return bin;
}

}  // namespace

GstElement* NewSimulatedSource(const std::shared_ptr<SimulatedHardware>& hardware) {
  const SimulatedDescription& device = hardware->Description();
  switch (device.kind) {
    case SimulatedDescription::Kind::Microphone:
      return NewMediaSource(hardware, std::make_unique<FramePacer>(kMicrophonePieces),
                            NewTones(hardware), MediaRole::Principal);
    case SimulatedDescription::Kind::Camcorder:
      if (!device.tape) return NewTapeSource(hardware);
      return gstreamer::NewDvSource(NewMediaSource(hardware, std::make_unique<TapePacer>(hardware),
                                                   NewDvFrames(hardware), MediaRole::Principal));
    default:
      return NewMediaSource(hardware, std::make_unique<FramePacer>(device.rate),
                            NewPictures(hardware), MediaRole::Principal);
  }
}
