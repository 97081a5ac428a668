// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_FIREWIRE_KERNELFCPLINK_H
#define ZORVEX_PLATFORM_FIREWIRE_KERNELFCPLINK_H

#include <memory>
#include <string>

#include "platform/firewire/firewirebus.h"

namespace firewire {

/// A unit by the kernel's device file for it (linux/firewire-cdev.h). Null when it cannot be
/// opened.
///
/// The kernel keeps a device file on its unit: it stays with the GUID over bus resets and breaks
/// when the unit goes. So there are no node numbers here, and a write to a unit that is not where
/// it was fails in place of reaching another one.
std::unique_ptr<FcpLink> OpenKernelFcpLink(const std::string& path);

}  // namespace firewire

#endif  // ZORVEX_PLATFORM_FIREWIRE_KERNELFCPLINK_H
