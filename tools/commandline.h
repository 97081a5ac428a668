// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_COMMANDLINE_H
#define ZORVEX_TOOLS_COMMANDLINE_H

#include <CLI/CLI.hpp>
#include <string>

#include "tools/options.h"

/// What the help of every command ends with.
extern const char* const helpFooter;

/// An option with one value, which `set` takes over or refuses.
template <class Options>
CLI::Option* AddValue(CLI::App& command, const char* option, const char* value, const char* help,
                      Options& options, void (*set)(Options&, const std::string&)) {
  return command
      .add_option_function<std::string>(
          option, [&options, set](const std::string& text) { set(options, text); }, help)
      ->option_text(value);
}

/// The device that a command is about.
void AddDevice(CLI::App& command, std::string& device);

/// The command "capture", with all that it takes.
void AddCapture(CLI::App& app, CaptureOptions& options);

#endif  // ZORVEX_TOOLS_COMMANDLINE_H
