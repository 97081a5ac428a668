// SPDX-License-Identifier: MIT
//
// Records five seconds of the first video device:  record [FILE]
// Without a callback the frames go from the device to the file and never through the program.
#include <zorvex/zorvex.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

namespace {

struct FirstDevice final : IZRVXDeviceEnumerator {
  std::string name;
  bool OnDevice(char const* found) override {
    name = found;
    return false;
  }
};

/// False when the device was unplugged before the time was over.
bool Record(unsigned long device, std::chrono::seconds duration) {
  const auto end = std::chrono::steady_clock::now() + duration;
  while (std::chrono::steady_clock::now() < end) {
    if (!ZRVXDeviceIsConnected(device)) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const char* const file = argc > 1 ? argv[1] : "zorvex.mov";
  FirstDevice first;
  ZRVXDeviceEnumerate(&first, ZRVXDeviceMediaTypeVideo, 0);
  const unsigned long device = ZRVXDeviceGet(first.name.c_str(), ZRVXDeviceMediaTypeVideo);
  if (device == 0) {
    std::fputs("There is no video device. ZORVEX_DEVICES=simulated brings one.\n", stderr);
    return 1;
  }

  bool recorded = false;
  if (!ZRVXDeviceOpen(device)) {
    std::fprintf(stderr, "%s is %s.\n", first.name.c_str(),
                 ZRVXDeviceIsUsedByAnotherApplication(device) ? "in use" : "not to be opened");
  } else if (!ZRVXDeviceStartCapture(device, nullptr, 0, 0, 0, 0, nullptr, 0, 0, 0, 0, 0, file) ||
             !ZRVXDeviceIsCapturing(device)) {
    std::fprintf(stderr, "%s cannot be recorded to %s.\n", first.name.c_str(), file);
  } else {
    recorded = Record(device, std::chrono::seconds(5));
    ZRVXDeviceStopCapture(device);  // the movie is complete from here on, unplugged or not
    std::printf("%s: recorded to %s\n", first.name.c_str(), file);
  }
  ZRVXDeviceClose(device);
  ZRVXDeviceRelease(device);
  return recorded ? 0 : 1;
}
