// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_UNIXAPP_H
#define ZORVEX_FOUNDATION_SYSTEM_UNIXAPP_H

#include <cstdint>

#include <zorvex/foundation/export.h>

/// \file
/// What a host's main begins with, and the library's copy of its arguments. For the main thread, at
/// start-up: nothing here has a lock.

/// The number of arguments in ::gargv.
ZORVEX_API extern std::int32_t gargc;

/// The arguments: the host's own strings, which must live on, and a null pointer behind them. Null
/// before ::LUnixAppCopyCommandLineArguments; its array, allocated there, is never freed.
ZORVEX_API extern char** gargv;

/// Prepares the process of a host, with the arguments of its main. In this order: the calling
/// thread gets the debug name "MAIN" (::LDebugThreadDataStartThread); files and folders are from
/// now on created with exactly the permissions asked for (umask 0); the arguments are copied; the
/// locale is read (::LGetLocale); and ::LSetMaximumNumberOfOpenFiles. Always true. May throw
/// std::bad_alloc.
ZORVEX_API bool LUnixAppInitCommon(int argc, char** argv);

/// Copies the arguments into ::gargv, but for a second one (index 1) that begins with "-psn": some
/// desktops add it to what they start. Anywhere else such an argument stays. A second call makes a
/// new array and leaves the old one to who still uses it. May throw std::bad_alloc.
ZORVEX_API void LUnixAppCopyCommandLineArguments(int argc, char** argv);

/// Takes one argument out of ::gargv, which must have been made. `index` is from 0 to gargc - 1.
/// Any larger one only lowers gargc, deliberately: the last argument then stands behind the counted
/// ones in place of the null pointer. A negative one is not checked.
ZORVEX_API void LRemoveCommandLineArgument(int index);

/// Sets the number of files that the process may have open to 1024, deliberately also where it was
/// higher, and leaves the hard limit. A refusal, as where that is below 1024, leaves all as it was.
ZORVEX_API void LSetMaximumNumberOfOpenFiles();

#endif  // ZORVEX_FOUNDATION_SYSTEM_UNIXAPP_H
