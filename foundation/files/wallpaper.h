// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_WALLPAPER_H
#define ZORVEX_FOUNDATION_FILES_WALLPAPER_H

#include "foundation/files/pathtext.h"
#include "platform/systemversion.h"

/// The shell command that makes an image the desktop's background on a system of this version.
/// False, with an empty command, when the path cannot be put into it: it is too long, or it has a
/// character that would be more than itself to the shell or to the program that the shell starts.
bool FormWallpaperCommand(char (&command)[kPathSize], const SystemVersion& version,
                          const char* imagePath);

#endif  // ZORVEX_FOUNDATION_FILES_WALLPAPER_H
