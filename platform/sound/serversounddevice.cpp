// SPDX-License-Identifier: MIT
#include "platform/sound/serversounddevice.h"

#include <string_view>

#include "platform/gstreamer/handover.h"
#include "platform/sound/serversocket.h"
#include "platform/sound/soundmode.h"
#include "platform/sound/soundsource.h"

namespace gstreamer {
namespace {

using std::chrono::milliseconds;

/// How old an answer may be that tells whether a source is there: a list of devices that asks each
/// of them needs but one look.
constexpr milliseconds kRecent{300};
constexpr milliseconds kConnectLimit{1000};

std::string IdOf(SoundSystem system, const std::string& source) {
  return (system == SoundSystem::PulseAudio ? "sound:pulse:" : "sound:pipewire:") + source;
}

GstPointer<GstElement> NewElement(const char* factory) {
  GstPointer<GstElement> element(gst_element_factory_make(factory, nullptr));
  if (element) gst_object_ref_sink(element.get());
  return element;
}

/// The server has moved the stream to another source, for its own is gone.
void OnSourceChanged(GObject* element, GParamSpec*, gpointer) {
  const HandOver handOver(element);
  gchar* wanted = nullptr;
  gchar* current = nullptr;
  g_object_get(element, "device", &wanted, "current-device", &current, nullptr);
  const GstPointer<gchar> wantedOwner(wanted), currentOwner(current);
  if (!wanted || !current || std::string_view(wanted) == current) return;
  GST_ELEMENT_ERROR(element, RESOURCE, NOT_FOUND, ("The source is gone."),
                    ("the server offers %s instead of %s", current, wanted));
}

GstPointer<GstElement> NewPulseSource(const std::string& socket, const std::string& source) {
  GstPointer<GstElement> element = NewElement("pulsesrc");
  if (!element) return element;
  // A server that is named is not started when it is not there.
  g_object_set(element.get(), "server", ("unix:" + socket).c_str(), "device", source.c_str(),
               "client-name", "zorvex", "provide-clock", FALSE, "latency-time",
               gint64{kSoundBuffer.count()}, "buffer-time", gint64{kSoundKept.count()}, nullptr);
  gst_util_set_object_arg(reinterpret_cast<GObject*>(element.get()), "slave-method", "none");
  g_signal_connect(element.get(), "notify::current-device", G_CALLBACK(OnSourceChanged), nullptr);
  return element;
}

GstPointer<GstElement> NewPipeWireSource(const std::string& path, const std::string& source) {
  auto socket = std::make_unique<ServerSocket>(std::vector{path}, kConnectLimit);
  GstPointer<GstElement> element = NewElement("pipewiresrc");
  if (!element || !socket->IsConnected()) return nullptr;
  // Elements with one descriptor, or none, share a connection, also after it broke.
  g_object_set(element.get(), "fd", socket->Descriptor(), "target-object", source.c_str(),
               "client-name", "zorvex", "always-copy", TRUE, nullptr);
  g_object_set_data_full(reinterpret_cast<GObject*>(element.get()), "zorvex-socket",
                         socket.release(),
                         [](gpointer data) { delete static_cast<ServerSocket*>(data); });
  // The element forbids the daemon to move its stream.
  const GstPointer<GstStructure> properties(
      gst_structure_new("properties", "node.latency", G_TYPE_STRING, "960/48000", nullptr));
  g_object_set(element.get(), "stream-properties", properties.get(), nullptr);
  return element;
}

}  // namespace

ServerSoundDevice::ServerSoundDevice(SoundSystem system, const ServerSource& source,
                                     std::shared_ptr<SoundServers> servers)
    : SourceDevice(source.description, IdOf(system, source.name), source.name),
      system_(system),
      source_(source.name),
      servers_(std::move(servers)) {}

bool ServerSoundDevice::HasMediaType(QTMediaType mediaType) const {
  return mediaType == QTMediaType::QTMediaTypeSound;
}

bool ServerSoundDevice::IsConnected() const {
  return servers_->Look(kRecent).Find(system_, source_) != nullptr;
}

std::vector<Retained<QTFormatDescription>> ServerSoundDevice::FormatDescriptions() {
  const SoundView view = servers_->Look(kRecent);
  const ServerSource* source = view.Find(system_, source_);
  if (!source) return {};
  return DescribeSoundModes(source->offered.get());
}

SourceDevice::Source ServerSoundDevice::MakeSource(const CVPixelBufferAttributes&) {
  const SoundView view = servers_->Look(kRecent);
  const ServerSource* source = view.Find(system_, source_);
  if (!source) return {};
  GstPointer<GstCaps> mode = ChooseSoundMode(source->offered.get());
  GstPointer<GstElement> element = system_ == SoundSystem::PulseAudio
                                       ? NewPulseSource(view.socket, source_)
                                       : NewPipeWireSource(view.socket, source_);
  if (!mode || !element) return {};
  return {NewSoundSource(std::move(element)), mode.release()};
}

}  // namespace gstreamer
