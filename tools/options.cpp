// SPDX-License-Identifier: MIT
#include "tools/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>
#include <string_view>

namespace {

const char* const helpFooter = R"(Exit codes:
    0  done
    2  the command line is wrong
    3  there is no such device
    4  the device is used by another application
    5  the device is unplugged, or cannot be opened or started
    6  the movie or a picture cannot be written, or the movie ended early on a full disk
    7  the device delivered nothing, or was lost before the end; what came until then is written
  130  interrupted by Ctrl-C or SIGTERM; what came until then is written, the movie is complete.
       A second Ctrl-C exits at once

Environment:
  ZORVEX_DEVICES    which devices there are: system (default), simulated, or all)";

const char* const captureFooter =
    R"(Dropped frames are counted by time code where the device sends one with each frame. Else they are
estimated from the times of arrival: as many as are missing to a steady rate.

The JSON report: frames, width, height, bytesPerRow, pixelFormat, firstTimeCode, lastTimeCode,
framesPerSecond, dropped, movie, snapshot, contactSheet; null for what there is none of.
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

/// The files must differ, or one would overwrite another.
void CheckOutputs(const CaptureOptions& options) {
  const auto same = [](const std::string& a, const std::string& b) {
    const auto path = [](const std::string& file) {
      return std::filesystem::absolute(file).lexically_normal();
    };
    return !a.empty() && !b.empty() && path(a) == path(b);
  };
  if (same(options.movie, options.snapshot) || same(options.movie, options.contactSheet) ||
      same(options.snapshot, options.contactSheet)) {
    throw CLI::ValidationError("--movie, --snapshot, --contact-sheet", "must name different files");
  }
}

void SetType(DevicesOptions& options, const std::string& text) {
  const std::map<std::string, ZRVXDeviceMediaType> types{{"any", ZRVXDeviceMediaTypeAny},
                                                         {"audio", ZRVXDeviceMediaTypeAudio},
                                                         {"video", ZRVXDeviceMediaTypeVideo},
                                                         {"muxed", ZRVXDeviceMediaTypeMuxed}};
  const auto found = types.find(text);
  if (found == types.end()) {
    throw CLI::ValidationError("--type", "must be any, audio, video or muxed");
  }
  options.mediaType = found->second;
}

/// An option with one value, which `set` takes over or refuses.
template <class Options>
CLI::Option* AddValue(CLI::App& command, const char* option, const char* value, const char* help,
                      Options& options, void (*set)(Options&, const std::string&)) {
  return command
      .add_option_function<std::string>(
          option, [&options, set](const std::string& text) { set(options, text); }, help)
      ->option_text(value);
}

void AddFile(CLI::App& command, const char* option, std::string& file, const char* help) {
  command.add_option(option, file, help)->option_text("FILE")->check([](const std::string& text) {
    return text.empty() ? std::string("needs the name of a file") : std::string();
  });
}

void AddDevices(CLI::App& app, DevicesOptions& options) {
  CLI::App& command = *app.add_subcommand("devices", "List the devices");
  AddValue(command, "--type", "TYPE", "any, audio, video or muxed; any unless told", options,
           SetType);
  command.add_flag("--disconnected", options.disconnected,
                   "Also those that were seen before but are unplugged now");
  command.add_flag("--json", options.json, "As an array of {name, media, connected}");
}

void AddCapture(CLI::App& app, CaptureOptions& options) {
  CLI::App& command = *app.add_subcommand("capture", "Capture from a device");
  command.add_option("NAME", options.device, "The device, as \"zvcap devices\" names it")
      ->required()
      ->option_text(" ");
  auto* seconds = AddValue(command, "--seconds", "S",
                           "How long, from the first frame on; 5 unless told", options, SetSeconds);
  AddValue(command, "--frames", "N", "How many frames, instead of how long", options, SetFrames)
      ->excludes(seconds);
  AddValue(command, "--size", "WxH", "Size of the pictures; the device's own unless told", options,
           SetSize);
  AddValue(command, "--pixel-format", "CODE",
           "Pixel format: 2vuy, yuvs, BGRA, y420, 420v, 24, 32 ...", options, SetPixelFormat);
  AddFile(command, "--movie", options.movie, "Record a movie: .mov, .mp4, .mkv or .avi");
  AddFile(command, "--snapshot", options.snapshot, "Write the frame in the middle as PNG");
  AddFile(command, "--contact-sheet", options.contactSheet,
          "Write a page of twelve small frames as PNG");
  command.add_flag("--json", options.json, "Report as a JSON object");
  command.final_callback([&options] { CheckOutputs(options); });
  command.footer(captureFooter + std::string(helpFooter));
}

}  // namespace

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

std::variant<DevicesOptions, CaptureOptions, ExitCode> ParseCommandLine(int argc, char** argv) {
  CLI::App app("Lists and captures from cameras and tape decks", "zvcap");
  app.set_version_flag("--version", "zvcap " ZORVEX_VERSION);
  app.require_subcommand(1);
  app.footer(helpFooter);
  DevicesOptions devices;
  CaptureOptions capture;
  AddDevices(app, devices);
  AddCapture(app, capture);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? ExitCode::Done : ExitCode::Usage;
  }
  if (app.got_subcommand("devices")) return devices;
  return capture;
}
