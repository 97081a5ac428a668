// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_XDGFOLDERS_H
#define ZORVEX_FOUNDATION_SYSTEM_XDGFOLDERS_H

#include <string>
#include <string_view>
#include <vector>

/// \file
/// Where the desktops that keep to the freedesktop.org conventions have things. May throw
/// std::bad_alloc. Any thread, as long as none changes the environment meanwhile.

/// The parts of a list such as PATH that are not empty.
std::vector<std::string> ListParts(std::string_view list);

/// The folders of data, the user's own first: XDG_DATA_HOME and XDG_DATA_DIRS, or what counts where
/// they are not set. Those that are not absolute are left out.
std::vector<std::string> DataFolders();

/// The path of a program; empty when there is none that can be run. One without a `/` is looked for
/// along PATH.
std::string FindProgram(const std::string& program);

#endif  // ZORVEX_FOUNDATION_SYSTEM_XDGFOLDERS_H
