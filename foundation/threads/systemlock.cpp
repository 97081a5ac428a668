// SPDX-License-Identifier: MIT
#include "foundation/threads/systemlock.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

static_assert(sizeof(key_t) == sizeof(std::uint32_t));

namespace {

constexpr unsigned int pollMilliseconds = 10;

// The platforms disagree on who declares this argument of semctl.
union SemaphoreArgument {
  int value;
  semid_ds* status;
  unsigned short* values;
};

// SEM_UNDO makes the kernel take the change back when the process dies.
bool Change(int semaphoreSet, short difference, int flags) {
  sembuf operation = {
      .sem_num = 0, .sem_op = difference, .sem_flg = static_cast<short>(flags | SEM_UNDO)};
  return semop(semaphoreSet, &operation, 1) == 0;
}

// Its calls are there to be seen in a system call trace: the second one shows, beside our own
// process, the one that has the lock we are about to wait for.
void TraceHolder(int semaphoreSet) {
  if (semctl(semaphoreSet, 0, GETVAL) == 0) {
    semctl(semaphoreSet, 0, GETPID);
    getpid();
  }
}

void SleepOnePoll() {
  timespec remaining = {.tv_sec = 0, .tv_nsec = pollMilliseconds * 1'000'000L};
  while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
  }
}

}  // namespace

LSystemLockMutex::LSystemLockMutex(const char* name) : key_(KeyFromName(name)) {
  // A new set starts at 0, locked, and opens with SETVAL. A process that finds it in between waits
  // as for any other holder.
  semaphoreSet_ = semget(key_, 1, IPC_CREAT | IPC_EXCL | 0666);
  if (semaphoreSet_ != -1) {
    semctl(semaphoreSet_, 0, SETVAL, SemaphoreArgument{.value = 1});
  } else if (errno == EEXIST) {
    semaphoreSet_ = semget(key_, 0, 0);
  }
}

LSystemLockMutex::~LSystemLockMutex() {
  if (semaphoreSet_ != -1) semctl(semaphoreSet_, 0, IPC_RMID);
}

bool LSystemLockMutex::Lock(unsigned int timeout) {
  TraceHolder(semaphoreSet_);
  while (!Change(semaphoreSet_, -1, IPC_NOWAIT)) {
    if (errno != EAGAIN) return false;
    SleepOnePoll();
    if (timeout <= pollMilliseconds) return false;
    timeout -= pollMilliseconds;
  }
  return true;
}

void LSystemLockMutex::LockForever() {
  if (semaphoreSet_ == -1) return;
  TraceHolder(semaphoreSet_);
  while (!Change(semaphoreSet_, -1, 0) && errno == EAGAIN) {
  }
}

void LSystemLockMutex::Unlock() {
  const bool isFree = semctl(semaphoreSet_, 0, GETVAL) > 0;
  if (isFree && semctl(semaphoreSet_, 0, GETPID) == getpid()) return;
  // Forgotten, so that the destructor leaves the set to the processes that wait for it.
  if (Change(semaphoreSet_, 1, 0)) semaphoreSet_ = -1;
}
