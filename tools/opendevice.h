// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_OPENDEVICE_H
#define ZORVEX_TOOLS_OPENDEVICE_H

#include <optional>
#include <string>

#include "tools/capturesink.h"
#include "tools/devicereference.h"
#include "tools/options.h"

/// A device that this program has opened; gives it back in the right order at the end.
class OpenDevice {
 public:
  /// Finds and opens a device of any kind, and finds the one that its sound is to come from;
  /// `soundDevice` may be empty. Throws Failure, whose message tells what to do.
  explicit OpenDevice(const std::string& name, const std::string& soundDevice = {});
  ~OpenDevice();
  OpenDevice(const OpenDevice&) = delete;
  OpenDevice& operator=(const OpenDevice&) = delete;

  const DeviceReference& Reference() const { return device_; }

  /// Starts to deliver what the sink wishes for and, when the options name a movie, to record.
  /// Throws Failure.
  void Start(const CaptureOptions& options, CaptureSink& sink);
  /// Ends both; the movie is complete and the sink left alone when it returns.
  void Stop();

 private:
  bool StartDelivery(const CaptureOptions& options, CaptureSink& sink);
  [[noreturn]] void FailStarting(const CaptureOptions& options) const;

  const DeviceReference device_;
  std::optional<DeviceReference> soundDevice_;  ///< opened by the start
  CaptureSink* sink_ = nullptr;                 ///< while a capture runs
};

#endif  // ZORVEX_TOOLS_OPENDEVICE_H
