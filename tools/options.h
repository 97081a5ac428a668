// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_OPTIONS_H
#define ZORVEX_TOOLS_OPTIONS_H

#include <zorvex/zorvex.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "tools/exitcode.h"

struct DevicesOptions {
  ZRVXDeviceMediaType mediaType = ZRVXDeviceMediaTypeAny;
  bool disconnected = false;
  bool json = false;
};

/// A capture ends after `frames` frames, or after `seconds` when `frames` is 0.
struct CaptureOptions {
  std::string device;
  double seconds = 5;
  unsigned long frames = 0;
  unsigned long width = 0;        ///< 0: the device's own
  unsigned long height = 0;       ///< 0: the device's own
  std::uint32_t pixelFormat = 0;  ///< 0: the device's own
  std::string movie;              ///< empty: none, as for the pictures
  std::string snapshot;
  std::string contactSheet;
  bool json = false;
};

/// The command that is asked for, or the exit code when there is nothing more to do: help was
/// printed, or a complaint about the command line.
std::variant<DevicesOptions, CaptureOptions, ExitCode> ParseCommandLine(int argc, char** argv);

/// "2vuy" and the like, or the decimal form of the codes that are small numbers, as 24 and 32.
std::optional<std::uint32_t> ParsePixelFormat(const std::string& text);

#endif  // ZORVEX_TOOLS_OPTIONS_H
