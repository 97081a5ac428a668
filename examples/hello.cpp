// SPDX-License-Identifier: MIT
#include <zorvex/zorvex.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

std::atomic<int> frames = 0;

void OnFrame(unsigned char const* pixels, unsigned int, unsigned long width, unsigned long height,
             unsigned long, SMPTETime const*, long) {
  std::printf("%d: %lu x %lu at %p\n", ++frames, width, height, static_cast<void const*>(pixels));
}

int main(int argc, char** argv) {
  const char* name = argc > 1 ? argv[1] : "Simulated Camera";
  const unsigned long camera = ZRVXDeviceGet(name, ZRVXDeviceMediaTypeVideo);
  if (!ZRVXDeviceOpen(camera)) return 1;
  ZRVXDeviceStartCapture(camera, OnFrame, 0, 0, 0, 0, nullptr, 0, 0, 0, 0, 0, nullptr);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  ZRVXDeviceStopCapture(camera);
  ZRVXDeviceClose(camera);
  ZRVXDeviceRelease(camera);
  return frames > 0 ? 0 : 1;
}
