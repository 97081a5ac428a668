// SPDX-License-Identifier: MIT
//
// Shows how loud the first sound device is, for two seconds:  loudness
// The callback only keeps a number; the main thread prints it.
#include <zorvex/zorvex.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {

std::atomic<int> loudest = -1;  // since the last look, of 32767; -1 when nothing came

struct FirstDevice final : IZRVXDeviceEnumerator {
  std::string name;
  bool OnDevice(char const* found) override {
    name = found;
    return false;
  }
};

void OnSound(unsigned char const* samples, unsigned int, unsigned long, unsigned long channels,
             unsigned long, unsigned long frames, long) {
  int peak = 0;
  for (unsigned long i = 0; i < frames * channels; ++i) {
    short sample;
    std::memcpy(&sample, samples + i * sizeof sample, sizeof sample);
    peak = std::max(peak, std::abs(int{sample}));
  }
  for (int seen = loudest; seen < peak && !loudest.compare_exchange_weak(seen, peak);) {
  }
}

}  // namespace

int main() {
  FirstDevice first;
  ZRVXDeviceEnumerate(&first, ZRVXDeviceMediaTypeAudio, 0);
  const unsigned long device = ZRVXDeviceGet(first.name.c_str(), ZRVXDeviceMediaTypeAudio);
  if (!ZRVXDeviceOpen(device)) return 1;
  ZRVXDeviceSetTransportMode(device, ZRVXDeviceTransportModePlay);  // should it have a tape
  // 16-bit integers in mono at 48 kHz, and no pictures.
  ZRVXDeviceStartCapture(device, nullptr, 0, 0, 0, 0, OnSound, 0, 12, 48000, 1, 2, nullptr);
  bool heard = false;
  for (int i = 0; i < 10; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const int peak = loudest.exchange(-1);
    heard = heard || peak >= 0;
    std::printf("%s %s\n", first.name.c_str(),
                std::string(static_cast<std::size_t>(std::max(peak, 0) / 512), '#').c_str());
  }
  ZRVXDeviceStopCapture(device);
  ZRVXDeviceSetTransportMode(device, ZRVXDeviceTransportModeStop);
  ZRVXDeviceClose(device);
  ZRVXDeviceRelease(device);
  return heard ? 0 : 1;
}
