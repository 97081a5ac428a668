// SPDX-License-Identifier: MIT
#include "platform/dv/dvsound.h"

namespace gstreamer {

namespace {

constexpr std::uint8_t kSourcePack = 0x50;
constexpr int kRates[] = {48000, 44100, 32000};
/// Samples in a frame at each rate, by system.
constexpr int kFewest[][3] = {{1580, 1452, 1053}, {1896, 1742, 1264}};
constexpr int kMost[][3] = {{1620, 1489, 1080}, {1944, 1786, 1296}};

std::size_t Index(DvSystem system) {
  return system == DvSystem::Lines625 ? 1 : 0;
}

std::size_t RateIndex(const DvPack& source) {
  return source[3] >> 3 & 0x07u;
}

template <DvSystem kSystem>
bool IsLegal(const DvPack& source) {
  const bool is625 = (source[2] & 0x20) != 0;
  if (is625 != (kSystem == DvSystem::Lines625) || RateIndex(source) > 2) return false;
  const int quantisation = source[3] & 0x07;
  const std::size_t system = Index(kSystem), rate = RateIndex(source);
  return quantisation <= 1 && (source[0] & 0x3f) + kFewest[system][rate] <= kMost[system][rate];
}

/// Samples of twelve bits are straight lines that get steeper away from zero, each twice as steep
/// as the one before.
std::int16_t Expand(int code) {
  if (code == 0x800) return 0;  // marked as unreadable
  const int value = code < 0x800 ? code : code - 0x1000;
  const int magnitude = value < 0 ? -value - 1 : value;
  const int segment = magnitude >> 8;
  const int expanded = segment < 2 ? magnitude : (magnitude - 256 * (segment - 1)) << (segment - 1);
  return static_cast<std::int16_t>(value < 0 ? -expanded - 1 : expanded);
}

std::int16_t Sample16(DvBytes frame, std::size_t at) {
  const int code = frame[at] << 8 | frame[at + 1];
  return code == 0x8000 ? std::int16_t{0} : static_cast<std::int16_t>(code);
}

}  // namespace

std::optional<DvSound> DvSoundOf(DvBytes frame) {
  const auto system = DvSystemOf(frame);
  if (!system) return std::nullopt;
  const auto source = FindDvSoundPack(
      frame, kSourcePack,
      *system == DvSystem::Lines625 ? IsLegal<DvSystem::Lines625> : IsLegal<DvSystem::Lines525>);
  if (!source) return std::nullopt;
  const std::size_t rate = RateIndex(*source);
  return DvSound{.rate = kRates[rate],
                 .samples = ((*source)[0] & 0x3f) + kFewest[Index(*system)][rate],
                 .isShort = ((*source)[3] & 0x07) == 1};
}

/// Neighbouring samples are far apart on the tape, for a scratch to be heard less: over sequences,
/// over blocks of sound and within these. Each channel has half of the sequences; where samples are
/// short two channels share a half, in groups of three bytes.
void ReadDvSound(DvBytes frame, const DvSound& sound, std::int16_t* samples) {
  const std::size_t sequences = frame.size() / kDvSequenceSize, half = sequences / 2;
  const std::size_t stride = 9 * half;
  for (std::size_t n = 0; n < static_cast<std::size_t>(sound.samples); ++n) {
    const std::size_t sequence = (n / 3 + 2 * (n % 3)) % half;
    const std::size_t block = 3 * (n % 3) + n % stride / (stride / 3);
    const std::size_t group = n / stride * (sound.isShort ? 3 : 2);
    const std::size_t at = sequence * kDvSequenceSize + (6 + 16 * block) * kDvBlockSize + 8 + group;
    std::int16_t* const pair = samples + kDvSoundChannels * n;
    if (sound.isShort) {
      pair[0] = Expand(frame[at] << 4 | frame[at + 2] >> 4);
      pair[1] = Expand(frame[at + 1] << 4 | (frame[at + 2] & 0x0f));
    } else {
      pair[0] = Sample16(frame, at);
      pair[1] = Sample16(frame, at + half * kDvSequenceSize);
    }
  }
}

}  // namespace gstreamer
