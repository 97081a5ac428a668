// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_GPUPROBE_PROBE_H
#define ZORVEX_PLATFORM_GPUPROBE_PROBE_H

#include <cstdio>

/// \file
/// The parts of the program that loads the drivers of graphics processors for those who ask. It
/// answers with a line for each thing found, of fields with tabs between them, and "end" in a line
/// behind them all, without which the answer is not whole.

/// Writes one field, in which no tab and no line end is left, and what is to stand behind it.
void WriteField(std::FILE* answer, const char* text, char behind);

/// "vendor renderer version", or nothing.
void AskOpenGL(std::FILE* answer);

/// "name driver version type vendor device memory" for each device: the type is its number in
/// Vulkan, those behind it are decimal.
void AskVulkan(std::FILE* answer);

#endif  // ZORVEX_PLATFORM_GPUPROBE_PROBE_H
