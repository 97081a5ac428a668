// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_USERS_H
#define ZORVEX_FOUNDATION_SYSTEM_USERS_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/text/stringlong.h>

/// \file
/// Who runs this process, and on which computer. "The user" is the effective one everywhere, whose
/// permissions count.
///
/// All but LIsRootUser and LGetUserId ask the system's database, which may be one on the network:
/// they may take a while, and are asked anew each time. A user need not be in it, as in many
/// containers: then the number, in decimal digits, is the name.
///
/// A text goes either into a buffer of 260 bytes, cut to 259, or into a string, in full. Strings
/// throw std::bad_alloc, and so does what reads the database, when there is no memory. Any thread
/// may call anything here.

/// Whether the user is root: whether nearly everything is permitted.
ZORVEX_API bool LIsRootUser();

/// Whether the user may become root by giving his own password, as far as that can be told without
/// trying it: he is root, or the database has him as a member of one of the groups "sudo", "wheel"
/// and "admin", to which the systems' rules for sudo and polkit give that right. An administrator
/// may have made other rules, in files that users may not read.
ZORVEX_API bool LIsAdminUser();

/// Whether the database has the user as a member of that group; it counts also when he became one
/// after he logged in. A user that is not in the database has the groups of this process. False
/// when there is no such group.
ZORVEX_API bool LIsUserInGroup(const char* group);

/// The user's number; 0 is root.
ZORVEX_API unsigned int LGetUserId();

/// The name that the user logs in with. False when he is not in the database; the text is his
/// number then.
ZORVEX_API bool LGetUserName(char* dest);
ZORVEX_API bool LGetUserName(LStringLongTemplate<char>& dest);

/// The user's name in life, "Ada Lovelace". False when the database has none for him; the text is
/// then what LGetUserName gives. It is as whoever entered it wrote it, mostly in UTF-8.
ZORVEX_API bool LGetUserFullName(char* dest);
ZORVEX_API bool LGetUserFullName(LStringLongTemplate<char>& dest);

/// The name of another user by his number, as LGetUserName gives it.
ZORVEX_API bool LGetUserNameOf(unsigned int userId, char* dest);
ZORVEX_API bool LGetUserNameOf(unsigned int userId, LStringLongTemplate<char>& dest);

/// The name of the computer in the network, with or without its domain, as it is set up. False when
/// it has none; the text is "localhost" then.
ZORVEX_API bool LGetComputerName(char* dest);
ZORVEX_API bool LGetComputerName(LStringLongTemplate<char>& dest);

#endif  // ZORVEX_FOUNDATION_SYSTEM_USERS_H
