// SPDX-License-Identifier: MIT
//
// The options of the command "capture".
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string_view>

#include "tools/commandline.h"

namespace {

const char* const captureFooter =
    R"(A tape that stands still is played for the capture and stopped afterwards.

Sound is captured when --audio, --audio-device or --wav asks for it, and then is in the movie too.
CHANNELS go up to 8. BYTES are those of one sample: 1 to 4 for signed integers, 4 or 8 with :float.
A part that is 0 is 44100, 2 or 2 (4 with :float). Of a device that sends sound alone, --seconds
counts that sound.

Dropped frames are counted by time code where the device sends one with each frame. Else they are
estimated from the times of arrival: as many as are missing to a steady rate. So are lost samples.

The JSON report: frames, width, height, bytesPerRow, pixelFormat, firstTimeCode, lastTimeCode,
framesPerSecond, dropped, sound, movie, snapshot, contactSheet, wav; null for what there is none of.
sound: frames, rate, channels, bytes, format (integer or float), peak, rms, lost. peak and rms are
in dBFS for each channel, null for silence; a sine at full scale has a peak of 0 and an RMS of -3.

)";

/// All of `text` as a number that is not 0.
std::optional<unsigned long> ParseCount(std::string_view text) {
  unsigned long value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || value == 0) return std::nullopt;
  return value;
}

void SetSize(CaptureOptions& options, const std::string& text) {
  constexpr unsigned long limit = 32768;
  const std::size_t cross = text.find('x');
  const auto width = ParseCount(text.substr(0, cross));
  const auto height = cross == std::string::npos ? width : ParseCount(text.substr(cross + 1));
  if (cross == std::string::npos || !width || !height || *width > limit || *height > limit) {
    throw CLI::ValidationError("--size", "\"" + text + "\" is no size such as 640x480");
  }
  options.width = *width;
  options.height = *height;
}

void SetPixelFormat(CaptureOptions& options, const std::string& text) {
  const auto code = ParsePixelFormat(text);
  if (!code) {
    throw CLI::ValidationError("--pixel-format",
                               "\"" + text + "\" is no pixel format such as 2vuy, BGRA or 32");
  }
  options.pixelFormat = *code;
}

void SetSeconds(CaptureOptions& options, const std::string& text) {
  constexpr double limit = 1e6;
  double seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc() || stop != end || !(seconds > 0) || seconds > limit) {
    throw CLI::ValidationError("--seconds", "must be more than 0 and at most 1000000");
  }
  options.seconds = seconds;
}

void SetFrames(CaptureOptions& options, const std::string& text) {
  const auto frames = ParseCount(text);
  if (!frames) throw CLI::ValidationError("--frames", "must be a number of 1 or more");
  options.frames = *frames;
}

void SetAudio(CaptureOptions& options, const std::string& text) {
  try {
    options.audio = ParseAudioFormat(text);
  } catch (const std::invalid_argument& error) {
    throw CLI::ValidationError("--audio", error.what());
  }
  options.sound = true;
}

void SetSoundDevice(CaptureOptions& options, const std::string& text) {
  if (text.empty()) throw CLI::ValidationError("--audio-device", "needs the name of a device");
  options.soundDevice = text;
  options.sound = true;
}

/// The files must differ, or one would overwrite another.
void CheckOutputs(const CaptureOptions& options) {
  std::set<std::filesystem::path> paths;
  for (const auto& file : {options.movie, options.snapshot, options.contactSheet, options.wav}) {
    if (file.empty()) continue;
    if (paths.insert(std::filesystem::absolute(file).lexically_normal()).second) continue;
    throw CLI::ValidationError("--movie, --snapshot, --contact-sheet, --wav",
                               "must name different files");
  }
}

void AddFile(CLI::App& command, const char* option, std::string& file, const char* help) {
  command.add_option(option, file, help)->option_text("FILE")->check([](const std::string& text) {
    return text.empty() ? std::string("needs the name of a file") : std::string();
  });
}

void AddPicture(CLI::App& command, CaptureOptions& options) {
  auto* seconds = AddValue(command, "--seconds", "S",
                           "How long, from the first frame on; 5 unless told", options, SetSeconds);
  AddValue(command, "--frames", "N", "How many frames, instead of how long", options, SetFrames)
      ->excludes(seconds);
  AddValue(command, "--size", "WxH", "Size of the pictures; the device's own unless told", options,
           SetSize);
  AddValue(command, "--pixel-format", "CODE",
           "Pixel format: 2vuy, yuvs, BGRA, y420, 420v, 24, 32 ...", options, SetPixelFormat);
}

void AddSound(CLI::App& command, CaptureOptions& options) {
  AddValue(command, "--audio", "RATE:CHANNELS:BYTES[:float]",
           "Capture sound in this format, such as 48000:2:3", options, SetAudio);
  AddValue(command, "--audio-device", "NAME", "Capture the sound of another device", options,
           SetSoundDevice);
}

void AddFiles(CLI::App& command, CaptureOptions& options) {
  AddFile(command, "--movie", options.movie, "Record a movie: .mov, .mp4, .mkv or .avi");
  AddFile(command, "--snapshot", options.snapshot, "Write the frame in the middle as PNG");
  AddFile(command, "--contact-sheet", options.contactSheet,
          "Write a page of twelve small frames as PNG");
  AddFile(command, "--wav", options.wav, "Write the sound as WAV");
}

}  // namespace

void AddCapture(CLI::App& app, CaptureOptions& options) {
  CLI::App& command = *app.add_subcommand("capture", "Capture from a device");
  AddDevice(command, options.device);
  AddPicture(command, options);
  AddSound(command, options);
  AddFiles(command, options);
  command.add_flag_callback(
      "--no-transport", [&options] { options.transport = false; }, "Leave the tape alone");
  command.add_flag("--json", options.json, "Report as a JSON object");
  command.final_callback([&options] {
    CheckOutputs(options);
    if (!options.wav.empty()) options.sound = true;
  });
  command.footer(captureFooter + std::string(helpFooter));
}

std::optional<std::uint32_t> ParsePixelFormat(const std::string& text) {
  constexpr std::size_t codeLength = 4;
  if (text.size() == codeLength) {
    const auto printable = [](unsigned char c) { return c >= 0x20 && c < 0x7f; };
    if (!std::all_of(text.begin(), text.end(), printable)) return std::nullopt;
    std::uint32_t code = 0;
    for (const char c : text) {
      code = code << 8 | static_cast<unsigned char>(c);
    }
    return code;
  }
  const auto number = ParseCount(text);
  if (!number || *number > UINT32_MAX) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}
