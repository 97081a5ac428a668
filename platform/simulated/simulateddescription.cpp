// SPDX-License-Identifier: MIT
#include "platform/simulated/simulateddescription.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <utility>

#include "platform/simulated/simulatedpicture.h"
#include "platform/simulated/utf8.h"

namespace {

using Avc = SimulatedDescription::Avc;
using Kind = SimulatedDescription::Kind;
using Opening = SimulatedDescription::Opening;
using std::string_view;

/// As many as the capture layer has room for.
constexpr std::size_t kDeviceLimit = 64;
constexpr std::size_t kNameLimit = 200;  ///< in bytes; a host's buffer holds 259
constexpr int kSmallestEdge = 16;
constexpr int kLargestEdge = 8192;
constexpr int kLargestRate = 240;
constexpr int kLargestRateTerm = 1'000'000;
constexpr std::uint64_t kFrameLimit = 1'000'000'000;
constexpr double kSecondsLimit = 3600;
constexpr double kTapeLimit = 86'400;  ///< in seconds
constexpr int kSlowestSampling = 8000;
constexpr int kFastestSampling = 192'000;
constexpr int kMostChannels = 8;
constexpr std::uint64_t kMillisecondsLimit = 3'600'000;

SimulatedDescription StandardDevice(Kind kind) {
  SimulatedDescription device;
  device.kind = kind;
  switch (kind) {
    case Kind::Camera:
      device.name = "Simulated Camera";
      device.width = 1280;
      device.height = 720;
      break;
    case Kind::Camcorder:
      device.name = "Simulated Camcorder";
      device.width = 720;
      device.height = 576;
      device.rate = {25, 1};
      device.tapeStart.hours = 1;
      break;
    case Kind::Microphone:
      device.name = "Simulated Microphone";
      break;
  }
  return device;
}

struct KindWord {
  string_view word;
  Kind kind;
};
/// In the order of the standard devices.
constexpr KindWord kKinds[] = {
    {"camera", Kind::Camera}, {"camcorder", Kind::Camcorder}, {"microphone", Kind::Microphone}};

string_view Trimmed(string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

/// The text up to `separator`, which is taken off `rest` together with the separator.
string_view TakeUpTo(char separator, string_view& rest) {
  const std::size_t end = std::min(rest.find(separator), rest.size());
  const string_view head = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return head;
}

/// The whole text as a number from `least` to `most`.
template <class Number>
bool ParseNumber(string_view text, Number least, Number most, Number& number) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end || !(value >= least && value <= most)) {
    return false;
  }
  number = value;
  return true;
}

bool ParseName(SimulatedDescription& device, string_view value) {
  if (value.empty() || value.size() > kNameLimit || !IsPlainUtf8(value)) return false;
  device.name = value;
  return true;
}

bool ParseSize(SimulatedDescription& device, string_view value) {
  const string_view width = TakeUpTo('x', value);
  return ParseNumber(width, kSmallestEdge, kLargestEdge, device.width) &&
         ParseNumber(value, kSmallestEdge, kLargestEdge, device.height) && device.width % 2 == 0 &&
         device.height % 2 == 0;
}

bool ParseRate(SimulatedDescription& device, string_view value) {
  if (device.kind == Kind::Microphone) {
    return ParseNumber(value, kSlowestSampling, kFastestSampling, device.sampleRate);
  }
  FrameRate rate{0, 1};
  const bool isFraction = value.find('/') != string_view::npos;
  const string_view numerator = TakeUpTo('/', value);
  if (!ParseNumber(numerator, 1, kLargestRateTerm, rate.numerator)) return false;
  if (isFraction && !ParseNumber(value, 1, kLargestRateTerm, rate.denominator)) return false;
  if (rate.numerator < rate.denominator ||
      rate.numerator > std::int64_t{kLargestRate} * rate.denominator) {
    return false;
  }
  const int divisor = std::gcd(rate.numerator, rate.denominator);
  device.rate = {rate.numerator / divisor, rate.denominator / divisor};
  return true;
}

bool ParseFormat(SimulatedDescription& device, string_view value) {
  if (value.size() != 4) return false;
  const char code[5] = {value[0], value[1], value[2], value[3], '\0'};
  device.pixelFormat = FourCharCode(code);
  return SimulatedPicture::HasFormat(device.pixelFormat);
}

bool ParseStart(SimulatedDescription& device, string_view value) {
  int TapeTime::*const fields[] = {&TapeTime::hours, &TapeTime::minutes, &TapeTime::seconds,
                                   &TapeTime::frames};
  if (value.size() != 11) return false;
  for (int TapeTime::*field : fields) {
    const string_view digits = TakeUpTo(':', value);
    // Whether the time exists depends on options that may follow; it is looked at in the end.
    if (digits.size() != 2 || !ParseNumber(digits, 0, 99, device.tapeStart.*field)) return false;
  }
  return value.empty();
}

bool ParseChannels(SimulatedDescription& device, string_view value) {
  return ParseNumber(value, 1, kMostChannels, device.channels);
}

bool ParseFormatChange(SimulatedDescription& device, string_view value) {
  std::uint64_t milliseconds = 0;
  if (!ParseNumber(value, std::uint64_t{0}, kMillisecondsLimit, milliseconds)) return false;
  device.changeFormatAfter = std::chrono::milliseconds(milliseconds);
  return true;
}

/// The tape is loaded when the whole entry has been read.
bool ParseTape(SimulatedDescription& device, string_view value) {
  device.tapeFile = value;
  device.tape = nullptr;
  return !value.empty() && value.find('\0') == string_view::npos;
}

template <class Value>
struct Word {
  string_view word;
  Value value;
};

constexpr Word<Opening> kOpenings[] = {
    {"works", Opening::Works}, {"refuse", Opening::Refused}, {"hang", Opening::Hangs}};
constexpr Word<Avc> kAvcs[] = {{"works", Avc::Works},   {"reject", Avc::Reject},
                               {"silent", Avc::Silent}, {"garbage", Avc::Garbage},
                               {"short", Avc::Short},   {"late", Avc::Late}};
constexpr Word<bool> kFlags[] = {{"yes", true}, {"no", false}};
constexpr Word<bool> kTransports[] = {{"stop", false}, {"play", true}};

/// One of the words of a table.
template <auto kField, const auto& kWords>
bool ParseWord(SimulatedDescription& device, string_view value) {
  for (const auto& [word, meaning] : kWords) {
    if (value != word) continue;
    device.*kField = meaning;
    return true;
  }
  return false;
}

template <std::optional<std::uint64_t> SimulatedDescription::*kField>
bool ParseFrames(SimulatedDescription& device, string_view value) {
  std::uint64_t frames = 0;
  if (!ParseNumber(value, std::uint64_t{0}, kFrameLimit, frames)) return false;
  device.*kField = frames;
  return true;
}

template <auto kField, const double& kLimit = kSecondsLimit>
bool ParseSeconds(SimulatedDescription& device, string_view value) {
  double seconds = 0;
  if (!ParseNumber(value, 0.0, kLimit, seconds)) return false;
  device.*kField =
      std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
  return true;
}

constexpr unsigned kCamera = 1, kCamcorder = 2, kMicrophone = 4;
constexpr unsigned kPictures = kCamera | kCamcorder, kAll = kPictures | kMicrophone;

unsigned Bit(Kind kind) {
  return kind == Kind::Camera ? kCamera : kind == Kind::Camcorder ? kCamcorder : kMicrophone;
}

using Device = SimulatedDescription;

struct Option {
  string_view key;
  unsigned kinds;
  bool (*parse)(Device& device, string_view value);
};

constexpr Option kOptions[] = {
    {"name", kAll, ParseName},
    {"size", kPictures, ParseSize},
    {"rate", kAll, ParseRate},
    {"format", kPictures, ParseFormat},
    {"start", kCamcorder, ParseStart},
    {"drop-frame", kCamcorder, ParseWord<&Device::dropFrame, kFlags>},
    {"length", kCamcorder, ParseSeconds<&Device::tapeLength, kTapeLimit>},
    {"tape", kCamcorder, ParseTape},
    {"transport", kCamcorder, ParseWord<&Device::playsWhenOpened, kTransports>},
    {"spin-up", kCamcorder, ParseSeconds<&Device::spinUp>},
    {"avc", kCamcorder, ParseWord<&Device::avc, kAvcs>},
    {"channels", kMicrophone, ParseChannels},
    {"change-format-after", kMicrophone, ParseFormatChange},
    {"busy", kAll, ParseWord<&Device::busy, kFlags>},
    {"open", kAll, ParseWord<&Device::opening, kOpenings>},
    {"unplug-after", kAll, ParseFrames<&Device::unplugAfter>},
    {"stall-after", kAll, ParseFrames<&Device::stallAfter>},
    {"hang-after", kAll, ParseFrames<&Device::hangAfter>},
    {"replug-after", kAll, ParseSeconds<&Device::replugAfter>},
    {"hang-for", kAll, ParseSeconds<&Device::hangFor>},
};

/// An empty part is allowed, as one that a comma at the end leaves.
bool ParseOption(SimulatedDescription& device, string_view part) {
  if (Trimmed(part).empty()) return true;
  const string_view key = Trimmed(TakeUpTo('=', part));
  const auto* option = std::ranges::find(kOptions, key, &Option::key);
  if (option == std::end(kOptions) || (option->kinds & Bit(device.kind)) == 0) return false;
  return option->parse(device, Trimmed(part));
}

/// Makes the device one for its tape, whatever its options say about pictures and times.
bool LoadTape(SimulatedDescription& device, const TapeLoader& loadTape) {
  if (!device.tape) device.tape = loadTape(device.tapeFile);
  if (!device.tape) return false;
  device.width = 720;
  device.height = device.tape->Height();
  device.rate = device.tape->Rate();
  device.dropFrame = false;
  device.tapeStart = {};
  return true;
}

bool ParseOptions(SimulatedDescription& device, string_view options, const TapeLoader& loadTape) {
  while (!options.empty()) {
    if (!ParseOption(device, TakeUpTo(',', options))) return false;
  }
  if (device.kind != Kind::Camcorder) return true;
  if (!device.tapeFile.empty()) return LoadTape(device, loadTape);
  return TapeCounter::Supports(device.rate, device.dropFrame) &&
         TapeCounter(device.rate, device.dropFrame).FrameAt(device.tapeStart).has_value();
}

/// The name that the options give; empty when they give none.
string_view NameIn(string_view options) {
  string_view name;
  while (!options.empty()) {
    string_view part = TakeUpTo(',', options);
    if (Trimmed(TakeUpTo('=', part)) == "name") name = Trimmed(part);
  }
  return name;
}

/// Takes one entry into the list, where the standard devices stand in front; false when the entry
/// is broken.
bool TakeEntry(string_view entry, std::vector<SimulatedDescription>& devices,
               const TapeLoader& loadTape) {
  const auto* kind = std::ranges::find(kKinds, Trimmed(TakeUpTo(':', entry)), &KindWord::word);
  if (kind == std::end(kKinds)) return false;
  SimulatedDescription& standard = devices[static_cast<std::size_t>(kind - kKinds)];
  const string_view name = NameIn(entry);
  const bool isStandard = name.empty() || name == standard.name;
  if (!isStandard && devices.size() == kDeviceLimit) return false;

  SimulatedDescription device = isStandard ? standard : StandardDevice(standard.kind);
  if (!ParseOptions(device, entry, loadTape)) return false;
  if (isStandard) {
    standard = std::move(device);
  } else {
    devices.push_back(std::move(device));
  }
  return true;
}

}  // namespace

std::uint64_t TapeFrames(const SimulatedDescription& camcorder) {
  if (camcorder.tape) return camcorder.tape->Frames();
  const auto length = std::chrono::nanoseconds(camcorder.tapeLength);
  const std::uint64_t frames =
      FramesInTime(camcorder.rate, static_cast<std::uint64_t>(length.count()));
  return std::max<std::uint64_t>(frames, 1);
}

SimulatedDescriptions ParseSimulated(string_view text, const TapeLoader& loadTape) {
  SimulatedDescriptions result;
  for (const auto& [word, kind] : kKinds)
    result.devices.push_back(StandardDevice(kind));
  while (!text.empty()) {
    const string_view entry = Trimmed(TakeUpTo(';', text));
    if (entry.empty() || TakeEntry(entry, result.devices, loadTape)) continue;
    result.broken.emplace_back(entry);
  }
  return result;
}
