// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_APPLICATION_H
#define ZORVEX_PLATFORM_APPLICATION_H

#include <cstddef>
#include <string>

/// \file
/// What the system tells of programs and of itself. Any thread. The paths are absolute, written
/// into `size` bytes with the terminator and cut when they are longer; when they are not known it
/// is false, and `dest` empty. Those of files that have been replaced or deleted since they were
/// loaded are the paths that they had.

/// The file of the program that runs. Allocates nothing.
bool ReadProgramPath(char* dest, std::size_t size);

/// The file of the program or library that has the code at `address`.
bool ReadModulePath(const void* address, char* dest, std::size_t size);

/// The name and the version of the system as the user knows them, and then those of its kernel:
/// "Name 12 (codename), Linux 6.1.0-18-amd64". The kernel's alone where there is no other.
std::string ReadSystemName();

#endif  // ZORVEX_PLATFORM_APPLICATION_H
