// SPDX-License-Identifier: MIT
#include "foundation/files/childwait.h"

#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "foundation/threads/signalsblocked.h"

namespace {

constexpr unsigned int kNoLimit = 4294967295;

int Wait(int pid, int options) {
  int status = 0;
  pid_t ended = 0;
  do {
    ended = waitpid(pid, &status, options);
  } while (ended < 0 && errno == EINTR);
  return ended == pid ? status : -1;
}

/// What the waiting thread and its starter share; whoever leaves last frees it.
class Outcome {
 public:
  void Set(int status) {
    const std::lock_guard lock(mutex_);
    status_ = status;
    isSet_.notify_one();
  }
  int WaitFor(unsigned int timeoutMs) {
    std::unique_lock lock(mutex_);
    isSet_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                    [&] { return status_.has_value(); });
    return status_.value_or(-1);
  }

 private:
  std::mutex mutex_;
  std::condition_variable isSet_;
  std::optional<int> status_;
};

template <typename Call>
int WaitOnOwnThread(Call call, unsigned int timeoutMs) {
  if (timeoutMs == kNoLimit) return call();
  std::shared_ptr<Outcome> outcome;
  try {
    outcome = std::make_shared<Outcome>();
    const SignalsBlocked blocked;
    std::thread([outcome, call] { outcome->Set(call()); }).detach();
  } catch (const std::exception&) {
    // No threads or memory left: what cannot be waited for elsewhere is waited for here.
    return call();
  }
  return outcome->WaitFor(timeoutMs);
}

}  // namespace

int WaitForChild(int pid, unsigned int timeoutMs) {
  return WaitOnOwnThread([pid] { return Wait(pid, 0); }, timeoutMs);
}

int ClosePipeStream(std::FILE* stream, unsigned int timeoutMs) {
  return WaitOnOwnThread([stream] { return pclose(stream); }, timeoutMs);
}
