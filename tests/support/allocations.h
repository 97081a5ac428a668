// SPDX-License-Identifier: MIT
#ifndef ZORVEX_TESTS_SUPPORT_ALLOCATIONS_H
#define ZORVEX_TESTS_SUPPORT_ALLOCATIONS_H

/// How often the calling thread has allocated through operator new: C++ code, the library's own
/// among it, but not GStreamer, which allocates in C.
long AllocationsOfThisThread();

#endif  // ZORVEX_TESTS_SUPPORT_ALLOCATIONS_H
