// SPDX-License-Identifier: MIT
#include "foundation/debug/signalhandlers.h"

#include <cstdlib>

#include "foundation/debug/debug.h"
#include "foundation/text/stringformat.h"

constinit std::atomic<bool> bLLibExceptionAlreadyTrapped = false;

namespace {

using Handler = void (*)(int, siginfo_t*, void*);

void Install(int signal, Handler handler) {
  struct sigaction action = {};
  action.sa_sigaction = handler;
  action.sa_flags = SA_SIGINFO;
  sigfillset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

void IgnoreBrokenPipes() {
  struct sigaction action = {};
  action.sa_handler = SIG_IGN;
  action.sa_flags = SA_RESTART;
  sigfillset(&action.sa_mask);
  sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace

void InstallSignalHandlers() {
  IgnoreBrokenPipes();
  for (const int signal : {SIGQUIT, SIGILL, SIGFPE, SIGSEGV, SIGBUS})
    Install(signal, LDebugSignalHandler);
  for (const int signal : {SIGINT, SIGTERM})
    Install(signal, LIntTermSignalHandler);
}

// exit is not for signal handlers, since what it calls may wait for a lock that the interrupted
// code holds. It is deliberate: what hosts register with atexit runs.
void LDebugSignalHandler(int signal, siginfo_t* /*information*/, void* /*context*/) {
  if (bLLibExceptionAlreadyTrapped.exchange(true)) return;
  // For who looks at this frame in a debugger; it goes no further.
  char text[32];
  tplsnprintf(text, sizeof text, "SIGNAL%d", signal);
  switch (signal) {
    case SIGABRT:
    case SIGFPE:
    case SIGKILL:
    case SIGBUS:
    case SIGSEGV:
      std::exit(666);
    default:
      break;
  }
}

void LIntTermSignalHandler(int signal, siginfo_t* /*information*/, void* /*context*/) {
  if (signal == SIGINT || signal == SIGTERM) std::exit(0);
}
