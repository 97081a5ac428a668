// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_CHILDPIPE_H
#define ZORVEX_FOUNDATION_SYSTEM_CHILDPIPE_H

#include "platform/uniquefd.h"

/// The same descriptor, or a copy that is none of the standard ones: where this process has closed
/// those, whatever it opens may get their numbers, and would be in the way in the child. None when
/// there are no descriptors left, or there was none.
UniqueFd AboveStandardDescriptors(UniqueFd descriptor);

/// /dev/null for reading and writing; as above.
UniqueFd OpenNothing();

/// A pipe on which a child writes and this process reads without ever blocking. Both ends are
/// close-on-exec and none of the standard descriptors.
struct ChildPipe {
  UniqueFd read;
  UniqueFd write;

  /// False when there are no descriptors left.
  bool Open();
};

#endif  // ZORVEX_FOUNDATION_SYSTEM_CHILDPIPE_H
