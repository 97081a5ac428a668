// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_RECORDERTAP_H
#define ZORVEX_PLATFORM_GSTREAMER_RECORDERTAP_H

#include <memory>
#include <mutex>
#include <vector>

#include "platform/gstreamer/movierecorder.h"

namespace gstreamer {

/// The recorders that the runs of a session feed, changed by one thread while others feed them.
class RecorderTap {
 public:
  void Set(std::vector<std::shared_ptr<MovieRecorder>> recorders);
  /// On a streaming thread: passes a buffer of the stream that leaves `pad` by reference.
  void Push(MovieRecorder::Track track, GstBuffer* buffer, GstPad* pad);

 private:
  std::mutex mutex_;  ///< guards what follows; never held while a recorder is fed
  std::shared_ptr<const std::vector<std::shared_ptr<MovieRecorder>>> recorders_;
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_RECORDERTAP_H
