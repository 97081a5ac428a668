// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_DEVICEREFERENCE_H
#define ZORVEX_TOOLS_DEVICEREFERENCE_H

#include <zorvex/zorvex.h>

#include <string>

/// The name as messages show it.
std::string Quoted(const std::string& name);

/// One reference to a device.
class DeviceReference {
 public:
  /// Finds a device of the kind. Throws Failure, whose message says which names are near.
  DeviceReference(const std::string& name, ZRVXDeviceMediaType mediaType);
  ~DeviceReference();
  DeviceReference(const DeviceReference&) = delete;
  DeviceReference& operator=(const DeviceReference&) = delete;

  const std::string& Name() const { return name_; }
  unsigned long Handle() const { return handle_; }
  bool Has(ZRVXDeviceMediaType mediaType) const;
  bool IsConnected() const;

  /// Throws Failure when another application has the device or it is unplugged.
  void CheckFree() const;
  /// Tells why the device could not be opened.
  [[noreturn]] void FailOpening() const;

 private:
  const std::string name_;
  const unsigned long handle_;
};

#endif  // ZORVEX_TOOLS_DEVICEREFERENCE_H
