// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_DEVICEPROVIDER_H
#define ZORVEX_PLATFORM_DEVICEPROVIDER_H

#include <vector>

#include "platform/listeddevice.h"

/// One kind of devices of this system. Called by one thread at a time.
class DeviceProvider {
 public:
  virtual ~DeviceProvider() = default;

  /// Every device seen so far, plugged in or not; the same object for the same device each time.
  virtual std::vector<Retained<ListedDevice>> Devices() = 0;
};

#endif  // ZORVEX_PLATFORM_DEVICEPROVIDER_H
