// SPDX-License-Identifier: MIT
#ifndef ZORVEX_CAPTURE_CONTAINED_H
#define ZORVEX_CAPTURE_CONTAINED_H

#include <cxxabi.h>

/// Runs `body` for a caller that must not see exceptions: one gives `failure`. The unwinding of a
/// cancelled thread is no exception and goes on.
template <class Result, class Body>
Result Contained(Result failure, Body body) {
  try {
    return body();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    return failure;
  }
}

#endif  // ZORVEX_CAPTURE_CONTAINED_H
