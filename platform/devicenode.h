// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_DEVICENODE_H
#define ZORVEX_PLATFORM_DEVICENODE_H

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace gstreamer {

/// A device node as it is now. A node of the same name that was made later is another one.
struct DeviceNode {
  std::string path;  ///< "/dev/video0"
  dev_t number = 0;  ///< of the device
  ino_t file = 0;    ///< of the node: its times and permissions may change while it lives

  bool operator==(const DeviceNode&) const = default;
};

/// The node at a path; number 0 when there is none.
DeviceNode LookUpNode(const std::string& path);

/// The first line of a file, as the kernel's small files have one; empty when it cannot be read.
std::string FirstLine(const std::filesystem::path& file);

/// "vendor:product:serial" of the USB device that a folder below /sys/devices lies in; empty
/// without a serial number, which is what tells two devices of a kind apart.
std::string ModelWithSerial(std::filesystem::path folder);

}  // namespace gstreamer

#endif  // ZORVEX_PLATFORM_DEVICENODE_H
