// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GSTREAMER_SOURCEDEVICE_H
#define ZORVEX_PLATFORM_GSTREAMER_SOURCEDEVICE_H

#include <gst/gst.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

#include "platform/cvpixelbuffer.h"
#include "platform/listeddevice.h"

/// A device whose media comes out of a GStreamer element: what a session runs on.
///
/// This class keeps the states; a kind of device fills in the five protected operations. They may
/// block: opening and closing are called on a thread that nobody waits for without limit.
///
///     closed -- Open --> open -- BeginStreaming --> streaming
///       ^-- Close --------' ^------ EndStreaming ------'
class SourceDevice : public ListedDevice {
 public:
  using ListedDevice::ListedDevice;

  bool IsOpen() const final { return open_; }
  bool Open() final;
  void Close() final;

  /// The pad "src" gives pictures, of a device of sound alone its sound; that of a muxed device is
  /// accompanied by a pad "sound", interleaved PCM.
  struct Source {
    GstElement* element = nullptr;  ///< floating, in state NULL or READY
    GstCaps* caps = nullptr;  ///< the mode of "src" to run in, owned; null where it has but one
  };

  /// What an input of the device gives: one description for each stream. The device is open.
  virtual std::vector<Retained<QTFormatDescription>> StreamDescriptions() {
    return FormatDescriptions();
  }
  /// Whether a run of the device is to give media at once; a tape that stands still does not.
  virtual bool IsMediaExpected() { return true; }

  /// Begins one run of a session on the open device and makes the element for it, in the mode that
  /// suits the wish best; the rest is for the session to convert. No element when the device is not
  /// open, streams already or fails. `onClose` is called when the device is closed meanwhile, on
  /// the closing thread.
  Source BeginStreaming(const CVPixelBufferAttributes& wish, std::function<void()> onClose);
  /// Ends that run; its element has reached state NULL and is let go. Any thread.
  void EndStreaming();

 protected:
  /// Takes the device. Called with nothing open and nothing streaming.
  virtual bool OpenDevice() = 0;
  virtual void CloseDevice() = 0;
  virtual Source MakeSource(const CVPixelBufferAttributes& wish) = 0;
  /// The source of a run is gone.
  virtual void SourceEnded() = 0;

 private:
  std::atomic<bool> open_ = false;
  std::mutex mutex_;  ///< guards what follows
  std::condition_variable streamEnded_;
  bool opening_ = false;
  bool streaming_ = false;
  std::function<void()> onClose_;
};

#endif  // ZORVEX_PLATFORM_GSTREAMER_SOURCEDEVICE_H
