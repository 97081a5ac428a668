// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_OPTIONS_H
#define ZORVEX_TOOLS_OPTIONS_H

#include <zorvex/zorvex.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "tools/audioformat.h"
#include "tools/exitcode.h"

struct DevicesOptions {
  ZRVXDeviceMediaType mediaType = ZRVXDeviceMediaTypeAny;
  bool disconnected = false;
  bool json = false;
};

struct FormatsOptions {
  std::string device;
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
  bool sound = false;             ///< besides the files and devices that need it
  AudioFormat audio;              ///< 0: the library's default
  std::string soundDevice;        ///< empty: the device itself
  bool transport = true;          ///< plays a tape that stands still
  std::string movie;              ///< empty: none, as for the other files
  std::string snapshot;
  std::string contactSheet;
  std::string wav;
  bool json = false;
};

struct TransportOptions {
  std::string device;
  std::optional<ZRVXDeviceTransportMode> mode;  ///< none: only tell the present one
};

struct TimeCodeOptions {
  std::string device;
  bool transport = true;  ///< a tape that stands still is played for it
};

using Command =
    std::variant<DevicesOptions, FormatsOptions, CaptureOptions, TransportOptions, TimeCodeOptions>;

/// The command that is asked for, or the exit code when there is nothing more to do: help was
/// printed, or a complaint about the command line.
std::variant<Command, ExitCode> ParseCommandLine(int argc, char** argv);

/// "2vuy" and the like, or the decimal form of the codes that are small numbers, as 24 and 32.
std::optional<std::uint32_t> ParsePixelFormat(const std::string& text);

#endif  // ZORVEX_TOOLS_OPTIONS_H
