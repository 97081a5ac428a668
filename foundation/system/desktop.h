// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_DESKTOP_H
#define ZORVEX_FOUNDATION_SYSTEM_DESKTOP_H

#include <zorvex/foundation/export.h>

/// \file
/// What the user's desktop is asked for. Each function starts a program of the desktop, found along
/// PATH, with a vector of arguments, never by way of a shell, and returns without waiting for it.
/// True means that the program was started; whether a window came of it, nobody tells. May throw
/// std::bad_alloc. Any thread, as long as none changes the environment meanwhile.

/// Opens an address in the user's web browser, or a "mailto" address in their mail program.
///
/// Let through are "http" and "https" addresses with a host, "mailto" addresses, and "file"
/// addresses of pages on this machine (their paths end with .html, .htm or .xhtml). For all others,
/// and for those with control characters, it is false and nothing is started, so that a text that
/// comes from elsewhere can neither become an option nor run or open something else. Spaces, bytes
/// beyond ASCII and others that addresses may not contain are encoded, as is a '%' that is not
/// followed by two hexadecimal digits; the rest is handed on as it is.
///
/// Tried in this order are `xdg-open`, `gio open`, the commands of the environment's BROWSER (with
/// `:` between them; spaces divide a command's arguments, no other sign is special, and "%s" stands
/// for the address, which is else appended), `sensible-browser` and `x-www-browser`.
ZORVEX_API bool LOpenWebPage(const char* address);

/// Shows a file or a folder, selected, in the desktop's file manager. Where no file manager is
/// installed that can be told (`gdbus` or `dbus-send`, the interface org.freedesktop.FileManager1),
/// the folder that it is in is opened instead, by `xdg-open` or `gio open`.
///
/// A path that does not begin with `/` begins in the process's current folder. Any byte may be in
/// it. A link is shown itself, not what it leads to. False when there is no such file, and when
/// none of these programs can be started.
ZORVEX_API bool LRevealFile(const char* path);

/// Opens the desktop's settings, at a pane:
///
///     about bluetooth camera datetime display keyboard language microphone mouse network
///     notifications power printers sound users
///
/// Those of GNOME, KDE and Xfce are known, under the desktop that XDG_CURRENT_DESKTOP names; under
/// another one, those of the first of them that is installed. Where a desktop has no such pane, its
/// settings are opened without one. False for other names, and when none can be started.
ZORVEX_API bool LOpenSettingsPane(const char* pane);

#endif  // ZORVEX_FOUNDATION_SYSTEM_DESKTOP_H
