// SPDX-License-Identifier: MIT
#include "tools/wavfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include "tools/exitcode.h"

namespace {

void PutTag(std::string& bytes, const char* tag) {
  bytes.append(tag, 4);
}

template <class Value>
void Put(std::string& bytes, Value value) {
  for (std::size_t i = 0; i < sizeof value; ++i)
    bytes += static_cast<char>(value >> (8 * i) & 0xff);
}

constexpr std::uint32_t kSeeLongSizes = std::numeric_limits<std::uint32_t>::max();

void PutLength(std::string& bytes, std::size_t length) {
  Put(bytes, static_cast<std::uint32_t>(length));
}

/// The speakers of so many channels in the usual order: mono, stereo, 3.0, quadro, 5.0, 5.1, 6.1,
/// 7.1.
std::uint32_t ChannelMask(unsigned long channels) {
  constexpr std::array<std::uint32_t, 9> masks{0, 0x4, 0x3, 0x7, 0x33, 0x607, 0x60f, 0x70f, 0x63f};
  return channels < masks.size() ? masks[channels] : 0;
}

std::string FormatChunk(const AudioFormat& format) {
  constexpr std::uint16_t tagPcm = 1;
  constexpr std::uint16_t tagFloat = 3;
  constexpr std::uint16_t tagExtensible = 0xfffe;
  const std::uint16_t tag = format.IsFloat() ? tagFloat : tagPcm;
  const bool extensible = format.IsFloat() || format.bytesPerSample > 2 || format.channels > 2;
  const auto bits = static_cast<std::uint16_t>(format.bytesPerSample * 8);
  std::string body;
  Put(body, extensible ? tagExtensible : tag);
  Put(body, static_cast<std::uint16_t>(format.channels));
  Put(body, static_cast<std::uint32_t>(format.sampleRate));
  Put(body, static_cast<std::uint32_t>(format.sampleRate * format.BytesPerFrame()));
  Put(body, static_cast<std::uint16_t>(format.BytesPerFrame()));
  Put(body, bits);
  if (extensible) {
    Put(body, std::uint16_t{22});  // bytes that follow
    Put(body, bits);               // all of them are valid
    Put(body, ChannelMask(format.channels));
    Put(body, tag);  // and the rest of the identifier that every tag of this form has
    body.append("\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 14);
  }
  std::string chunk = "fmt ";
  PutLength(chunk, body.size());
  return chunk + body;
}

/// Until the sizes need it, its place is held free.
std::string LongSizesChunk(bool isLong, std::uint64_t riffBytes, std::uint64_t dataBytes,
                           std::uint64_t frames) {
  std::string chunk = isLong ? "ds64" : "JUNK";
  std::string body;
  for (const std::uint64_t value : {riffBytes, dataBytes, frames})
    Put(body, isLong ? value : 0);
  Put(body, std::uint32_t{0});  // further chunks of such a size
  PutLength(chunk, body.size());
  return chunk + body;
}

std::string FactChunk(std::uint64_t frames) {
  std::string chunk = "fact";
  PutLength(chunk, sizeof(std::uint32_t));
  Put(chunk, frames < kSeeLongSizes ? static_cast<std::uint32_t>(frames) : kSeeLongSizes);
  return chunk;
}

}  // namespace

std::string WavHeader(const AudioFormat& format, std::uint64_t dataBytes) {
  const std::uint64_t frames = dataBytes / format.BytesPerFrame();
  std::string chunks = FormatChunk(format);
  if (format.IsFloat()) chunks += FactChunk(frames);
  PutTag(chunks, "data");
  // Behind the tag and the length of RIFF itself: "WAVE", the long sizes, the rest up to the length
  // of the data, and the data, to an even number.
  constexpr std::uint64_t before = 4 + 8 + 28;
  const std::uint64_t riffBytes = before + chunks.size() + 4 + dataBytes + dataBytes % 2;
  const bool isLong = riffBytes >= kSeeLongSizes;
  std::string header = isLong ? "RF64" : "RIFF";
  Put(header, isLong ? kSeeLongSizes : static_cast<std::uint32_t>(riffBytes));
  PutTag(header, "WAVE");
  header += LongSizesChunk(isLong, riffBytes, dataBytes, frames) + chunks;
  Put(header, isLong ? kSeeLongSizes : static_cast<std::uint32_t>(dataBytes));
  return header;
}

WavFile::WavFile(std::string path, const AudioFormat& format)
    : path_(std::move(path)),
      format_(format),
      descriptor_(open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
  if (descriptor_ < 0) Fail();
}

WavFile::~WavFile() {
  if (descriptor_ >= 0) close(descriptor_);
}

void WavFile::Append(std::span<std::uint8_t> samples) {
  if (format_.bytesPerSample == 1) {
    for (std::uint8_t& sample : samples)
      sample ^= 0x80;
  }
  const std::size_t headerBytes = WavHeader(format_, 0).size();
  std::size_t written = 0;
  while (written < samples.size()) {
    const ssize_t bytes = pwrite(descriptor_, samples.data() + written, samples.size() - written,
                                 static_cast<off_t>(headerBytes + dataBytes_ + written));
    if (bytes < 0 && errno == EINTR) continue;
    if (bytes <= 0) break;
    written += static_cast<std::size_t>(bytes);
  }
  const int error = errno;
  dataBytes_ += written - written % format_.BytesPerFrame();
  WriteHeader();
  errno = error;
  if (written < samples.size()) Fail();
}

/// Tells what is in the file by now. The byte that makes an odd amount even is overwritten by the
/// samples that follow.
void WavFile::WriteHeader() {
  const std::string header = WavHeader(format_, dataBytes_);
  const auto length = static_cast<ssize_t>(header.size());
  if (pwrite(descriptor_, header.data(), header.size(), 0) != length) Fail();
  const auto end = static_cast<off_t>(header.size() + dataBytes_);
  if (dataBytes_ % 2 == 1 && pwrite(descriptor_, "", 1, end) != 1) Fail();
}

void WavFile::Fail() const {
  throw Failure(ExitCode::CannotWrite,
                "cannot write the sound \"" + path_ + "\": " + std::strerror(errno));
}
