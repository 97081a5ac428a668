// SPDX-License-Identifier: MIT
#include "tools/devicereference.h"

#include <vector>

#include "tools/devices.h"
#include "tools/exitcode.h"

namespace {

std::string Joined(const std::vector<std::string>& names, const char* last) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? last : ", ";
    text += Quoted(names[i]);
  }
  return text;
}

[[noreturn]] void FailFinding(const std::string& name, ZRVXDeviceMediaType mediaType) {
  std::vector<std::string> names;
  for (const auto& device : ListDevices(mediaType, false)) {
    names.push_back(device.name);
  }
  const std::string kind = mediaType == ZRVXDeviceMediaTypeAudio ? "sound device " : "device ";
  std::string message = "there is no " + kind + Quoted(name) + ". ";
  const auto closest = ClosestNames(name, names);
  if (names.empty()) {
    message += std::string("There is none at all. ") + noDeviceHint;
  } else if (closest.empty()) {
    message += (names.size() == 1 ? "There is " : "There are ") + Joined(names, " and ") + ".";
  } else {
    message += "Did you mean " + Joined(closest, " or ") + "?";
  }
  throw Failure(ExitCode::NoSuchDevice, message);
}

unsigned long Find(const std::string& name, ZRVXDeviceMediaType mediaType) {
  const unsigned long handle = ZRVXDeviceGet(name.c_str(), mediaType);
  if (handle == 0) FailFinding(name, mediaType);
  return handle;
}

}  // namespace

std::string Quoted(const std::string& name) {
  return "\"" + name + "\"";
}

DeviceReference::DeviceReference(const std::string& name, ZRVXDeviceMediaType mediaType)
    : name_(name), handle_(Find(name, mediaType)) {}

DeviceReference::~DeviceReference() {
  ZRVXDeviceRelease(handle_);
}

bool DeviceReference::Has(ZRVXDeviceMediaType mediaType) const {
  return ZRVXDeviceHasMediaType(handle_, mediaType);
}

bool DeviceReference::IsConnected() const {
  return ZRVXDeviceIsConnected(handle_);
}

void DeviceReference::CheckFree() const {
  if (ZRVXDeviceIsUsedByAnotherApplication(handle_)) {
    throw Failure(ExitCode::Busy, Quoted(name_) + " is used by another application.");
  }
  if (!IsConnected()) throw Failure(ExitCode::CannotOpen, Quoted(name_) + " is unplugged.");
}

void DeviceReference::FailOpening() const {
  CheckFree();
  throw Failure(ExitCode::CannotOpen, Quoted(name_) +
                                          " cannot be opened. It may not answer, or this user may "
                                          "not be permitted to use it.");
}
