// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_THREADS_SIGNALSBLOCKED_H
#define ZORVEX_FOUNDATION_THREADS_SIGNALSBLOCKED_H

#include <pthread.h>

#include <csignal>

/// Blocks all signals for the calling thread, for a thread that it makes to begin without any: the
/// signals of the process are for its own threads. Not installed.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

#endif  // ZORVEX_FOUNDATION_THREADS_SIGNALSBLOCKED_H
