// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_EXPORT_H
#define ZORVEX_FOUNDATION_EXPORT_H

/// Marks what the shared library exports; everything else is hidden.
#define ZORVEX_API __attribute__((visibility("default")))

/// Takes a member of an exported class back out of the exports.
#define ZORVEX_HIDDEN __attribute__((visibility("hidden")))

#endif  // ZORVEX_FOUNDATION_EXPORT_H
