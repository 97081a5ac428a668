// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_SOUNDCOLLECTOR_H
#define ZORVEX_TESTS_SUPPORT_SOUNDCOLLECTOR_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <vector>

#include "capture/zorvex.h"

/// A host's side of a capture's sound: keeps the first channel of 16-bit samples and of floats, and
/// lets the test wait for it.
struct SoundCollector {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<float> samples;  ///< of the first channel
  unsigned int formatFlags = 0;
  unsigned long rate = 0, channels = 0, bytesPerSample = 0, buffers = 0;
  std::vector<unsigned long> framesOfBuffers;
  std::function<void()> inCallBack;  ///< what the callback does beside; set before the start

  static void OnSound(unsigned char const* bytes, unsigned int formatFlags,
                      unsigned long sampleRate, unsigned long channels,
                      unsigned long bytesPerSample, unsigned long frames, long data) {
    auto& self = *reinterpret_cast<SoundCollector*>(data);
    if (self.inCallBack) self.inCallBack();
    const std::lock_guard lock(self.mutex);
    self.formatFlags = formatFlags;
    self.rate = sampleRate;
    self.channels = channels;
    self.bytesPerSample = bytesPerSample;
    for (unsigned long i = 0; i < frames; ++i) {
      const unsigned char* sample = bytes + i * channels * bytesPerSample;
      float value = 0;
      std::int16_t integer = 0;
      if (bytesPerSample == 4) std::memcpy(&value, sample, sizeof value);
      if (bytesPerSample == 2) std::memcpy(&integer, sample, sizeof integer);
      self.samples.push_back(bytesPerSample == 2 ? static_cast<float>(integer) / 32768 : value);
    }
    self.framesOfBuffers.push_back(frames);
    ++self.buffers;
    self.changed.notify_all();
  }
  long Data() { return reinterpret_cast<long>(this); }

  /// Waits until so much has been heard.
  bool WaitForSeconds(double seconds) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(30), [&] {
      return rate > 0 && static_cast<double>(samples.size()) >= seconds * static_cast<double>(rate);
    });
  }
  std::vector<float> Samples() {
    const std::lock_guard lock(mutex);
    return samples;
  }
};

#endif  // ZORVEX_TESTS_SUPPORT_SOUNDCOLLECTOR_H
