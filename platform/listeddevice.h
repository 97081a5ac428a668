// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_LISTEDDEVICE_H
#define ZORVEX_PLATFORM_LISTEDDEVICE_H

#include <string>
#include <utility>

#include "platform/qtcapturedevice.h"

/// A device as the backends of this system list it.
class ListedDevice : public QTCaptureDevice {
 public:
  /// `name` as the device gives it; `orderKey` places it among the devices of its media type (the
  /// bus path: compared text by text, numbers by value).
  ListedDevice(std::string name, std::string uniqueId, std::string orderKey)
      : name_(std::move(name)), uniqueId_(std::move(uniqueId)), orderKey_(std::move(orderKey)) {}

  const char* LocalizedDisplayName() const final { return displayName_.c_str(); }
  const char* UniqueID() const final { return uniqueId_.c_str(); }

  const std::string& Name() const { return name_; }
  const std::string& OrderKey() const { return orderKey_; }
  const std::string& DisplayName() const { return displayName_; }
  /// For the device list, once, before it shows the device to anybody.
  void SetDisplayName(std::string displayName) { displayName_ = std::move(displayName); }

 private:
  const std::string name_;
  const std::string uniqueId_;
  const std::string orderKey_;
  std::string displayName_;
};

#endif  // ZORVEX_PLATFORM_LISTEDDEVICE_H
