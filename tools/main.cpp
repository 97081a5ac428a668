// SPDX-License-Identifier: MIT
//
// zvcap: lists devices and their formats, captures into movies, pictures and sound, drives tapes.
#include <cstdio>
#include <exception>

#include "tools/capture.h"
#include "tools/devices.h"
#include "tools/formats.h"
#include "tools/inheritedsignals.h"
#include "tools/options.h"
#include "tools/timecodecommand.h"
#include "tools/transport.h"

namespace {

struct Runner {
  ExitCode operator()(const DevicesOptions& options) const { return RunDevices(options); }
  ExitCode operator()(const FormatsOptions& options) const { return RunFormats(options); }
  ExitCode operator()(const CaptureOptions& options) const { return RunCapture(options); }
  ExitCode operator()(const TransportOptions& options) const { return RunTransport(options); }
  ExitCode operator()(const TimeCodeOptions& options) const { return RunTimeCode(options); }
};

ExitCode Run(const std::variant<Command, ExitCode>& parsed) {
  if (const auto* command = std::get_if<Command>(&parsed)) return std::visit(Runner(), *command);
  return std::get<ExitCode>(parsed);
}

}  // namespace

int main(int argc, char** argv) {
  RestoreInheritedSignals();
  ExitCode code = ExitCode::CannotOpen;
  try {
    code = Run(ParseCommandLine(argc, argv));
  } catch (const Failure& failure) {
    std::fflush(stdout);
    std::fprintf(stderr, "zvcap: %s\n", failure.what());
    code = failure.Code();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zvcap: %s\n", error.what());
  }
  return static_cast<int>(code);
}
