// SPDX-License-Identifier: MIT
#include "tools/opendevice.h"

#include <vector>

#include "tools/devices.h"
#include "tools/report.h"

namespace {

std::string Quoted(const std::string& name) {
  return "\"" + name + "\"";
}

std::string Joined(const std::vector<std::string>& names, const char* last) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? last : ", ";
    text += Quoted(names[i]);
  }
  return text;
}

[[noreturn]] void FailFinding(const std::string& name) {
  std::vector<std::string> names;
  for (const auto& device : ListDevices(ZRVXDeviceMediaTypeVideo, false)) {
    names.push_back(device.name);
  }
  std::string message = "there is no video device " + Quoted(name) + ". ";
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

unsigned long Find(const std::string& name) {
  const unsigned long handle = ZRVXDeviceGet(name.c_str(), ZRVXDeviceMediaTypeVideo);
  if (handle == 0) FailFinding(name);
  return handle;
}

}  // namespace

OpenDevice::Reference::~Reference() {
  ZRVXDeviceRelease(handle);
}

OpenDevice::OpenDevice(const std::string& name) : name_(name), device_(Find(name)) {
  if (!ZRVXDeviceOpen(device_.handle)) FailOpening();
}

OpenDevice::~OpenDevice() {
  Stop();
  ZRVXDeviceClose(device_.handle);
}

void OpenDevice::Start(const CaptureOptions& options, FrameSink& sink) {
  sink.Start();
  const bool prepared =
      ZRVXDeviceStartCapture(device_.handle, &FrameSink::OnFrame, sink.CallBackData(),
                             options.pixelFormat, options.width, options.height, nullptr, 0, 0, 0,
                             0, 0, options.movie.empty() ? nullptr : options.movie.c_str());
  if (!prepared && !options.movie.empty()) {
    throw Failure(ExitCode::CannotWrite,
                  "cannot write the movie " + Quoted(options.movie) +
                      ". The endings of movies are .mov, .mp4, .mkv and .avi.");
  }
  if (!prepared || !ZRVXDeviceIsCapturing(device_.handle)) FailStarting(options);
  sink_ = &sink;
}

void OpenDevice::Stop() {
  if (!sink_) return;
  // Cut off first: a stop does not wait for ever for a callback, and the sink must not be used when
  // this returns.
  ZRVXDeviceInvalidateCaptureVideoCallBack(device_.handle, &FrameSink::OnFrame,
                                           sink_->CallBackData());
  ZRVXDeviceStopCapture(device_.handle);
  sink_ = nullptr;
}

bool OpenDevice::IsConnected() const {
  return ZRVXDeviceIsConnected(device_.handle);
}

void OpenDevice::FailOpening() const {
  if (ZRVXDeviceIsUsedByAnotherApplication(device_.handle)) {
    throw Failure(ExitCode::Busy, Quoted(name_) + " is used by another application.");
  }
  if (!IsConnected()) throw Failure(ExitCode::CannotOpen, Quoted(name_) + " is unplugged.");
  throw Failure(ExitCode::CannotOpen, Quoted(name_) +
                                          " cannot be opened. It may not answer, or this user may "
                                          "not be permitted to use it.");
}

void OpenDevice::FailStarting(const CaptureOptions& options) const {
  // Some devices can be opened by many, and only the start tells that another one has them.
  if (ZRVXDeviceIsUsedByAnotherApplication(device_.handle) || !IsConnected()) FailOpening();
  std::string wish;
  if (options.width != 0) {
    wish += " in " + std::to_string(options.width) + "x" + std::to_string(options.height);
  }
  if (options.pixelFormat != 0) wish += " as " + PixelFormatText(options.pixelFormat);
  throw Failure(ExitCode::CannotOpen, Quoted(name_) + " does not begin to deliver" + wish + ".");
}
