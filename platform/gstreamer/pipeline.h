// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_PIPELINE_H
#define ZORVEX_PLATFORM_GSTREAMER_PIPELINE_H

#include <gst/gst.h>

#include <chrono>
#include <memory>

#include "platform/gstreamer/gstpointer.h"

namespace gstreamer {

/// A GstPipeline whose errors are noted as they are posted: no thread and no main loop is needed to
/// read its bus. State changes may take as long as a driver does; who must not wait for ever makes
/// them by RunBounded. Thread-safe.
class Pipeline {
 public:
  /// What has happened so far.
  struct Events {
    bool failed = false;   ///< an element posted an error; the first one is what counts
    bool ended = false;    ///< end of stream reached every sink
    bool flowing = false;  ///< NoteFlow was called
    bool stopped = false;  ///< NoteStop was called
  };

  Pipeline();

  GstElement* Element() const { return element_.get(); }
  /// Adds an element, taking over the floating reference. False when it is null.
  bool Add(GstElement* element);

  /// Sets the state to PLAYING; false when that fails. Takes as long as the device does.
  bool Play();
  /// Sets the state to NULL. Takes as long as the device and a callback in progress do.
  void Stop();

  /// Media came through.
  void NoteFlow();
  /// The pipeline is to stop.
  void NoteStop();
  Events Current() const;
  /// Waits until `isEnough` holds for what has happened, at most for `limit`.
  Events WaitFor(std::chrono::milliseconds limit, bool (*isEnough)(const Events&)) const;

 private:
  struct Log;

  static GstBusSyncReply OnMessage(GstBus* bus, GstMessage* message, gpointer log);

  const std::shared_ptr<Log> log_;
  const GstPointer<GstElement> element_;
};

/// A branch of a pipeline that is being built: each element is added and linked behind the last
/// one.
class Chain {
 public:
  /// Begins with an element of its own.
  explicit Chain(Pipeline& pipeline) : pipeline_(pipeline) {}
  /// Begins at a pad of an element that is in the pipeline.
  Chain(Pipeline& pipeline, GstElement* element, const char* pad)
      : pipeline_(pipeline), last_(element), pad_(pad) {}

  /// Takes over the floating reference. False when the element is null or does not link.
  bool Append(GstElement* element);
  bool Append(const char* factory);
  /// Lets only streams of these caps pass.
  bool AppendCapsFilter(const GstCaps* caps);
  /// Ends at a pad of an element that is in the pipeline, one that is made on request too.
  bool LinkTo(GstElement* element, const char* pad);

  GstElement* Last() const { return last_; }  ///< owned by the pipeline; null at first

 private:
  Pipeline& pipeline_;
  GstElement* last_ = nullptr;
  const char* pad_ = nullptr;  ///< of the last element; null for its only one
};

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_GSTREAMER_PIPELINE_H
