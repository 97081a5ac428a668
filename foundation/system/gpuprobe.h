// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_GPUPROBE_H
#define ZORVEX_FOUNDATION_SYSTEM_GPUPROBE_H

#include <optional>
#include <string>
#include <vector>

class LProcessInterface;

/// A line for each thing that the drivers told of, by its fields.
using GpuProbeAnswer = std::vector<std::vector<std::string>>;

/// Runs the program that asks the drivers. Nothing after a stop, when it cannot be started, when it
/// does not end well and in time, and when its answer is not whole; the process is told why.
std::optional<GpuProbeAnswer> RunGpuProbe(LProcessInterface& process, const std::string& program,
                                          const char* question, unsigned int timeout);

/// The path of the program, seen from the file that has the library's code; empty when there is
/// none.
std::string FindGpuProbe();

#endif  // ZORVEX_FOUNDATION_SYSTEM_GPUPROBE_H
