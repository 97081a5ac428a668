// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_SCRIPTEDPLATFORM_H
#define ZORVEX_TESTS_SUPPORT_SCRIPTEDPLATFORM_H

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/audioconverter/linearpcmconverter.h"
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
  Retained<QTCaptureDecompressedVideoOutputDelegate> delegate;       // of the newest video output
  Retained<QTCaptureDecompressedAudioOutputDelegate> soundDelegate;  // of the newest audio output
  ScriptedSession* running = nullptr;                                // the newest session that runs
  std::atomic<int> liveObjects{0};                                   // devices not counted

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

/// Logs "open", "close", "uniqueID" and "formats"; a device of sound alone "open:sound" and so on.
/// An empty name makes a device that has none.
struct ScriptedDevice final : QTCaptureDevice {
  ScriptedDevice(Script* script, std::string name, std::set<QTMediaType> mediaTypes)
      : script_(*script), name_(std::move(name)), mediaTypes_(std::move(mediaTypes)) {}
  const char* LocalizedDisplayName() const override {
    return name_.empty() ? nullptr : name_.c_str();
  }
  const char* UniqueID() const override {
    script_.Call("uniqueID" + Kind());
    return LocalizedDisplayName();
  }
  bool HasMediaType(QTMediaType type) const override { return mediaTypes_.contains(type); }
  bool IsConnected() const override { return connected; }
  bool IsInUseByAnotherApplication() const override { return false; }
  bool IsOpen() const override { return open_; }
  bool Open() override { return open_ = script_.Call("open" + Kind()); }
  void Close() override { open_ = !script_.Call("close" + Kind()); }
  std::vector<Retained<QTFormatDescription>> FormatDescriptions() override {
    script_.Call("formats");
    return formats;
  }
  QTCaptureDeviceAttributes DeviceAttributes() const override { return {hasTransport}; }
  std::optional<QTCaptureDeviceAVCTransportControls> AVCTransportControlsAttribute() override {
    return transport;
  }
  void SetAVCTransportControlsAttribute(const QTCaptureDeviceAVCTransportControls& set) override {
    transport = set;
  }
  std::string Kind() const {
    return mediaTypes_ == std::set{QTMediaType::QTMediaTypeSound} ? ":sound" : "";
  }

  std::atomic<bool> connected{true};
  std::vector<Retained<QTFormatDescription>> formats, streams;  // streams: of its inputs
  bool hasTransport = false;
  std::optional<QTCaptureDeviceAVCTransportControls> transport;

 private:
  Script& script_;
  const std::string name_;
  const std::set<QTMediaType> mediaTypes_;
  std::atomic<bool> open_{false};
};

struct ScriptedInput final : Scripted<QTCaptureDeviceInput> {
  ScriptedInput(Script* script, ScriptedDevice* of)
      : Scripted(script, ("input" + of->Kind()).c_str()), device(of) {}
  std::vector<Retained<QTCaptureConnection>> Connections() override {
    std::vector<Retained<QTCaptureConnection>> connections;
    for (const auto& stream : device->streams)
      connections.push_back(MakeRetained<QTCaptureConnection>(stream));
    return connections;
  }
  const Retained<ScriptedDevice> device;
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

struct ScriptedAudioOutput final : Scripted<QTCaptureDecompressedAudioOutput> {
  using Scripted::Scripted;
  void SetDelegate(QTCaptureDecompressedAudioOutputDelegate* delegate) override {
    script_.Call(delegate ? "setSound:some" : "setSound:none");
    Retained previous(delegate);
    const std::lock_guard lock(script_.mutex);
    std::swap(script_.soundDelegate, previous);
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
    const auto& device = dynamic_cast<ScriptedInput&>(*input).device;
    return Add("addInput" + device->Kind(), input) && device->IsOpen();
  }
  void RemoveInput(QTCaptureInput* input) override {
    Remove("removeInput" + dynamic_cast<ScriptedInput&>(*input).device->Kind(), input);
  }
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
    if (script_.Call("stopRunning")) SetRunning(false);
  }
  bool IsRunning() const override { return running_; }

 private:
  static std::string Kind(QTCaptureOutput* output) {
    if (dynamic_cast<ScriptedAudioOutput*>(output)) return "audio";
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

/// One piece of sound; without a format, or without buffers, where that is null.
struct ScriptedSound final : QTSampleBuffer {
  ScriptedSound(Retained<QTFormatDescription> of, AudioBufferList* samples)
      : format(std::move(of)), list(samples) {}
  QTFormatDescription* FormatDescription() const override { return format.get(); }
  AudioBufferList* AudioBufferListWithOptions(unsigned long options) override {
    return options == QTSampleBufferAudioBufferListOptionAssure16ByteAlignment ? list : nullptr;
  }
  const Retained<QTFormatDescription> format;
  AudioBufferList* const list;
};

/// The system's own converter, with an appetite for small pieces; logs "fill" and "reset".
struct ScriptedConverter final : OpaqueAudioConverter {
  ScriptedConverter(Script* log, AudioConverterRef of) : script(*log), real(of) {}
  ~ScriptedConverter() override { script.Call("~converter"); }
  OSStatus FillComplexBuffer(AudioConverterComplexInputDataProc proc, void* data,
                             std::uint32_t* packets, AudioBufferList* output,
                             AudioStreamPacketDescription* description) override {
    if (!script.Call("fill")) return -1;
    std::pair input(proc, data);
    return real->FillComplexBuffer(PullSome, &input, packets, output, description);
  }
  static OSStatus PullSome(AudioConverterRef converter, std::uint32_t* packets,
                           AudioBufferList* list, AudioStreamPacketDescription** description,
                           void* data) {
    const auto& [proc, itsData] =
        *static_cast<std::pair<AudioConverterComplexInputDataProc, void*>*>(data);
    *packets = std::min(*packets, 300u);
    return proc(converter, packets, list, description, itsData);
  }
  OSStatus Reset() override { return script.Call("reset") ? real->Reset() : -1; }

  Script& script;
  const std::unique_ptr<OpaqueAudioConverter> real;
};

/// Four bytes of "2vuy", unless it is to claim something else.
struct ScriptedFrame final : CVPixelBuffer, QTSampleBuffer {
  ScriptedFrame(Script* log, const std::optional<SMPTETime>& time) : script(*log), timeCode(time) {}
  int LockBaseAddress(std::uint64_t) override { return isLocked = script.Call("lock"); }
  int UnlockBaseAddress(std::uint64_t) override { return isLocked = !script.Call("unlock"); }
  const unsigned char* GetBaseAddress() const override { return isLocked ? pixels : nullptr; }
  std::uint32_t GetPixelFormatType() const override { return FourCharCode("2vuy"); }
  std::size_t GetWidth() const override { return width; }
  std::size_t GetHeight() const override { return height; }
  std::size_t GetBytesPerRow() const override { return 4; }
  const SMPTETime* SMPTETimeAttribute() const override { return timeCode ? &*timeCode : nullptr; }

  static inline const unsigned char pixels[4] = {};
  static inline std::atomic<std::size_t> width{2}, height{1};
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
    DropExceptions([&] { receiver->CaptureOutput(nullptr, &frame, &frame, nullptr); });
    return true;
  }
  /// The same with sound.
  bool Deliver(ScriptedSound sound) {
    std::unique_lock lock(mutex);
    const auto receiver = running ? soundDelegate : nullptr;
    lock.unlock();
    if (!receiver) return false;
    DropExceptions([&] { receiver->CaptureOutput(nullptr, &sound, nullptr); });
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
    return MakeRetained<ScriptedInput>(this, dynamic_cast<ScriptedDevice*>(device));
  }
  Retained<QTCaptureDecompressedVideoOutput> NewDecompressedVideoOutput() override {
    Call("newVideo");
    return MakeRetained<ScriptedVideoOutput>(this, "video");
  }
  Retained<QTCaptureDecompressedAudioOutput> NewDecompressedAudioOutput() override {
    Call("newAudio");
    return MakeRetained<ScriptedAudioOutput>(this, "audio");
  }
  OSStatus NewAudioConverter(const AudioStreamBasicDescription& source,
                             const AudioStreamBasicDescription& destination,
                             AudioConverterRef* converter) override {
    if (!Call("newConverter")) return -1;
    AudioConverterRef real = nullptr;
    const OSStatus status = NewLinearPcmConverter(source, destination, &real);
    if (status == noErr) *converter = new ScriptedConverter(this, real);
    return status;
  }
  Retained<QTCaptureMovieFileOutput> NewMovieFileOutput() override {
    Call("newMovie");
    return MakeRetained<ScriptedMovieOutput>(this, "movie");
  }

  std::vector<Retained<QTCaptureDevice>> devices;

 private:
  template <class Body>
  void DropExceptions(Body body) {
    try {
      body();
    } catch (...) {
      Call("exception");
    }
  }
};

#endif  // ZORVEX_TESTS_SUPPORT_SCRIPTEDPLATFORM_H
