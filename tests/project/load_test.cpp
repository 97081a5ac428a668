// SPDX-License-Identifier: MIT
//
// Loads the library into a process that knows nothing of it and checks that nothing happened but
// that it handles the signals that it says: no thread, no file opened, no media framework started,
// no other setting of the process changed.
//   load_test LIBRARY
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <string>
#include <vector>

namespace {

bool isLoading = false;
int failures = 0;

void Check(bool holds, const char* text) {
  if (holds) return;
  std::printf("FAILED: %s\n", text);
  ++failures;
}

// What the loader opens by itself, the shared objects, does not come through here.
int Opened(const char* path) {
  if (isLoading) {
    std::printf("FAILED: opened %s\n", path);
    ++failures;
  }
  errno = ENOENT;
  return -1;
}

struct ProcessState {
  std::vector<std::string> threads, descriptors, environment;
  std::vector<void (*)(int)> handlers;
  std::string locale = std::setlocale(LC_ALL, nullptr);
};

std::vector<std::string> Entries(const char* path) {
  std::vector<std::string> entries;
  DIR* folder = opendir(path);
  while (const dirent* entry = readdir(folder))
    entries.emplace_back(entry->d_name);
  closedir(folder);
  return entries;
}

ProcessState Look() {
  ProcessState state;
  state.threads = Entries("/proc/self/task");
  state.descriptors = Entries("/proc/self/fd");
  for (char** variable = environ; *variable; ++variable)
    state.environment.emplace_back(*variable);
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    state.handlers.push_back(action.sa_handler);
  }
  return state;
}

struct Handled {
  int signal;
  int flags;
  const char* handler;  ///< nothing for one that is ignored
};
constexpr const char* kDebug = "_Z19LDebugSignalHandleriP9siginfo_tPv";
constexpr const char* kEnd = "_Z21LIntTermSignalHandleriP9siginfo_tPv";
constexpr Handled kHandled[] = {{SIGPIPE, SA_RESTART, nullptr}, {SIGQUIT, SA_SIGINFO, kDebug},
                                {SIGILL, SA_SIGINFO, kDebug},   {SIGFPE, SA_SIGINFO, kDebug},
                                {SIGSEGV, SA_SIGINFO, kDebug},  {SIGBUS, SA_SIGINFO, kDebug},
                                {SIGINT, SA_SIGINFO, kEnd},     {SIGTERM, SA_SIGINFO, kEnd}};

bool HasFlagsAndMasksAll(const Handled& handled) {
  struct sigaction action {};
  sigaction(handled.signal, nullptr, &action);
  bool masksAll = true;
  for (int signal = 1; signal < SIGSYS; ++signal)
    masksAll &= signal == SIGKILL || signal == SIGSTOP || sigismember(&action.sa_mask, signal) == 1;
  constexpr int kFlags = SA_SIGINFO | SA_RESTART | SA_ONSTACK | SA_NODEFER | SA_RESETHAND;
  return masksAll && (action.sa_flags & kFlags) == handled.flags;
}

template <class Function>
Function* Symbol(void* library, const char* name) {
  auto* symbol = reinterpret_cast<Function*>(dlsym(library, name));
  Check(symbol, name);
  return symbol;
}

}  // namespace

// In place of the C library's, for everything that is loaded: nothing may call them.
#pragma GCC visibility push(default)
extern "C" {
int open(const char* path, int, ...) {
  return Opened(path);
}
int open64(const char* path, int, ...) {
  return Opened(path);
}
int openat(int, const char* path, int, ...) {
  return Opened(path);
}
FILE* fopen(const char* path, const char*) {
  return Opened(path), nullptr;
}
FILE* fopen64(const char* path, const char*) {
  return Opened(path), nullptr;
}
}
#pragma GCC visibility pop

int main(int, char** arguments) {
  Check(dlsym(RTLD_DEFAULT, "open") == reinterpret_cast<void*>(&open) &&
            dlsym(RTLD_DEFAULT, "fopen") == reinterpret_cast<void*>(&fopen),
        "openings are not watched");
  const ProcessState before = Look();
  isLoading = true;
  const auto start = std::chrono::steady_clock::now();
  void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
  isLoading = false;
  if (!library) {
    std::printf("FAILED: %s\n", dlerror());
    return 1;
  }
  std::printf("loaded in %.1f ms\n", taken.count());

  const auto hasUsedDevices = Symbol<bool()>(library, "ZRVXHasUsedDevices");
  // Found through the library: it is linked with the framework.
  const auto isInitialised = Symbol<int()>(library, "gst_is_initialized");
  if (failures != 0) return 1;
  isLoading = true;
  Check(!hasUsedDevices(), "a device is in use");
  isLoading = false;
  Check(!isInitialised(), "GStreamer was initialised");

  const ProcessState after = Look();
  Check(after.threads == before.threads, "a thread was started");
  Check(after.descriptors == before.descriptors, "a descriptor was left open");
  Check(after.environment == before.environment, "the environment changed");
  ProcessState expected = before;
  for (const Handled& handled : kHandled) {
    expected.handlers[static_cast<std::size_t>(handled.signal - 1)] =
        handled.handler ? Symbol<void(int)>(library, handled.handler) : SIG_IGN;
    Check(HasFlagsAndMasksAll(handled), "a signal's flags or mask");
  }
  Check(after.handlers == expected.handlers, "a signal has another handler than it is said to");
  Check(after.locale == before.locale, "the locale changed");
  dlclose(library);
  return failures == 0 ? 0 : 1;
}
