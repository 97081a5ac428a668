// SPDX-License-Identifier: MIT
#include "platform/simulated/simulateddescription.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <utility>

#include "platform/simulated/simulatedpicture.h"
#include "platform/simulated/utf8.h"

namespace {

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

SimulatedDescription StandardDevice(Kind kind) {
  SimulatedDescription device;
  device.kind = kind;
  if (kind == Kind::Camera) {
    device.name = "Simulated Camera";
    device.width = 1280;
    device.height = 720;
  } else {
    device.name = "Simulated Camcorder";
    device.width = 720;
    device.height = 576;
    device.rate = {25, 1};
    device.tapeStart.hours = 1;
  }
  return device;
}

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

bool ParseOpening(SimulatedDescription& device, string_view value) {
  constexpr std::pair<string_view, Opening> kOpenings[] = {
      {"works", Opening::Works}, {"refuse", Opening::Refused}, {"hang", Opening::Hangs}};
  for (const auto& [word, opening] : kOpenings) {
    if (value != word) continue;
    device.opening = opening;
    return true;
  }
  return false;
}

template <bool SimulatedDescription::*kField>
bool ParseFlag(SimulatedDescription& device, string_view value) {
  device.*kField = value == "yes";
  return value == "yes" || value == "no";
}

template <std::optional<std::uint64_t> SimulatedDescription::*kField>
bool ParseFrames(SimulatedDescription& device, string_view value) {
  std::uint64_t frames = 0;
  if (!ParseNumber(value, std::uint64_t{0}, kFrameLimit, frames)) return false;
  device.*kField = frames;
  return true;
}

template <auto kField>
bool ParseSeconds(SimulatedDescription& device, string_view value) {
  double seconds = 0;
  if (!ParseNumber(value, 0.0, kSecondsLimit, seconds)) return false;
  device.*kField =
      std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
  return true;
}

struct Option {
  string_view key;
  bool (*parse)(SimulatedDescription& device, string_view value);
  bool ofTapesOnly = false;
};

constexpr Option kOptions[] = {
    {"name", ParseName},
    {"size", ParseSize},
    {"rate", ParseRate},
    {"format", ParseFormat},
    {"start", ParseStart, true},
    {"drop-frame", ParseFlag<&SimulatedDescription::dropFrame>, true},
    {"busy", ParseFlag<&SimulatedDescription::busy>},
    {"open", ParseOpening},
    {"unplug-after", ParseFrames<&SimulatedDescription::unplugAfter>},
    {"stall-after", ParseFrames<&SimulatedDescription::stallAfter>},
    {"hang-after", ParseFrames<&SimulatedDescription::hangAfter>},
    {"replug-after", ParseSeconds<&SimulatedDescription::replugAfter>},
    {"hang-for", ParseSeconds<&SimulatedDescription::hangFor>},
};

/// An empty part is allowed, as one that a comma at the end leaves.
bool ParseOption(SimulatedDescription& device, string_view part) {
  if (Trimmed(part).empty()) return true;
  const string_view key = Trimmed(TakeUpTo('=', part));
  const auto* option = std::ranges::find(kOptions, key, &Option::key);
  if (option == std::end(kOptions)) return false;
  if (option->ofTapesOnly && device.kind != Kind::Camcorder) return false;
  return option->parse(device, Trimmed(part));
}

bool ParseOptions(SimulatedDescription& device, string_view options) {
  while (!options.empty()) {
    if (!ParseOption(device, TakeUpTo(',', options))) return false;
  }
  if (device.kind != Kind::Camcorder) return true;
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
bool TakeEntry(string_view entry, std::vector<SimulatedDescription>& devices) {
  const string_view word = Trimmed(TakeUpTo(':', entry));
  if (word != "camera" && word != "camcorder") return false;
  SimulatedDescription& standard = devices[word == "camera" ? 0 : 1];
  const string_view name = NameIn(entry);
  const bool isStandard = name.empty() || name == standard.name;
  if (!isStandard && devices.size() == kDeviceLimit) return false;

  SimulatedDescription device = isStandard ? standard : StandardDevice(standard.kind);
  if (!ParseOptions(device, entry)) return false;
  if (isStandard) {
    standard = std::move(device);
  } else {
    devices.push_back(std::move(device));
  }
  return true;
}

}  // namespace

SimulatedDescriptions ParseSimulated(string_view text) {
  SimulatedDescriptions result;
  result.devices = {StandardDevice(Kind::Camera), StandardDevice(Kind::Camcorder)};
  while (!text.empty()) {
    const string_view entry = Trimmed(TakeUpTo(';', text));
    if (entry.empty() || TakeEntry(entry, result.devices)) continue;
    result.broken.emplace_back(entry);
  }
  return result;
}
