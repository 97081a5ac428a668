// SPDX-License-Identifier: MIT
#include "tools/report.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/outputfile.h"
#include "tools/timecode.h"

namespace {

void PrintFile(const char* label, const std::string& file) {
  if (file.empty()) return;
  const auto bytes = static_cast<double>(FileBytes(file));
  const bool large = bytes >= 1e6;
  std::printf("%-15s%s (%.1f %s)\n", label, file.c_str(), bytes / (large ? 1e6 : 1e3),
              large ? "MB" : "kB");
}

template <class Value, class Text>
nlohmann::ordered_json OrNull(const Value& value, Text text) {
  return value ? nlohmann::ordered_json(text(*value)) : nlohmann::ordered_json();
}

nlohmann::ordered_json PathOrNull(const std::string& path) {
  return path.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(path);
}

void PrintPictures(const FrameSummary& s) {
  std::printf("%-15s%lu in %.2f s\n", "Frames", s.frames, s.seconds);
  if (s.frames > 0) {
    std::printf("%-15s%lux%lu, %s, %lu bytes per row\n", "Picture", s.format.width, s.format.height,
                PixelFormatText(s.format.pixelFormat).c_str(), s.format.bytesPerRow);
  }
  if (s.framesPerSecond) std::printf("%-15s%.2f frames per second\n", "Rate", *s.framesPerSecond);
  if (s.firstTimeCode) {
    std::printf("%-15s%s to %s\n", "Time code", TimeCodeText(*s.firstTimeCode).c_str(),
                TimeCodeText(*s.lastTimeCode).c_str());
  }
  std::printf("%-15s%lu\n", "Dropped", s.dropped);
}

std::string LevelText(const std::vector<Level>& levels, double Level::*value) {
  std::string text;
  for (const auto& level : levels) {
    char number[32];
    std::snprintf(number, sizeof number, "%s%.1f", text.empty() ? "" : ", ", level.*value);
    text += number;
  }
  return text;
}

void PrintSound(const SoundSummary& s) {
  std::printf("%-15s%lu frames in %.2f s\n", "Sound", s.frames, s.seconds);
  if (s.frames > 0) {
    std::printf("%-15s%s\n", "", AudioFormatText(s.format).c_str());
    std::printf("%-15speak %s dBFS, RMS %s dBFS\n", "Level",
                LevelText(s.levels, &Level::peak).c_str(),
                LevelText(s.levels, &Level::rms).c_str());
  }
  std::printf("%-15s%lu\n", "Lost", s.lost);
}

nlohmann::ordered_json LevelsJson(const std::vector<Level>& levels, double Level::*value) {
  auto list = nlohmann::ordered_json::array();
  for (const auto& level : levels)
    list.push_back(level.*value);  // what is not finite is written as null
  return list;
}

nlohmann::ordered_json SoundJson(const SoundSummary& s) {
  nlohmann::ordered_json json;
  json["frames"] = s.frames;
  json["rate"] = s.format.sampleRate;
  json["channels"] = s.format.channels;
  json["bytes"] = s.format.bytesPerSample;
  json["format"] = s.frames == 0 ? nlohmann::ordered_json()
                                 : nlohmann::ordered_json(s.format.IsFloat() ? "float" : "integer");
  json["peak"] = LevelsJson(s.levels, &Level::peak);
  json["rms"] = LevelsJson(s.levels, &Level::rms);
  json["lost"] = s.lost;
  return json;
}

}  // namespace

std::string PixelFormatText(std::uint32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8)
    text += static_cast<char>(code >> shift & 0xff);
  const auto printable = [](char c) { return c >= 0x20 && c < 0x7f; };
  return std::all_of(text.begin(), text.end(), printable) ? text : std::to_string(code);
}

void Complain(const std::string& message) {
  std::fprintf(stderr, "zvcap: %s\n", message.c_str());
}

void PrintReport(const Report& report) {
  if (report.pictures) PrintPictures(*report.pictures);
  if (report.sound) PrintSound(*report.sound);
  PrintFile("Movie", report.movie);
  PrintFile("Snapshot", report.snapshot);
  PrintFile("Contact sheet", report.contactSheet);
  PrintFile("WAV", report.wav);
}

void PrintJsonReport(const Report& report) {
  const FrameSummary s = report.pictures.value_or(FrameSummary());
  nlohmann::ordered_json json;
  json["frames"] = s.frames;
  json["width"] = s.format.width;
  json["height"] = s.format.height;
  json["bytesPerRow"] = s.format.bytesPerRow;
  json["pixelFormat"] = s.frames == 0
                            ? nlohmann::ordered_json()
                            : nlohmann::ordered_json(PixelFormatText(s.format.pixelFormat));
  json["firstTimeCode"] = OrNull(s.firstTimeCode, TimeCodeText);
  json["lastTimeCode"] = OrNull(s.lastTimeCode, TimeCodeText);
  json["framesPerSecond"] = OrNull(s.framesPerSecond, [](double value) { return value; });
  json["dropped"] = s.dropped;
  json["sound"] = OrNull(report.sound, SoundJson);
  json["movie"] = PathOrNull(report.movie);
  json["snapshot"] = PathOrNull(report.snapshot);
  json["contactSheet"] = PathOrNull(report.contactSheet);
  json["wav"] = PathOrNull(report.wav);
  std::printf("%s\n", json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}
