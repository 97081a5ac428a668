// SPDX-License-Identifier: MIT
#include "platform/gstreamer/recordertap.h"

#include <utility>

namespace gstreamer {

void RecorderTap::Set(std::vector<std::shared_ptr<MovieRecorder>> recorders) {
  auto fresh =
      std::make_shared<const std::vector<std::shared_ptr<MovieRecorder>>>(std::move(recorders));
  const std::lock_guard lock(mutex_);
  std::swap(recorders_, fresh);
}

void RecorderTap::Push(MovieRecorder::Track track, GstBuffer* buffer, GstPad* pad) {
  std::shared_ptr<const std::vector<std::shared_ptr<MovieRecorder>>> recorders;
  {
    const std::lock_guard lock(mutex_);
    recorders = recorders_;
  }
  if (!recorders || recorders->empty()) return;
  const GstPointer<GstCaps> caps(gst_pad_get_current_caps(pad));
  const GstPointer<GstElement> element(gst_pad_get_parent_element(pad));
  if (!caps || !element) return;
  // Stamps of a source become running time by its segment.
  const GstPointer<GstEvent> event(gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0));
  const GstSegment* segment = nullptr;
  if (event) gst_event_parse_segment(event.get(), &segment);
  const GstClockTime stamp = GST_BUFFER_PTS(buffer);
  const GstClockTime running = segment && segment->format == GST_FORMAT_TIME
                                   ? gst_segment_to_running_time(segment, GST_FORMAT_TIME, stamp)
                                   : stamp;
  if (!GST_CLOCK_TIME_IS_VALID(running)) return;
  const GstClockTime time = gst_element_get_base_time(element.get()) + running;
  for (const auto& recorder : *recorders)
    recorder->Push(track, buffer, caps.get(), time);
}

}  // namespace gstreamer
