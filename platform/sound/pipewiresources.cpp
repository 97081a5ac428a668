// SPDX-License-Identifier: MIT
#include "platform/sound/pipewiresources.h"

#include "platform/boundedcall.h"
#include "platform/gstreamer/gstpointer.h"

namespace gstreamer {
namespace {

/// A provider of our own: the one that GStreamer hands out is shared with the host.
GstPointer<GstDeviceProvider> NewProvider() {
  const GstPointer<GstDeviceProviderFactory> found(
      gst_device_provider_factory_find("pipewiredeviceprovider"));
  if (!found) return nullptr;
  const GstPointer<GstPluginFeature> loaded(
      gst_plugin_feature_load(reinterpret_cast<GstPluginFeature*>(found.get())));
  if (!loaded) return nullptr;
  auto* factory = reinterpret_cast<GstDeviceProviderFactory*>(loaded.get());
  const GType type = gst_device_provider_factory_get_device_provider_type(factory);
  return GstPointer<GstDeviceProvider>(
      static_cast<GstDeviceProvider*>(gst_object_ref_sink(g_object_new(type, nullptr))));
}

std::string Text(const GstStructure& properties, const char* key) {
  const char* text = gst_structure_get_string(&properties, key);
  return text ? text : "";
}

/// An output has a class of its own here, and no monitor beside it.
bool IsSource(const std::string& mediaClass) {
  return mediaClass == "Audio/Source" || mediaClass == "Audio/Source/Virtual";
}

void Add(GstDevice* device, std::vector<ServerSource>& sources) {
  const GstPointer<GstStructure> properties(gst_device_get_properties(device));
  if (!properties || !IsSource(Text(*properties, "media.class"))) return;
  ServerSource source;
  source.name = Text(*properties, "node.name");
  source.description = Text(*properties, "node.description");
  if (source.name.empty()) return;
  if (source.description.empty()) source.description = source.name;
  source.offered.reset(gst_device_get_caps(device), gst_caps_unref);
  if (source.offered) sources.push_back(std::move(source));
}

/// Takes as long as the daemon does.
SourcesAnswer Probe(const ServerSocket& server) {
  const GstPointer<GstDeviceProvider> provider = NewProvider();
  if (!provider) return {SourcesAnswer::Refused, {}};
  g_object_set(provider.get(), "fd", server.Descriptor(), nullptr);
  SourcesAnswer answer{SourcesAnswer::Given, {}};
  GList* devices = gst_device_provider_get_devices(provider.get());
  for (const GList* entry = devices; entry; entry = entry->next)
    Add(static_cast<GstDevice*>(entry->data), answer.sources);
  g_list_free_full(devices, gst_object_unref);
  return answer;
}

}  // namespace

SourcesAnswer AskPipeWire(const std::shared_ptr<ServerSocket>& server) {
  const auto answer = std::make_shared<SourcesAnswer>();
  const BoundedCall call =
      RunBounded(server->TimeLeft(), [answer, server] { *answer = Probe(*server); });
  if (call == BoundedCall::Done) return *answer;
  server->Break();  // so that the probe ends at once
  return {SourcesAnswer::Silent, {}};
}

}  // namespace gstreamer
