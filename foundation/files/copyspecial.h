// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_COPYSPECIAL_H
#define ZORVEX_FOUNDATION_FILES_COPYSPECIAL_H

/// \file
/// Copying what is not opened for it, by its name in a folder. What is in the other folder under
/// the same name, unless it is a folder, is replaced. False with the reason in `errno`; that the
/// source is gone by now is no failure.

/// A link, with what it says and its times.
bool CopyLink(int from, const char* name, int to);

/// A pipe with a name, with its permissions and times. Sockets and devices are left out, which is
/// no failure: they are nothing without the program or the machine that they belong to.
bool CopyPipe(int from, const char* name, int to);

#endif  // ZORVEX_FOUNDATION_FILES_COPYSPECIAL_H
