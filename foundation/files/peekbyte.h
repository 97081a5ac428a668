// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_PEEKBYTE_H
#define ZORVEX_FOUNDATION_FILES_PEEKBYTE_H

#include <optional>

/// The next byte of a pipe or a socket, which stays there; waits for it. -1 at the end, or when the
/// descriptor does not block and there is none yet. Nothing when it can not be looked at: for
/// anything else than pipes and sockets, and for a pipe when the process has no descriptors left.
std::optional<int> PeekByte(int descriptor);

#endif  // ZORVEX_FOUNDATION_FILES_PEEKBYTE_H
