// SPDX-License-Identifier: MIT
#include "tools/formats.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/devicereference.h"
#include "tools/report.h"

namespace {

struct VideoFormat {
  std::string pixelFormat;
  unsigned long width;
  unsigned long height;
};

struct FormatCollector final : IZRVXDeviceFormatEnumerator {
  bool OnDeviceFormatAudio(unsigned int format) override {
    audio.push_back(PixelFormatText(format));
    return true;
  }
  bool OnDeviceFormatVideo(unsigned int pixelFormat, unsigned long width,
                           unsigned long height) override {
    video.push_back({PixelFormatText(pixelFormat), width, height});
    return true;
  }

  std::vector<std::string> audio;
  std::vector<VideoFormat> video;
};

void PrintTable(const FormatCollector& formats) {
  std::printf("MEDIA  FORMAT  SIZE\n");
  for (const auto& format : formats.audio)
    std::printf("audio  %s\n", format.c_str());
  for (const auto& [pixelFormat, width, height] : formats.video)
    std::printf("video  %-6s  %lux%lu\n", pixelFormat.c_str(), width, height);
}

void PrintJson(const FormatCollector& formats) {
  nlohmann::ordered_json json;
  json["audio"] = formats.audio;
  json["video"] = nlohmann::ordered_json::array();
  for (const auto& [pixelFormat, width, height] : formats.video) {
    json["video"].push_back({{"pixelFormat", pixelFormat}, {"width", width}, {"height", height}});
  }
  std::printf("%s\n", json.dump(2).c_str());
}

}  // namespace

ExitCode RunFormats(const FormatsOptions& options) {
  const DeviceReference device(options.device, ZRVXDeviceMediaTypeAny);
  FormatCollector formats;
  ZRVXDeviceFormatEnumerate(device.Handle(), &formats);
  if (formats.audio.empty() && formats.video.empty()) {
    // Some formats are found out by running the device for a moment.
    device.CheckFree();
    throw Failure(ExitCode::Unable, Quoted(device.Name()) + " tells no formats.");
  }
  options.json ? PrintJson(formats) : PrintTable(formats);
  return ExitCode::Done;
}
