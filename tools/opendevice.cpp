// SPDX-License-Identifier: MIT
#include "tools/opendevice.h"

#include "tools/report.h"

OpenDevice::OpenDevice(const std::string& name, const std::string& soundDevice)
    : device_(name, ZRVXDeviceMediaTypeAny) {
  if (!soundDevice.empty()) {
    soundDevice_.emplace(soundDevice, ZRVXDeviceMediaTypeAudio);
    soundDevice_->CheckFree();
  }
  if (!ZRVXDeviceOpen(device_.Handle())) device_.FailOpening();
}

OpenDevice::~OpenDevice() {
  Stop();
  ZRVXDeviceCloseAudioDevice(device_.Handle());
  ZRVXDeviceClose(device_.Handle());
}

void OpenDevice::Start(const CaptureOptions& options, CaptureSink& sink) {
  sink.Start();
  const bool prepared = StartDelivery(options, sink);
  sink_ = &sink;
  if (!prepared && !options.movie.empty()) {
    throw Failure(ExitCode::CannotWrite,
                  "cannot write the movie " + Quoted(options.movie) +
                      ". The endings of movies are .mov, .mp4, .mkv and .avi.");
  }
  if (!prepared || !ZRVXDeviceIsCapturing(device_.Handle())) FailStarting(options);
  // The library would go on without it.
  if (soundDevice_ && !ZRVXDeviceIsOpened(soundDevice_->Handle())) soundDevice_->FailOpening();
}

bool OpenDevice::StartDelivery(const CaptureOptions& options, CaptureSink& sink) {
  const auto onFrame = sink.Wishes().pictures ? &CaptureSink::OnFrame : nullptr;
  const auto onSound = sink.Wishes().sound ? &CaptureSink::OnSound : nullptr;
  const auto [flags, rate, channels, bytes] = options.audio;
  const char* const movie = options.movie.empty() ? nullptr : options.movie.c_str();
  const long data = sink.CallBackData();
  if (soundDevice_) {
    return ZRVXDeviceStartCaptureWithAudioDevice(
        device_.Handle(), soundDevice_->Name().c_str(), onFrame, data, options.pixelFormat,
        options.width, options.height, onSound, data, flags, rate, channels, bytes, movie);
  }
  return ZRVXDeviceStartCapture(device_.Handle(), onFrame, data, options.pixelFormat, options.width,
                                options.height, onSound, data, flags, rate, channels, bytes, movie);
}

void OpenDevice::Stop() {
  if (!sink_) return;
  // Cut off first: a stop does not wait for ever for a callback, and the sink must not be used when
  // this returns.
  const long data = sink_->CallBackData();
  ZRVXDeviceInvalidateCaptureVideoCallBack(device_.Handle(), &CaptureSink::OnFrame, data);
  ZRVXDeviceInvalidateCaptureAudioCallBack(device_.Handle(), &CaptureSink::OnSound, data);
  ZRVXDeviceStopCapture(device_.Handle());
  sink_ = nullptr;
}

void OpenDevice::FailStarting(const CaptureOptions& options) const {
  // Some devices can be opened by many, and only the start tells that another one has them.
  device_.CheckFree();
  std::string wish;
  if (options.width != 0) {
    wish += " in " + std::to_string(options.width) + "x" + std::to_string(options.height);
  }
  if (options.pixelFormat != 0) wish += " as " + PixelFormatText(options.pixelFormat);
  throw Failure(ExitCode::CannotOpen,
                Quoted(device_.Name()) + " does not begin to deliver" + wish + ".");
}
