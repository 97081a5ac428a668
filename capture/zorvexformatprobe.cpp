// SPDX-License-Identifier: MIT
#include "capture/zorvexformatprobe.h"

#include <sys/time.h>

#include <chrono>

#include "platform/eventqueue.h"

namespace {

constexpr unsigned int kWaitLimit = 5000;  // milliseconds, of the whole wait
constexpr unsigned int kWaitStep = 100;    // of one wait between two looks at the events

timeval Now() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return now;
}

/// Milliseconds since then. 32 bits without a sign on purpose: a clock that is set back ends the
/// wait instead of prolonging it.
std::uint32_t Elapsed(const timeval& start) {
  const timeval now = Now();
  return static_cast<std::uint32_t>(now.tv_sec - start.tv_sec) * 1000U +
         static_cast<std::uint32_t>(now.tv_usec / 1000 - start.tv_usec / 1000);
}

/// Handles the events that wait, and no more than one of those that come meanwhile, so that a
/// stream of events cannot hold up the caller.
void ServeEvents() {
  const std::size_t limit = GetNumEventsInQueue(GetMainEventQueue()) + 1;
  for (std::size_t i = 0; i < limit; ++i) {
    EventRef event = nullptr;
    if (ReceiveNextEvent(0, &event) != noErr) return;
    SendEventToEventTarget(event, GetEventDispatcherTarget());
    ReleaseEvent(event);
  }
}

/// The objects of one probe. Its end cleans up, in this order.
struct Probe {
  explicit Probe(QTCaptureDevice& probed) : device(probed), wasOpen(probed.IsOpen()) {}
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;
  ~Probe() {
    if (session && session->IsRunning()) session->StopRunning();
    if (!wasOpen && device.IsOpen()) device.Close();
    if (output) output->SetDelegate(nullptr);
    if (delegate) delegate->Detach();
    output = nullptr;
    delegate = nullptr;
    input = nullptr;
    session = nullptr;
  }

  QTCaptureDevice& device;
  const bool wasOpen;
  Retained<QTCaptureSession> session;
  Retained<QTCaptureDeviceInput> input;
  Retained<ZRVXDEviceGetDefaultVideoFormatDelegate> delegate;
  Retained<QTCaptureDecompressedVideoOutput> output;
};

}  // namespace

void ZRVXDEviceGetDefaultVideoFormatDelegate::CaptureOutput(QTCaptureOutput*,
                                                            CVPixelBuffer* videoFrame,
                                                            QTSampleBuffer*, QTCaptureConnection*) {
  videoFrame->LockBaseAddress(0);
  const ZRVXDeviceFormat format(videoFrame->GetPixelFormatType(), videoFrame->GetWidth(),
                                videoFrame->GetHeight(), videoFrame->GetBytesPerRow());
  {
    const LLockObjectGuard guard(FormatMutex);
    if (pFormatHolder) *pFormatHolder = format;
  }
  videoFrame->UnlockBaseAddress(0);
  Condition.Signal();
}

void ZRVXDEviceGetDefaultVideoFormatDelegate::Detach() {
  const LLockObjectGuard guard(FormatMutex);
  pFormatHolder = nullptr;
}

bool ZRVXDEviceGetDefaultVideoFormatDelegate::Wait() {
  if (ZRVXIsMainThread()) return WaitServingEvents();
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + std::chrono::milliseconds(kWaitLimit);
  long long left = kWaitLimit;
  // A signal handler that runs on this thread ends a wait early; an event without a pipe at once.
  while (left > 0 && !Condition.WaitSignal(static_cast<unsigned int>(left)) &&
         Condition.ReadDescriptor() >= 0) {
    left = std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now()).count();
  }
  return false;
}

bool ZRVXDEviceGetDefaultVideoFormatDelegate::WaitServingEvents() {
  const timeval start = Now();
  // An event without a pipe would end each wait at once.
  while (Elapsed(start) < kWaitLimit && Condition.ReadDescriptor() >= 0) {
    ServeEvents();
    if (Condition.WaitSignal(kWaitStep)) return true;
  }
  return false;
}

void ProbeVideoFormat(QTCaptureDevice& device, ZRVXDeviceFormat& format) {
  CapturePlatform& platform = CapturePlatform::Current();
  Probe probe(device);
  probe.session = platform.NewSession();
  if (!probe.wasOpen && !device.Open()) return;
  probe.input = platform.NewDeviceInput(&device);
  if (!probe.session->AddInput(probe.input.get())) return;
  probe.delegate = MakeRetained<ZRVXDEviceGetDefaultVideoFormatDelegate>(&format);
  probe.output = platform.NewDecompressedVideoOutput();
  probe.output->SetDelegate(probe.delegate.get());
  if (!probe.session->AddOutput(probe.output.get())) return;
  probe.session->StartRunning();
  probe.delegate->Wait();
}
