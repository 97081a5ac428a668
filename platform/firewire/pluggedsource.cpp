// SPDX-License-Identifier: MIT
#include "platform/firewire/pluggedsource.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/gstreamer/gstpointer.h"
#include "platform/gstreamer/handover.h"

namespace {

constexpr std::chrono::milliseconds kInterval{250};

/// The watch over one device while its source runs.
class PlugWatch {
 public:
  PlugWatch(GstElement* bin, GstElement* source, std::function<bool()> isConnected)
      : bin_(bin), source_(source), isConnected_(std::move(isConnected)) {}
  ~PlugWatch() { Stop(); }
  PlugWatch(const PlugWatch&) = delete;
  PlugWatch& operator=(const PlugWatch&) = delete;

  bool Start();
  void Stop();

 private:
  void Watch();
  bool SleepUnlessStopped();
  void ReportLoss();

  GstElement* const bin_;     // owns this
  GstElement* const source_;  // owned by the bin
  const std::function<bool()> isConnected_;
  std::thread thread_;
  std::mutex mutex_;
  std::condition_variable stopping_;
  bool isStopping_ = false;  // guarded by mutex_
};

bool PlugWatch::Start() {
  isStopping_ = false;
  try {
    thread_ = std::thread([this] { Watch(); });
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

void PlugWatch::Stop() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    isStopping_ = true;
  }
  stopping_.notify_one();
  thread_.join();
}

bool PlugWatch::SleepUnlessStopped() {
  std::unique_lock lock(mutex_);
  return !stopping_.wait_for(lock, kInterval, [&] { return isStopping_; });
}

void PlugWatch::Watch() {
  while (SleepUnlessStopped()) {
    if (isConnected_()) continue;
    ReportLoss();
    return;
  }
}

void PlugWatch::ReportLoss() {
  GST_ELEMENT_ERROR(bin_, RESOURCE, READ, ("The device was unplugged."),
                    ("It is no longer on the bus."));
  // Not by the bin: the thread that stops it holds its lock and waits for this one.
  gst_element_send_event(source_, gst_event_new_eos());
}

struct PluggedSource {
  GstBin parent;
  PlugWatch* watch;
};

struct PluggedSourceClass {
  GstBinClass parent;
};

gpointer parentClass = nullptr;  // set once, while the type is made

PluggedSource* AsPlugged(gpointer object) {
  return static_cast<PluggedSource*>(object);
}

GstStateChangeReturn ChangeState(GstElement* element, GstStateChange transition) {
  const gstreamer::HandOver handOver(element);
  PlugWatch* watch = AsPlugged(element)->watch;
  if (transition == GST_STATE_CHANGE_READY_TO_PAUSED && !watch->Start()) {
    return GST_STATE_CHANGE_FAILURE;
  }
  const GstStateChangeReturn result =
      static_cast<GstElementClass*>(parentClass)->change_state(element, transition);
  if (transition == GST_STATE_CHANGE_PAUSED_TO_READY || result == GST_STATE_CHANGE_FAILURE) {
    watch->Stop();
  }
  return result;
}

void Finalise(GObject* object) {
  {
    const gstreamer::HandOver handOver(object);
    delete AsPlugged(object)->watch;
  }
  static_cast<GObjectClass*>(parentClass)->finalize(object);
}

void InitialiseClass(gpointer pluggedClass, gpointer) {
  parentClass = g_type_class_peek_parent(pluggedClass);
  static_cast<GObjectClass*>(pluggedClass)->finalize = Finalise;
  static_cast<GstElementClass*>(pluggedClass)->change_state = ChangeState;
  gst_element_class_set_static_metadata(static_cast<GstElementClass*>(pluggedClass),
                                        "Source on a bus", "Source/Video",
                                        "Ends when its device is unplugged", "The zorvex authors");
}

GType PluggedSourceType() {
  static const GType type = g_type_register_static_simple(
      GST_TYPE_BIN, "ZorvexPluggedSource", sizeof(PluggedSourceClass), InitialiseClass,
      sizeof(PluggedSource), nullptr, static_cast<GTypeFlags>(0));
  return type;
}

}  // namespace

namespace firewire {

GstElement* NewPluggedSource(GstElement* source, std::function<bool()> isConnected) {
  auto* bin = static_cast<GstElement*>(g_object_new(PluggedSourceType(), nullptr));
  const gstreamer::HandOver handOver(bin);
  AsPlugged(bin)->watch = new PlugWatch(bin, source, std::move(isConnected));
  gst_bin_add(AsBin(bin), source);
  for (const char* name : {"src", "sound"}) {
    const GstPointer<GstPad> target(gst_element_get_static_pad(source, name));
    if (!target || !gst_element_add_pad(bin, gst_ghost_pad_new(name, target.get()))) {
      gst_object_unref(gst_object_ref_sink(bin));
      return nullptr;
    }
  }
  return bin;
}

}  // namespace firewire
