// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_APPLICATION_H
#define ZORVEX_FOUNDATION_SYSTEM_APPLICATION_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// Where the program that runs, this library and other applications are, and their versions.
///
/// The functions with a `char*` write into 260 bytes and cut longer texts, those with a string
/// replace its text and may throw std::bad_alloc. All are false, with an empty text, when what they
/// ask for is not known. Any thread, as long as none changes the environment meanwhile.

/// The file of the program that runs, with links resolved. Of a file that was replaced or deleted
/// since, it is the path that it had.
ZORVEX_API bool LApplicationGetPath(char* dest);
ZORVEX_API bool LApplicationGetPath(LStringLongTemplate<char>& dest);
/// The folder of that file, without a separator at its end unless it is the root folder.
ZORVEX_API bool LApplicationGetFolder(char* dest);
ZORVEX_API bool LApplicationGetFolder(LStringLongTemplate<char>& dest);
/// The folder of what the program brings along: "Contents/Resources" in the program's folder. The
/// text is given also when there is no such folder, and is never created.
ZORVEX_API bool LApplicationGetResourceFolder(char* dest);
ZORVEX_API bool LApplicationGetResourceFolder(LStringLongTemplate<char>& dest);

/// The file that has this library's code: the shared library, or the program it was linked into.
ZORVEX_API bool LLibraryGetPath(char* dest);
ZORVEX_API bool LLibraryGetPath(LStringLongTemplate<char>& dest);
/// The version of the library that runs, such as "1.2.0". Never null; valid as long as the library
/// is loaded.
ZORVEX_API const char* LLibraryGetVersion();

/// The system and its kernel, for people to read: "Debian GNU/Linux 12 (bookworm), Linux
/// 6.1.0-18-amd64". The kernel's alone where the system does not name itself. May throw
/// std::bad_alloc.
ZORVEX_API bool LSystemGetVersionText(char* dest);
ZORVEX_API bool LSystemGetVersionText(LStringLongTemplate<char>& dest);

/// An application that is installed, as ::LApplicationFind gives it. Each text may be empty.
struct LInstalledApplication {
  char path[260];         ///< its program
  char desktopFile[260];  ///< what describes it to the desktop
  char name[260];         ///< what it is called, in English by convention
  char icon[260];         ///< a name in the desktop's theme of icons, or a path
  char version[260];      ///< of its newest release, by its own description for software centres
};

/// Finds an application for the user. `id` is the name of its desktop file, with or without
/// ".desktop" at the end ("org.gnome.Nautilus"), else the name of a program ("ffmpeg").
///
/// A desktop file is looked for in the folder "applications" of XDG_DATA_HOME and of each of
/// XDG_DATA_DIRS, and counts when it is of an application and names a program that can be run; one
/// that is hidden (Hidden=true) hides those behind it. Its program (Exec) is taken as it is: of
/// one that runs by way of another ("env", "flatpak"), that one is the path. Without a desktop file
/// it is a program along PATH, of which only the path is known.
///
/// The version is in the description (AppStream) that many applications, but by far not all,
/// install beside the desktop file's folder, in "metainfo". No package manager is asked.
///
/// False, with empty texts, when there is no such application, and for an `id` that is empty or has
/// a `/` in it. Longer texts than 259 bytes are cut. May throw std::bad_alloc.
ZORVEX_API bool LApplicationFind(const char* id, LInstalledApplication& application);

#endif  // ZORVEX_FOUNDATION_SYSTEM_APPLICATION_H
