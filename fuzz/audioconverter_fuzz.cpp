// SPDX-License-Identifier: MIT
// Whatever two descriptions say, and whatever an input procedure hands out, a converter is refused
// or stays within its buffers; what it makes of any floats are numbers.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/audioconverter/linearpcmconverter.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

/// The bytes of the input, from the first on; zeros behind the last.
class Script {
 public:
  Script(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  template <class Value>
  Value Next() {
    Value value{};
    const std::size_t count = std::min(sizeof value, size_);
    if (count > 0) std::memcpy(&value, data_, count);
    data_ += count;
    size_ -= count;
    return value;
  }
  bool IsEmpty() const { return size_ == 0; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

/// Usual rates by a number, others in full; the sizes follow from the rest, or not.
AudioStreamBasicDescription NextDescription(Script& script) {
  constexpr double kRates[] = {48000, 44100, 16000, 8000, 96000, 22050, 47952.047952, 11025};
  AudioStreamBasicDescription format{};
  const auto choice = script.Next<std::uint8_t>();
  format.mSampleRate = choice < 0xC0 ? kRates[choice % 8] : script.Next<double>();
  format.mFormatID = kAudioFormatLinearPCM;
  format.mFormatFlags = script.Next<std::uint8_t>();
  if (format.mFormatFlags >= 0xC0) format.mFormatFlags = script.Next<std::uint32_t>();
  format.mChannelsPerFrame = script.Next<std::uint8_t>() % 66;
  format.mFramesPerPacket = 1;
  const std::uint32_t bytes = script.Next<std::uint8_t>() % 10;
  format.mBitsPerChannel = script.Next<std::uint8_t>() % 66;
  const bool isPlanar = (format.mFormatFlags & kAudioFormatFlagIsNonInterleaved) != 0;
  format.mBytesPerFrame = bytes * (isPlanar ? 1 : format.mChannelsPerFrame);
  format.mBytesPerPacket = format.mBytesPerFrame;
  if (choice == 0xBF) {
    format.mBytesPerFrame = script.Next<std::uint32_t>();
    format.mBytesPerPacket = script.Next<std::uint32_t>();
    format.mFramesPerPacket = script.Next<std::uint32_t>();
    format.mFormatID ^= script.Next<std::uint8_t>();
  }
  return format;
}

/// An input procedure whose every answer is in the script.
struct Procedure {
  Script& script;
  std::vector<std::uint8_t> memory;  // of exactly the size that is told, so that overruns show

  static OSStatus Pull(AudioConverterRef, std::uint32_t* packets, AudioBufferList* list,
                       AudioStreamPacketDescription**, void* data) {
    auto& self = *static_cast<Procedure*>(data);
    const auto kind = self.script.Next<std::uint8_t>();
    const auto size = self.script.Next<std::uint16_t>() % 3000u;
    self.memory.assign(size, 0);
    self.memory.shrink_to_fit();
    for (std::size_t i = 0; i < size && !self.script.IsEmpty(); ++i)
      self.memory[i] = self.script.Next<std::uint8_t>();
    for (std::uint32_t i = 0; i < list->mNumberBuffers; ++i) {
      list->mBuffers[i].mDataByteSize = static_cast<std::uint32_t>(size - (i > 0 && size > 0));
      list->mBuffers[i].mData = self.memory.data();
    }
    if ((kind & 0x0F) == 1) list->mBuffers[0].mData = nullptr;
    if ((kind & 0x0F) == 2) list->mNumberBuffers = kind >> 4;
    if ((kind & 0x0F) == 3) *packets = kind >> 4;
    if ((kind & 0x0F) == 4) *packets = ~0u;
    if (self.script.IsEmpty()) *packets = 0;
    return (kind & 0x0F) == 5 ? -1 : noErr;
  }
};

void RequireNumbers(const AudioStreamBasicDescription& format, const std::uint8_t* bytes,
                    std::size_t size) {
  const bool isPlain = (format.mFormatFlags & kAudioFormatFlagIsFloat) != 0 &&
                       (format.mFormatFlags & kAudioFormatFlagIsBigEndian) == 0;
  if (!isPlain || format.mBitsPerChannel != 32) return;
  for (std::size_t at = 0; at + sizeof(float) <= size; at += sizeof(float)) {
    float value;
    std::memcpy(&value, bytes + at, sizeof value);
    Require(std::isfinite(value));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Script script(data, size);
  const AudioStreamBasicDescription from = NextDescription(script);
  const AudioStreamBasicDescription to = NextDescription(script);
  AudioConverterRef made = nullptr;
  const OSStatus status = NewLinearPcmConverter(from, to, &made);
  Require((status == noErr) == (made != nullptr));
  if (!made) return 0;
  const std::unique_ptr<OpaqueAudioConverter> converter(made);
  Procedure procedure{script, {}};
  for (int call = 0; call < 20; ++call) {
    const auto told = script.Next<std::uint16_t>() % 5000u;
    std::vector<std::uint8_t> output(std::max(told, 1u));
    std::uint32_t packets = script.Next<std::uint16_t>();
    AudioBufferList list{1, {{to.mChannelsPerFrame, told, output.data()}}};
    converter->FillComplexBuffer(Procedure::Pull, &procedure, &packets, &list, nullptr);
    Require(list.mBuffers[0].mDataByteSize == packets * to.mBytesPerPacket);
    Require(list.mBuffers[0].mDataByteSize <= told);
    RequireNumbers(to, output.data(), list.mBuffers[0].mDataByteSize);
    if (script.IsEmpty()) break;
    if (script.Next<std::uint8_t>() % 4 == 0) converter->Reset();
  }
  return 0;
}
