// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_WAVFILE_H
#define ZORVEX_TOOLS_WAVFILE_H

#include <cstdint>
#include <span>
#include <string>

#include "tools/audioformat.h"

/// Everything before the samples in a WAV file with so many bytes of them. It has the same length
/// for every amount of one format: RIFF up to 4 GB and RF64 (EBU Tech 3306) beyond, the extensible
/// form of the format where there are floats, more than 16 bits or more than two channels.
std::string WavHeader(const AudioFormat& format, std::uint64_t dataBytes);

/// A WAV file that is written piece by piece and complete after each one, so that it plays whenever
/// the program ends.
class WavFile {
 public:
  /// Makes the file, in place of an existing one. Throws Failure.
  WavFile(std::string path, const AudioFormat& format);
  ~WavFile();
  WavFile(const WavFile&) = delete;
  WavFile& operator=(const WavFile&) = delete;

  /// Adds whole frames of interleaved little-endian samples. Those of one byte are changed in place
  /// on the way, from signed to the unsigned ones that a WAV file has. Throws Failure where not all
  /// could be written; as much as could be is in the file then.
  void Append(std::span<std::uint8_t> samples);

 private:
  [[noreturn]] void Fail() const;
  void WriteHeader();

  const std::string path_;
  const AudioFormat format_;
  int descriptor_ = -1;
  std::uint64_t dataBytes_ = 0;
};

#endif  // ZORVEX_TOOLS_WAVFILE_H
