// SPDX-License-Identifier: MIT
#include "tools/options.h"

#include <map>

#include "tools/commandline.h"
#include "tools/transport.h"

const char* const helpFooter = R"(Exit codes:
    0  done
    2  the command line is wrong
    3  there is no such device
    4  the device is used by another application
    5  the device is unplugged, or cannot be opened or started
    6  a movie, sound or picture cannot be written, or ended early on a full disk
    7  the device delivered nothing, or was lost before the end; what came until then is written
    8  the device has not what is asked for: picture, sound, formats, time code or tape transport,
       or its tape does not obey
  130  interrupted by Ctrl-C or SIGTERM; what came until then is written, the movie is complete.
       A second Ctrl-C exits at once

Environment:
  ZORVEX_DEVICES    which devices there are: system (default), simulated, or all)";

namespace {

const char* const examples = R"(Examples:
  zvcap devices
  zvcap formats "Simulated Camera" --json
  zvcap capture "Simulated Camcorder" --movie tape.mov --wav tape.wav
  zvcap capture "Simulated Microphone" --audio 48000:1:3 --wav voice.wav --seconds 60
  zvcap transport "Simulated Camcorder" rewind
  zvcap timecode "Simulated Camcorder"

)";

const char* const transportFooter =
    R"(MODE is stop, play, rewind, forward, shuttle-reverse or shuttle-forward, or status to only ask.
Waits up to five seconds for the deck to do what it is told, and prints what it does then.

A simulated deck lives in one process: the next one finds its tape as it was at first.

)";

const char* const timeCodeFooter =
    R"(Captures from the device until a frame with a time code comes, a few seconds at most. A tape that
stands still is played for it, and stopped again.

)";

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

void SetMode(TransportOptions& options, const std::string& text) {
  if (text == "status") return;
  options.mode = ParseTransportMode(text);
  if (!options.mode) {
    throw CLI::ValidationError(
        "MODE", "must be status, stop, play, rewind, forward, shuttle-reverse or shuttle-forward");
  }
}

void AddDevices(CLI::App& app, DevicesOptions& options) {
  CLI::App& command = *app.add_subcommand("devices", "List the devices");
  AddValue(command, "--type", "TYPE", "any, audio, video or muxed; any unless told", options,
           SetType);
  command.add_flag("--disconnected", options.disconnected,
                   "Also those that were seen before but are unplugged now");
  command.add_flag("--json", options.json, "As an array of {name, media, connected}");
}

void AddFormats(CLI::App& app, FormatsOptions& options) {
  CLI::App& command = *app.add_subcommand("formats", "List the formats of a device");
  AddDevice(command, options.device);
  command.add_flag("--json", options.json,
                   "As {audio: [code], video: [{pixelFormat, width, height}]}");
  command.footer(helpFooter);
}

void AddTransport(CLI::App& app, TransportOptions& options) {
  CLI::App& command = *app.add_subcommand("transport", "Drive a tape deck");
  AddDevice(command, options.device);
  AddValue(command, "MODE", " ", "What the tape is to do; unless told, only what it does is asked",
           options, SetMode);
  command.footer(transportFooter + std::string(helpFooter));
}

void AddTimeCode(CLI::App& app, TimeCodeOptions& options) {
  CLI::App& command = *app.add_subcommand("timecode", "Print the time code of a tape");
  AddDevice(command, options.device);
  command.add_flag_callback(
      "--no-transport", [&options] { options.transport = false; }, "Leave the tape alone");
  command.footer(timeCodeFooter + std::string(helpFooter));
}

}  // namespace

void AddDevice(CLI::App& command, std::string& device) {
  command.add_option("NAME", device, "The device, as \"zvcap devices\" names it")
      ->required()
      ->option_text(" ");
}

std::variant<Command, ExitCode> ParseCommandLine(int argc, char** argv) {
  CLI::App app("Lists, captures from and drives cameras, microphones and tape decks", "zvcap");
  app.set_version_flag("--version", "zvcap " ZORVEX_VERSION);
  app.require_subcommand(1);
  app.footer(examples + std::string(helpFooter));
  DevicesOptions devices;
  FormatsOptions formats;
  CaptureOptions capture;
  TransportOptions transport;
  TimeCodeOptions timeCode;
  AddDevices(app, devices);
  AddFormats(app, formats);
  AddCapture(app, capture);
  AddTransport(app, transport);
  AddTimeCode(app, timeCode);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? ExitCode::Done : ExitCode::Usage;
  }
  if (app.got_subcommand("devices")) return devices;
  if (app.got_subcommand("formats")) return formats;
  if (app.got_subcommand("capture")) return capture;
  if (app.got_subcommand("transport")) return transport;
  return timeCode;
}
