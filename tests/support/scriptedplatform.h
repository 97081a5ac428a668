// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_SCRIPTEDPLATFORM_H
#define ZORVEX_TESTS_SUPPORT_SCRIPTEDPLATFORM_H

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/captureplatform.h"

class ScriptedSession;

/// What the objects of a ScriptedPlatform share: the log of the calls that change something, and
/// what was scripted for them. Thread-safe.
class Script {
 public:
  /// Logs the call and plays what was scripted for it; false tells the call to fail.
  bool Call(const std::string& call) {
    std::unique_lock lock(mutex);
    log_ += (log_.empty() ? "" : " ") + call;
    const auto rule = rules_.extract(call);
    lock.unlock();
    return rule.empty() || rule.mapped()();
  }
  /// The calls since the last time, with blanks between them.
  std::string TakeLog() {
    const std::lock_guard lock(mutex);
    return std::exchange(log_, {});
  }
  /// Plays `action` inside the next such call; its false makes that call fail and an exception
  /// leaves through it.
  void On(const std::string& call, std::function<bool()> action) {
    const std::lock_guard lock(mutex);
    rules_[call] = std::move(action);
  }

  std::mutex mutex;
  Retained<QTCaptureDecompressedVideoOutputDelegate> delegate;  // of the newest video output
  ScriptedSession* running = nullptr;                           // the newest session that runs
  std::atomic<int> liveObjects{0};                              // devices not counted

 private:
  std::string log_;
  std::map<std::string, std::function<bool()>> rules_;
};

template <class Interface>
class Scripted : public Interface {
 public:
  Scripted(Script* script, const char* name) : script_(*script), name_(name) {
    ++script_.liveObjects;
  }

 protected:
  ~Scripted() override {
    script_.Call('~' + name_);
    --script_.liveObjects;
  }
  Script& script_;
  const std::string name_;
};

/// Logs "open" and "close". An empty name makes a device that has none.
struct ScriptedDevice final : QTCaptureDevice {
  ScriptedDevice(Script* script, std::string name, std::set<QTMediaType> mediaTypes)
      : script_(*script), name_(std::move(name)), mediaTypes_(std::move(mediaTypes)) {}
  const char* LocalizedDisplayName() const override {
    return name_.empty() ? nullptr : name_.c_str();
  }
  const char* UniqueID() const override { return LocalizedDisplayName(); }
  bool HasMediaType(QTMediaType type) const override { return mediaTypes_.contains(type); }
  bool IsConnected() const override { return connected; }
  bool IsInUseByAnotherApplication() const override { return false; }
  bool IsOpen() const override { return open_; }
  bool Open() override { return open_ = script_.Call("open"); }
  void Close() override { open_ = !script_.Call("close"); }

  std::atomic<bool> connected{true};

 private:
  Script& script_;
  const std::string name_;
  const std::set<QTMediaType> mediaTypes_;
  std::atomic<bool> open_{false};
};

struct ScriptedInput final : Scripted<QTCaptureDeviceInput> {
  ScriptedInput(Script* script, QTCaptureDevice* of) : Scripted(script, "input"), device(of) {}
  const Retained<QTCaptureDevice> device;
};

struct ScriptedVideoOutput final : Scripted<QTCaptureDecompressedVideoOutput> {
  using Scripted::Scripted;
  void SetDelegate(QTCaptureDecompressedVideoOutputDelegate* delegate) override {
    script_.Call(delegate ? "setDelegate:some" : "setDelegate:none");
    Retained previous(delegate);  // released without the lock: it may be the last reference
    const std::lock_guard lock(script_.mutex);
    std::swap(script_.delegate, previous);
  }
  void SetPixelBufferAttributes(const CVPixelBufferAttributes& attributes) override {
    const auto text = [](auto value) {
      return value ? std::to_string(static_cast<long>(*value)) : "-";
    };
    script_.Call("setAttributes:" + text(attributes.kCVPixelBufferPixelFormatTypeKey) + ',' +
                 text(attributes.kCVPixelBufferWidthKey) + ',' +
                 text(attributes.kCVPixelBufferHeightKey));
  }
};

struct ScriptedMovieOutput final : Scripted<QTCaptureMovieFileOutput> {
  using Scripted::Scripted;
  void RecordToOutputFileURL(const char* path) override {
    script_.Call(std::string("record:") + path);
  }
};

class ScriptedSession final : public Scripted<QTCaptureSession> {
 public:
  explicit ScriptedSession(Script* script) : Scripted(script, "session") {}
  ~ScriptedSession() override { SetRunning(false); }

  bool AddInput(QTCaptureInput* input) override {
    return Add("addInput", input) && dynamic_cast<ScriptedInput&>(*input).device->IsOpen();
  }
  void RemoveInput(QTCaptureInput* input) override { Remove("removeInput", input); }
  bool AddOutput(QTCaptureOutput* output) override {
    return Add("addOutput:" + Kind(output), output);
  }
  void RemoveOutput(QTCaptureOutput* output) override {
    Remove("removeOutput:" + Kind(output), output);
  }
  void StartRunning() override {
    if (script_.Call("startRunning")) SetRunning(true);
  }
  void StopRunning() override {
    script_.Call("stopRunning");
    SetRunning(false);
  }
  bool IsRunning() const override { return running_; }

 private:
  static std::string Kind(QTCaptureOutput* output) {
    return dynamic_cast<ScriptedMovieOutput*>(output) ? "movie" : "video";
  }
  bool Add(const std::string& call, NSObject* member) {
    const bool isGranted = script_.Call(call);
    const std::lock_guard lock(script_.mutex);
    members_.insert(member);
    return isGranted;
  }
  void Remove(const std::string& call, NSObject* member) {
    std::unique_lock lock(script_.mutex);
    const bool wasThere = members_.erase(member) == 1;
    lock.unlock();
    script_.Call(call + (wasThere ? "" : "(not there)"));
  }
  void SetRunning(bool running) {
    const std::lock_guard lock(script_.mutex);
    running_ = running;
    if (running || script_.running == this) script_.running = running ? this : nullptr;
  }

  std::set<NSObject*> members_;
  std::atomic<bool> running_{false};
};

/// Four bytes of "2vuy".
struct ScriptedFrame final : CVPixelBuffer, QTSampleBuffer {
  ScriptedFrame(Script* log, const std::optional<SMPTETime>& time) : script(*log), timeCode(time) {}
  int LockBaseAddress(std::uint64_t) override { return isLocked = script.Call("lock"); }
  int UnlockBaseAddress(std::uint64_t) override { return isLocked = !script.Call("unlock"); }
  const unsigned char* GetBaseAddress() const override { return isLocked ? pixels : nullptr; }
  std::uint32_t GetPixelFormatType() const override { return FourCharCode("2vuy"); }
  std::size_t GetWidth() const override { return 2; }
  std::size_t GetHeight() const override { return 1; }
  std::size_t GetBytesPerRow() const override { return 4; }
  const SMPTETime* SMPTETimeAttribute() const override { return timeCode ? &*timeCode : nullptr; }

  static inline const unsigned char pixels[4] = {};
  Script& script;
  const std::optional<SMPTETime> timeCode;
  bool isLocked = false;
};

/// A platform without media that does what the test says and writes down what it is asked to do.
/// Installed as long as it lives; outlives its objects.
class ScriptedPlatform final : public CapturePlatform, public Script {
 public:
  ScriptedPlatform() { Install(this); }
  ~ScriptedPlatform() override { Install(nullptr); }

  ScriptedDevice* AddDevice(const std::string& name, const std::set<QTMediaType>& mediaTypes = {
                                                         QTMediaType::QTMediaTypeVideo}) {
    const auto device = MakeRetained<ScriptedDevice>(this, name, mediaTypes);
    devices.push_back(device);
    return device.get();
  }
  /// Hands a frame to the delegate on the calling thread, and drops what it throws. False when no
  /// session runs or no delegate is set.
  bool Deliver(const std::optional<SMPTETime>& timeCode = {}) {
    std::unique_lock lock(mutex);
    const auto receiver = running ? delegate : nullptr;
    lock.unlock();
    if (!receiver) return false;
    ScriptedFrame frame(this, timeCode);
    try {
      receiver->CaptureOutput(nullptr, &frame, &frame, nullptr);
    } catch (...) {
      Call("exception");
    }
    return true;
  }

  bool HasClass(const char*) const override { return true; }
  std::vector<Retained<QTCaptureDevice>> InputDevices() override {
    Call("inputDevices");
    return devices;
  }
  Retained<QTCaptureSession> NewSession() override {
    Call("newSession");
    return MakeRetained<ScriptedSession>(this);
  }
  Retained<QTCaptureDeviceInput> NewDeviceInput(QTCaptureDevice* device) override {
    Call("newInput");
    return MakeRetained<ScriptedInput>(this, device);
  }
  Retained<QTCaptureDecompressedVideoOutput> NewDecompressedVideoOutput() override {
    Call("newVideo");
    return MakeRetained<ScriptedVideoOutput>(this, "video");
  }
  Retained<QTCaptureMovieFileOutput> NewMovieFileOutput() override {
    Call("newMovie");
    return MakeRetained<ScriptedMovieOutput>(this, "movie");
  }

  std::vector<Retained<QTCaptureDevice>> devices;
};

#endif  // ZORVEX_TESTS_SUPPORT_SCRIPTEDPLATFORM_H
