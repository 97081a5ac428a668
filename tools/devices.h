// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_DEVICES_H
#define ZORVEX_TOOLS_DEVICES_H

#include <string>
#include <vector>

#include "tools/exitcode.h"
#include "tools/options.h"

struct ListedName {
  std::string name;
  const char* media;  ///< "video", "muxed" or "audio"
  bool connected;
};

/// The devices of a kind, in the order of the library, where every name is there only once.
std::vector<ListedName> ListDevices(ZRVXDeviceMediaType mediaType, bool disconnected);

/// The names that someone who typed `wanted` may have meant, best first.
std::vector<std::string> ClosestNames(const std::string& wanted,
                                      const std::vector<std::string>& names);

/// The command "devices".
ExitCode RunDevices(const DevicesOptions& options);

/// What to try on a machine without a device.
extern const char* const noDeviceHint;

#endif  // ZORVEX_TOOLS_DEVICES_H
