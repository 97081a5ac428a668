// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TOOLS_OUTPUTFILE_H
#define ZORVEX_TOOLS_OUTPUTFILE_H

#include <string>

/// Makes sure, before a device is touched, that a file can be written under this name: throws
/// Failure when its folder is missing, read-only or full, or when something else is in its place.
/// `what` names the file's purpose in the message. An existing file stays as it is.
void CheckWritable(const std::string& file, const char* what);

/// Whether so little space is left beside the file that a movie has to be ended while its closing
/// parts still fit.
bool IsDiskFull(const std::string& file);

/// Bytes in the file; 0 when there is none.
unsigned long FileBytes(const std::string& file);

#endif  // ZORVEX_TOOLS_OUTPUTFILE_H
