// SPDX-License-Identifier: MIT
#include "platform/gstreamer/pipeline.h"

#include <condition_variable>
#include <mutex>

#include "platform/gstreamer/handover.h"
GST_DEBUG_CATEGORY_STATIC(zorvex_debug);
#define GST_CAT_DEFAULT zorvex_debug

namespace gstreamer {

struct Pipeline::Log {
  mutable std::mutex mutex;
  mutable std::condition_variable changed;
  Events events;

  void Note(bool Events::*what) {
    const std::lock_guard lock(mutex);
    events.*what = true;
    changed.notify_all();
  }
};

namespace {

/// Why a device failed can be seen with GST_DEBUG=zorvex:4; the library itself prints nothing.
void TellAbout(GstMessage* message) {
  static const bool ready = [] {
    GST_DEBUG_CATEGORY_INIT(zorvex_debug, "zorvex", 0, "zorvex capture");
    return true;
  }();
  static_cast<void>(ready);
  GError* error = nullptr;
  gchar* details = nullptr;
  gst_message_parse_error(message, &error, &details);
  GST_INFO("%s: %s (%s)", GST_MESSAGE_SRC_NAME(message), error->message,
           details ? details : "no details");
  g_error_free(error);
  g_free(details);
}

}  // namespace

Pipeline::Pipeline()
    : log_(std::make_shared<Log>()),
      element_(static_cast<GstElement*>(gst_object_ref_sink(gst_pipeline_new(nullptr)))) {
  auto* log = new std::shared_ptr<Log>(log_);
  const HandOver handOver(log);
  const GstPointer<GstBus> bus(gst_element_get_bus(Element()));
  gst_bus_set_sync_handler(bus.get(), OnMessage, log, [](gpointer data) {
    { const HandOver scope(data); }
    delete static_cast<std::shared_ptr<Log>*>(data);
  });
}

GstBusSyncReply Pipeline::OnMessage(GstBus*, GstMessage* message, gpointer data) {
  const HandOver handOver(data);
  Log& log = **static_cast<std::shared_ptr<Log>*>(data);
  switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ERROR:
      TellAbout(message);
      log.Note(&Events::failed);
      break;
    case GST_MESSAGE_EOS:
      log.Note(&Events::ended);
      break;
    default:
      break;
  }
  gst_message_unref(message);
  return GST_BUS_DROP;
}

bool Pipeline::Add(GstElement* element) {
  return element && gst_bin_add(AsBin(Element()), element);
}

bool Pipeline::Play() {
  return gst_element_set_state(Element(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

void Pipeline::Stop() {
  gst_element_set_state(Element(), GST_STATE_NULL);
}

void Pipeline::NoteFlow() {
  log_->Note(&Events::flowing);
}

void Pipeline::NoteStop() {
  log_->Note(&Events::stopped);
}

Pipeline::Events Pipeline::Current() const {
  const std::lock_guard lock(log_->mutex);
  return log_->events;
}

Pipeline::Events Pipeline::WaitFor(std::chrono::milliseconds limit,
                                   bool (*isEnough)(const Events&)) const {
  std::unique_lock lock(log_->mutex);
  log_->changed.wait_for(lock, limit, [&] { return isEnough(log_->events); });
  return log_->events;
}

bool Chain::Append(GstElement* element) {
  if (!pipeline_.Add(element)) return false;
  if (last_ && !LinkTo(element, nullptr)) return false;
  last_ = element;
  pad_ = nullptr;
  return true;
}

bool Chain::Append(const char* factory) {
  return Append(gst_element_factory_make(factory, nullptr));
}

bool Chain::AppendCapsFilter(const GstCaps* caps) {
  if (!Append("capsfilter")) return false;
  g_object_set(last_, "caps", caps, nullptr);
  return true;
}

bool Chain::LinkTo(GstElement* element, const char* pad) {
  return gst_element_link_pads(last_, pad_, element, pad);
}

}  // namespace gstreamer
