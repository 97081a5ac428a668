// SPDX-License-Identifier: MIT
#include "foundation/store/base64.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#include "foundation/store/base64vector.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kLineGroups = 19;
constexpr std::size_t kLineLength = 4 * kLineGroups;
/// Above every value of a group of four characters.
constexpr std::uint32_t kInvalid = 1U << 31;

/// The two characters of every 12 bits.
constexpr auto kPairs = [] {
  std::array<std::array<char, 2>, 4096> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i)
    pairs[i] = {kAlphabet[i / 64], kAlphabet[i % 64]};
  return pairs;
}();

/// The value of every character at each of the four places of a group, or kInvalid.
constexpr auto kValues = [] {
  std::array<std::array<std::uint32_t, 256>, 4> values{};
  for (std::size_t place = 0; place < 4; ++place) {
    values[place].fill(kInvalid);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i)
      values[place][static_cast<unsigned char>(kAlphabet[i])] =
          static_cast<std::uint32_t>(i << (18 - 6 * place));
  }
  return values;
}();

char* EncodeGroup(const unsigned char* bytes, char* out) {
  const unsigned int bits = bytes[0] * 65536U + bytes[1] * 256U + bytes[2];
  std::memcpy(out, kPairs[bits >> 12].data(), 2);
  std::memcpy(out + 2, kPairs[bits & 4095].data(), 2);
  return out + 4;
}

char* EncodeGroups(const unsigned char* bytes, std::size_t groups, char* out) {
  const std::size_t done = groups >= 8 ? Base64EncodeVectors(bytes, groups, out) : 0;
  out += 4 * done;
  for (std::size_t i = done; i < groups; ++i)
    out = EncodeGroup(bytes + 3 * i, out);
  return out;
}

/// Whole groups, and a line break behind each full line of them.
char* EncodeLines(const unsigned char* bytes, std::size_t groups, bool isBroken, char* out) {
  if (!isBroken) return EncodeGroups(bytes, groups, out);
  for (; groups >= kLineGroups; groups -= kLineGroups, bytes += 3 * kLineGroups) {
    out = EncodeGroups(bytes, kLineGroups, out);
    out = std::copy_n("\r\n", 2, out);
  }
  return EncodeGroups(bytes, groups, out);
}

/// The one or two bytes behind the last whole group.
char* EncodeRemainder(const unsigned char* bytes, std::size_t count, bool isPadded, char* out) {
  if (count == 0) return out;
  const unsigned char group[3] = {bytes[0], count == 2 ? bytes[1] : static_cast<unsigned char>(0),
                                  0};
  EncodeGroup(group, out);
  out += count + 1;
  return isPadded ? std::fill_n(out, 3 - count, '=') : out;
}

std::uint64_t RequiredLength(std::uint64_t length, unsigned int flags) {
  std::uint64_t characters = length / 3 * 4 + length % 3 * 4 / 3;
  if (!(flags & kBase64NoPadding)) characters += length % 3;
  const std::uint64_t lines = characters / kLineLength;
  characters += (4 - characters % kLineLength % 4) % 4;
  if (!(flags & kBase64NoLineBreaks)) characters += 2 * lines + 2;
  return characters;
}

std::uint32_t GroupValue(const unsigned char* text) {
  return kValues[0][text[0]] | kValues[1][text[1]] | kValues[2][text[2]] | kValues[3][text[3]];
}

unsigned char* StoreGroup(std::uint32_t bits, unsigned char* out) {
  out[0] = static_cast<unsigned char>(bits >> 16);
  out[1] = static_cast<unsigned char>(bits >> 8);
  out[2] = static_cast<unsigned char>(bits);
  return out + 3;
}

class Decoder {
 public:
  Decoder(const char* text, std::size_t length, unsigned char* out)
      : text_(reinterpret_cast<const unsigned char*>(text)), end_(text_ + length), out_(out) {}

  /// Returns the end of what was written.
  unsigned char* Run() {
    do {
      CompleteGroups();
    } while (text_ != end_ && *text_ != 0 && AnyGroup());
    return out_;
  }

 private:
  [[nodiscard]] std::size_t Left() const { return static_cast<std::size_t>(end_ - text_); }

  /// Groups that stand together, up to the first other character.
  void CompleteGroups() {
    const std::size_t done =
        Left() >= 32 ? Base64DecodeVectors(reinterpret_cast<const char*>(text_), Left(), out_) : 0;
    text_ += 4 * done;
    out_ += 3 * done;
    while (Left() >= 4) {
      const std::uint32_t bits = GroupValue(text_);
      if (bits & kInvalid) return;
      out_ = StoreGroup(bits, out_);
      text_ += 4;
    }
  }

  /// A group with other characters in it, or cut off by the end, which gives false.
  bool AnyGroup() {
    std::uint32_t bits = 0;
    unsigned int count = 0;
    while (count < 4 && text_ != end_) {
      const std::uint32_t value = kValues[3][*text_++];
      if (value == kInvalid) continue;
      bits |= value << (18 - 6 * count);
      ++count;
    }
    if (count == 4) {
      out_ = StoreGroup(bits, out_);
      return true;
    }
    if (count >= 2) *out_++ = static_cast<unsigned char>(bits >> 16);
    if (count == 3) *out_++ = static_cast<unsigned char>(bits >> 8);
    return false;
  }

  const unsigned char* text_;
  const unsigned char* end_;
  unsigned char* out_;
};

}  // namespace

template <typename Char, typename Writer, typename>
void LBase64Encode(const void* data, std::size_t length, Writer& writer, unsigned int flags) {
  if (!data) return;
  // Whole lines are put together here, since writers like few and large pieces.
  constexpr std::size_t kLines = 16;
  char buffer[kLines * (kLineLength + 2) + 4];
  const bool isBroken = !(flags & kBase64NoLineBreaks);
  const auto* bytes = static_cast<const unsigned char*>(data);
  char* out = buffer;
  for (std::size_t groups = length / 3; groups > 0;) {
    const std::size_t now = std::min(groups, kLines * kLineGroups);
    out = EncodeLines(bytes, now, isBroken, buffer);
    groups -= now;
    bytes += 3 * now;
    if (groups == 0) break;
    writer.AddCharacters(buffer, static_cast<std::uint64_t>(out - buffer));
  }
  out = EncodeRemainder(bytes, length % 3, !(flags & kBase64NoPadding), out);
  writer.AddCharacters(buffer, static_cast<std::uint64_t>(out - buffer));
}

template <typename Char>
void LBase64Encode(const void* data, std::size_t length, LStringLongTemplate<Char>& out,
                   unsigned int flags) {
  out.SetLength(0);
  if (!data || length == 0) return;
  out.GrowToSize(std::max<std::uint64_t>(RequiredLength(length, flags) + 1, 260));
  const auto* bytes = static_cast<const unsigned char*>(data);
  char* end = EncodeLines(bytes, length / 3, !(flags & kBase64NoLineBreaks), out.Buffer());
  end = EncodeRemainder(bytes + length / 3 * 3, length % 3, !(flags & kBase64NoPadding), end);
  out.SetLength(static_cast<std::uint64_t>(end - out.Buffer()));
}

template <typename Char>
void LBase64Encode(const void* data, std::size_t length, Char* out, unsigned int flags) {
  constexpr std::size_t kLimit = 259;
  LFixedLengthStringWriterTemplate<Char> writer(out, kLimit);
  // Whole groups for more characters than there is room for; no need to encode the rest.
  constexpr std::size_t kEnough = (kLimit / 4 + 1) * 3;
  LBase64Encode<Char>(data, std::min(length, kEnough), writer, flags);
  out[writer.Length()] = 0;
}

template <typename Char>
void LBase64Decode(const Char* text, std::size_t length, LSizedArray<unsigned char>& out) {
  if (!text) length = 0;
  out.SetCount(0);
  out.SetCapacity((length / 4 + (length % 4 != 0)) * 3);
  const unsigned char* end = Decoder(text, length, out.Data()).Run();
  out.SetCount(static_cast<std::size_t>(end - out.Data()));
}

int Base64EncodeGetRequiredLength(int length, unsigned int flags) {
  constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<int>::max());
  const std::uint64_t required =
      RequiredLength(static_cast<std::uint64_t>(std::max(length, 0)), flags);
  return static_cast<int>(std::min(required, kLargest));
}

unsigned int DecodeBase64Char(unsigned int character) {
  return character < 256 && kValues[3][character] != kInvalid ? kValues[3][character] : ~0U;
}

template void LBase64Encode<char>(const void*, std::size_t, LStringLongTemplateWriter<char>&,
                                  unsigned int);
template void LBase64Encode<char>(const void*, std::size_t, LStringLongTemplateAppender<char>&,
                                  unsigned int);
template void LBase64Encode<char>(const void*, std::size_t, LFixedLengthStringWriterTemplate<char>&,
                                  unsigned int);
template void LBase64Encode<char>(const void*, std::size_t, LStringLongTemplate<char>&,
                                  unsigned int);
template void LBase64Encode<char>(const void*, std::size_t, char*, unsigned int);
template void LBase64Decode<char>(const char*, std::size_t, LSizedArray<unsigned char>&);
