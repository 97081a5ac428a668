// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_OPENDEVICE_H
#define ZORVEX_TOOLS_OPENDEVICE_H

#include <string>

#include "tools/framesink.h"
#include "tools/options.h"

/// A device that this program has opened; gives it back in the right order at the end.
class OpenDevice {
 public:
  /// Finds and opens a device for video. Throws Failure, whose message tells what to do.
  explicit OpenDevice(const std::string& name);
  ~OpenDevice();
  OpenDevice(const OpenDevice&) = delete;
  OpenDevice& operator=(const OpenDevice&) = delete;

  /// Starts to deliver to the sink and, when the options name a movie, to record. Throws Failure.
  void Start(const CaptureOptions& options, FrameSink& sink);
  /// Ends both; the movie is complete and the sink left alone when it returns.
  void Stop();

  bool IsConnected() const;

 private:
  /// One reference to a device.
  struct Reference {
    explicit Reference(unsigned long found) : handle(found) {}
    ~Reference();
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;
    const unsigned long handle;
  };

  void FailOpening() const;
  void FailStarting(const CaptureOptions& options) const;

  const std::string name_;
  const Reference device_;
  FrameSink* sink_ = nullptr;  ///< while a capture runs
};

#endif  // ZORVEX_TOOLS_OPENDEVICE_H
