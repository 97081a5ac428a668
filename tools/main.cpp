// SPDX-License-Identifier: MIT
//
// zvcap: lists devices, and captures from one into movies and pictures.
#include <cstdio>
#include <exception>
#include <type_traits>

#include "tools/capture.h"
#include "tools/devices.h"
#include "tools/options.h"

namespace {

ExitCode Run(const std::variant<DevicesOptions, CaptureOptions, ExitCode>& command) {
  if (const auto* devices = std::get_if<DevicesOptions>(&command)) return RunDevices(*devices);
  if (const auto* capture = std::get_if<CaptureOptions>(&command)) return RunCapture(*capture);
  return std::get<ExitCode>(command);
}

}  // namespace

int main(int argc, char** argv) {
  ExitCode code = ExitCode::CannotOpen;
  try {
    code = Run(ParseCommandLine(argc, argv));
  } catch (const Failure& failure) {
    std::fprintf(stderr, "zvcap: %s\n", failure.what());
    code = failure.Code();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zvcap: %s\n", error.what());
  }
  return static_cast<int>(code);
}
