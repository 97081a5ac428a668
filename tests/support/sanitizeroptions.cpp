// SPDX-License-Identifier: MIT
//
// For programs built with sanitizers. The library sets handlers for crashes when it is loaded; the
// sanitizers' own stay instead, so that they report crashes, and libFuzzer keeps the input.
#define ZORVEX_CRASHES "handle_segv=2:handle_sigbus=2:handle_sigfpe=2:handle_sigill=2"
#define ZORVEX_CALLED_FIRST \
  __attribute__((visibility("default"), used, no_sanitize("address", "thread", "undefined")))

extern "C" {

ZORVEX_CALLED_FIRST const char* __asan_default_options() {
  return ZORVEX_CRASHES;
}

ZORVEX_CALLED_FIRST const char* __tsan_default_options() {
  return ZORVEX_CRASHES;
}
}
