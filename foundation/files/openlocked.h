// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_OPENLOCKED_H
#define ZORVEX_FOUNDATION_FILES_OPENLOCKED_H

#include <sys/types.h>

#include "platform/uniquefd.h"

/// Opens a file close-on-exec and takes an exclusive lock on it as one step that does not wait, as
/// open(2) itself does on some systems. Empty with the reason in `errno`: EWOULDBLOCK when somebody
/// else holds a lock. The file is not truncated.
UniqueFd OpenLocked(const char* path, int flags, mode_t mode);

#endif  // ZORVEX_FOUNDATION_FILES_OPENLOCKED_H
