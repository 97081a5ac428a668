// SPDX-License-Identifier: MIT
#include "tools/audioformat.h"

#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace {

[[noreturn]] void Refuse(const std::string& reason) {
  throw std::invalid_argument(reason);
}

std::vector<std::string_view> Parts(std::string_view text) {
  std::vector<std::string_view> parts;
  for (std::size_t colon = 0; colon != std::string_view::npos;) {
    colon = text.find(':');
    parts.push_back(text.substr(0, colon));
    text.remove_prefix(colon == std::string_view::npos ? text.size() : colon + 1);
  }
  return parts;
}

std::optional<unsigned long> Number(std::string_view text) {
  unsigned long value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

void CheckRanges(const AudioFormat& format) {
  constexpr unsigned long leastRate = 1000;
  constexpr unsigned long mostRate = 192000;
  const auto [flags, rate, channels, bytes] = format;
  if (rate != 0 && (rate < leastRate || rate > mostRate)) {
    Refuse("the sample rate must be from 1000 to 192000 Hz, or 0");
  }
  if (channels > kMostChannels) Refuse("there can be 8 channels at most");
  if (format.IsFloat() && bytes != 4 && bytes != 8) {
    Refuse("a floating-point sample has 4 or 8 bytes");
  }
  if (!format.IsFloat() && bytes > 4) Refuse("an integer sample has 1 to 4 bytes");
}

void CheckAmount(const AudioFormat& format) {
  constexpr unsigned long mostBytes = 65535ul * 25;
  const auto orElse = [](unsigned long value, unsigned long other) {
    return value == 0 ? other : value;
  };
  const unsigned long bytes = orElse(format.sampleRate, 44100) * orElse(format.channels, 2) *
                              orElse(format.bytesPerSample, 2);
  if (bytes > mostBytes) {
    Refuse("that is more sound than can be converted, " + std::to_string(mostBytes) +
           " bytes in a second");
  }
}

}  // namespace

AudioFormat ParseAudioFormat(const std::string& text) {
  const auto parts = Parts(text);
  const bool isFloat = parts.size() == 4 && parts[3] == "float";
  if (parts.size() != 3 && !isFloat) Refuse("\"" + text + "\" is no format such as 48000:2:2");
  const auto rate = Number(parts[0]);
  const auto channels = Number(parts[1]);
  auto bytes = Number(parts[2]);
  if (!rate || !channels || !bytes) Refuse("\"" + text + "\" is no format such as 48000:2:2");
  if (isFloat && *bytes == 0) bytes = 4;
  const AudioFormat format{isFloat ? kPackedFloats : kSignedPackedIntegers, *rate, *channels,
                           *bytes};
  CheckRanges(format);
  CheckAmount(format);
  return format;
}

std::string AudioFormatText(const AudioFormat& format) {
  return std::to_string(format.sampleRate) + " Hz, " + std::to_string(format.channels) +
         (format.channels == 1 ? " channel, " : " channels, ") +
         std::to_string(format.bytesPerSample * 8) + "-bit " +
         (format.IsFloat() ? "floats" : "integers");
}
