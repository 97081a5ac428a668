// SPDX-License-Identifier: MIT
#include "platform/sound/alsadevice.h"

#include <fcntl.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <tuple>
#include <utility>

#include "platform/boundedcall.h"
#include "platform/sound/soundmode.h"
#include "platform/sound/soundsource.h"
#include "platform/uniquefd.h"

namespace fs = std::filesystem;

namespace gstreamer {
namespace {

constexpr std::chrono::milliseconds kAskLimit{1000};
constexpr std::chrono::milliseconds kFormatsLimit{3000};
constexpr std::chrono::milliseconds kRecent{300};

/// Cuts a word and the number behind it off a text: "pcmC" and 12 off "pcmC12D0c".
bool CutNumber(std::string_view& text, std::string_view word, int& number) {
  if (!text.starts_with(word)) return false;
  text.remove_prefix(word.size());
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return error == std::errc();
}

/// The value of one line "key: value" of a file of the kernel.
std::string ValueOf(const fs::path& file, std::string_view key) {
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with(key)) return line.substr(key.size());
  }
  return {};
}

/// "USB Microphone" of " 1 [Microphone     ]: USB-Audio - USB Microphone", the card's line among
/// all cards; else the short name that every card has.
std::string NameOfCard(int card) {
  std::ifstream stream("/proc/asound/cards");
  for (std::string line; std::getline(stream, line);) {
    std::string_view rest = line;
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    int number = -1;
    const std::size_t dash = line.find(" - ");
    if (CutNumber(rest, "", number) && number == card && dash != std::string::npos) {
      return line.substr(dash + 3);
    }
  }
  const std::string id = FirstLine("/sys/class/sound/card" + std::to_string(card) + "/id");
  return id.empty() ? "Sound card " + std::to_string(card) : id;
}

void DescribeCard(AlsaPcm& pcm, bool isOnly) {
  const fs::path card = "card" + std::to_string(pcm.card);
  const fs::path classFolder = "/sys/class/sound" / card;
  const std::string number = "#" + std::to_string(pcm.device);
  const fs::path info = "/proc/asound" / card / ("pcm" + std::to_string(pcm.device) + "c") / "info";
  const std::string pcmName = isOnly ? std::string() : ValueOf(info, "name: ");
  pcm.name = NameOfCard(pcm.card) + (pcmName.empty() ? "" : ", " + pcmName);
  std::error_code error;
  const fs::path device = fs::canonical(classFolder / "device", error);
  // A card of no bus, as the kernel's test drivers make them, has its short name at least.
  pcm.busPath = (error ? "card:" + FirstLine(classFolder / "id") : device.string()) + number;
  const std::string model = error ? std::string() : ModelWithSerial(device);
  if (!model.empty()) pcm.model = model + number;
}

}  // namespace

std::vector<AlsaPcm> FindAlsaPcms() {
  std::vector<AlsaPcm> pcms;
  std::error_code error;
  for (fs::directory_iterator entry("/dev/snd", error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    std::string_view rest = name;
    AlsaPcm pcm;
    if (!CutNumber(rest, "pcmC", pcm.card) || !CutNumber(rest, "D", pcm.device) || rest != "c") {
      continue;
    }
    pcm.node = LookUpNode(entry->path().string());
    if (pcm.node.number != 0) pcms.push_back(std::move(pcm));
  }
  for (AlsaPcm& pcm : pcms) {
    const auto ofCard = std::count_if(pcms.begin(), pcms.end(),
                                      [&](const AlsaPcm& other) { return other.card == pcm.card; });
    DescribeCard(pcm, ofCard == 1);
  }
  return pcms;
}

AlsaDevice::AlsaDevice(const AlsaPcm& pcm, std::shared_ptr<SoundServers> servers)
    : SourceDevice(
          pcm.name,
          "sound:alsa:" + (pcm.model.empty() ? std::string() : pcm.model + "@") + pcm.busPath,
          pcm.busPath),
      model_(pcm.model),
      servers_(std::move(servers)),
      pcm_(pcm) {}

bool AlsaDevice::HasMediaType(QTMediaType mediaType) const {
  return mediaType == QTMediaType::QTMediaTypeSound;
}

DeviceNode AlsaDevice::Node() const {
  const std::lock_guard lock(mutex_);
  return pcm_.node;
}

void AlsaDevice::SetPcm(const AlsaPcm& pcm) {
  const std::lock_guard lock(mutex_);
  pcm_ = pcm;
}

bool AlsaDevice::IsPresent() const {
  const DeviceNode node = Node();
  return LookUpNode(node.path) == node;
}

bool AlsaDevice::IsConnected() const {
  return IsPresent() && (IsOpen() || servers_->Look(kRecent).system == SoundSystem::Alsa);
}

bool AlsaDevice::IsInUseByAnotherApplication() const {
  if (IsOpen()) return false;
  const auto isBusy = std::make_shared<std::atomic<bool>>(false);
  RunBounded(kAskLimit, [isBusy, path = Node().path] {
    const UniqueFd file(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    *isBusy = !file && errno == EBUSY;
  });
  return *isBusy;
}

std::vector<Retained<QTFormatDescription>> AlsaDevice::FormatDescriptions() {
  const auto known = [this] {
    const std::lock_guard lock(mutex_);
    return offered_;
  };
  if (!known() && !IsOpen()) {
    RunBounded(kFormatsLimit, [self = Retained<AlsaDevice>(this)] {
      const std::lock_guard lock(self->openingMutex_);
      const GstPointer<GstElement> element = self->OpenPcm();
      if (element) gst_element_set_state(element.get(), GST_STATE_NULL);
    });
  }
  const std::shared_ptr<GstCaps> offered = known();
  if (!offered) return {};
  return DescribeSoundModes(offered.get());
}

GstPointer<GstElement> AlsaDevice::OpenPcm() {
  AlsaPcm pcm;
  {
    const std::lock_guard lock(mutex_);
    pcm = pcm_;
  }
  GstPointer<GstElement> element(gst_element_factory_make("alsasrc", nullptr));
  if (!element) return nullptr;
  gst_object_ref_sink(element.get());
  const std::string name = "hw:" + std::to_string(pcm.card) + "," + std::to_string(pcm.device);
  // With the driver's time stamps the element would wait for a PCM that is busy.
  g_object_set(element.get(), "device", name.c_str(), "provide-clock", FALSE,
               "use-driver-timestamps", FALSE, "latency-time", gint64{kSoundBuffer.count()},
               "buffer-time", gint64{kSoundKept.count()}, nullptr);
  gst_util_set_object_arg(reinterpret_cast<GObject*>(element.get()), "slave-method", "none");
  if (gst_element_set_state(element.get(), GST_STATE_READY) == GST_STATE_CHANGE_FAILURE) {
    gst_element_set_state(element.get(), GST_STATE_NULL);
    return nullptr;
  }
  const GstPointer<GstPad> pad(gst_element_get_static_pad(element.get(), "src"));
  std::shared_ptr<GstCaps> offered(gst_pad_query_caps(pad.get(), nullptr), gst_caps_unref);
  const std::lock_guard lock(mutex_);
  offered_ = std::move(offered);
  return element;
}

bool AlsaDevice::OpenDevice() {
  if (!IsConnected()) return false;
  const std::lock_guard opening(openingMutex_);
  GstPointer<GstElement> element = OpenPcm();
  if (!element) return false;
  const std::lock_guard lock(mutex_);
  claim_ = std::move(element);
  return true;
}

void AlsaDevice::CloseDevice() {
  GstPointer<GstElement> element;
  {
    const std::lock_guard lock(mutex_);
    element = std::move(claim_);
  }
  if (element) gst_element_set_state(element.get(), GST_STATE_NULL);
}

SourceDevice::Source AlsaDevice::MakeSource(const CVPixelBufferAttributes&) {
  const auto take = [&] {
    const std::lock_guard lock(mutex_);
    return std::pair(std::move(claim_), offered_);
  };
  auto [element, offered] = take();
  if (!element) {
    // It was lost to somebody else after the last run; perhaps it is free by now.
    if (!OpenDevice()) return {};
    std::tie(element, offered) = take();
  }
  if (!element) return {};
  GstPointer<GstCaps> mode = offered ? ChooseSoundMode(offered.get()) : nullptr;
  if (!mode) {
    gst_element_set_state(element.get(), GST_STATE_NULL);
    return {};
  }
  return {NewSoundSource(std::move(element)), mode.release()};
}

void AlsaDevice::SourceEnded() {
  // Unless the device was closed or unplugged meanwhile.
  if (IsOpen() && IsPresent()) OpenDevice();
}

}  // namespace gstreamer
