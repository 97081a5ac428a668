// SPDX-License-Identifier: MIT
#include "foundation/threads/namedevent.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <utility>

#include "tests/foundation/threads/waiting.h"

namespace fs = std::filesystem;

using Waiter = LSignalObjectNamedWaiter;
using Signaller = LSignalObjectNamedSignaller;

namespace {

/// This program, started by a test with the name of an event in its environment, does this only.
[[maybe_unused]] const bool isTest = [] {
  const char* const signalled = std::getenv("SIGNALLED_EVENT");
  const char* const awaited = std::getenv("AWAITED_EVENT");
  if (signalled != nullptr) Signaller(signalled).Signal();
  if (awaited != nullptr) Waiter{awaited};
  if (signalled != nullptr || awaited != nullptr) _exit(7);
  return true;
}();

int connects = 0;
std::function<void()> onConnected;

}  // namespace

extern "C" int connect(int descriptor, const sockaddr* address, socklen_t size) {
  static const auto original = reinterpret_cast<decltype(&connect)>(dlsym(RTLD_NEXT, "connect"));
  const int result = original(descriptor, address, size);
  ++connects;
  if (const auto hook = std::exchange(onConnected, {})) hook();
  return result;
}

namespace {

class NamedEventTest : public WaitingTest {
 protected:
  NamedEventTest() {
    char folder[] = "/tmp/namedevent.XXXXXX";
    home_ = mkdtemp(folder);
    setenv("HOME", folder, 1);
  }
  ~NamedEventTest() override { fs::remove_all(home_); }

  static void InOtherProcess(const char* variable, const char* name) {
    const pid_t child = fork();
    if (child == 0) {
      setenv(variable, name, 1);
      execl("/proc/self/exe", "test", nullptr);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(WEXITSTATUS(status), 7);
  }
  static auto OpenDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  }

  fs::path home_;
};

TEST_F(NamedEventTest, OneProcessSignalsAnother) {
  InOtherProcess("SIGNALLED_EVENT", "name");  // nobody waits
  Waiter waiter("name");
  EXPECT_EQ(waiter.Path(), home_ / "Library/Application Support/name");
  EXPECT_TRUE(waiter.WaitSignal(0) && waiter.AcceptedDescriptor() == -1);
  waiter.Reset();
  InOtherProcess("SIGNALLED_EVENT", "name");
  EXPECT_TRUE(waiter.WaitSignal(LSignalWaitForever));
  const int first = waiter.AcceptedDescriptor();
  char bytes[2] = {};
  EXPECT_TRUE(read(first, bytes, 2) == 1 && bytes[0] == 1 && read(first, bytes, 2) == 0);
  LSignalObjectNamed("name").Signal();
  EXPECT_TRUE(waiter.WaitSignal(LSignalWaitForever) && waiter.AcceptedDescriptor() != -1);
  waiter.Reset();
  EXPECT_EQ(read(waiter.AcceptedDescriptor(), bytes, 2), 0);
  EXPECT_TRUE(waiter.WaitSignal(1) && waiter.AcceptedDescriptor() == -1);
  EXPECT_EQ(fcntl(first, F_GETFD), 0);  // left open, and so to programs that are executed
  EXPECT_EQ(fcntl(waiter.ListeningDescriptor(), F_GETFD), 0);

  BlockedThread blocked([&] { EXPECT_FALSE(waiter.WaitSignal(LSignalWaitForever)); });
  EXPECT_TRUE(blocked.Asleep());
  blocked.Interrupt();
}

TEST_F(NamedEventTest, SocketFilesComeAndGoWithTheSignals) {
  InOtherProcess("AWAITED_EVENT", "name");
  Signaller signaller("name");
  const auto open = OpenDescriptors();
  EXPECT_TRUE(fs::exists(signaller.Path()));
  signaller.Signal();  // there is a socket file, and nobody behind it
  EXPECT_EQ(OpenDescriptors(), open + 1);
  Waiter older("name");
  {
    Waiter newer("name");
    signaller.Signal();
    EXPECT_TRUE(older.WaitSignal(0) && older.AcceptedDescriptor() == -1);
    EXPECT_TRUE(newer.WaitSignal(0) && newer.AcceptedDescriptor() != -1);
  }
  EXPECT_EQ(OpenDescriptors(), open + 3);  // the newer one goes on to listen
  EXPECT_FALSE(fs::exists(signaller.Path()));
  { const Waiter unsignalled("name"); }
  EXPECT_TRUE(fs::exists(signaller.Path()));
  EXPECT_EQ(OpenDescriptors(), open + 4);
}

TEST_F(NamedEventTest, SignalNeitherWaitsNorEndsTheProcess) {
  signal(SIGPIPE, SIG_DFL);  // whatever the process began with
  Waiter waiter("name");
  Signaller signaller("name");
  for (int i = 0; i < 20; ++i)
    signaller.Signal();
  int taken = 0;
  while (waiter.WaitSignal(0) && waiter.AcceptedDescriptor() != -1)
    ++taken;
  EXPECT_GE(taken, 5);
  onConnected = [&] {
    waiter.WaitSignal(0);
    waiter.Reset();  // nothing is there to be read yet
    close(waiter.AcceptedDescriptor());
  };
  signaller.Signal();  // to a closed connection
  EXPECT_TRUE(waiter.WaitSignal(0));
}

TEST_F(NamedEventTest, WhatCannotBeBoundIsNeverSet) {
  const std::size_t room = 107 - std::string(Signaller("").Path()).size();
  for (const std::size_t length : {room, room + 1, std::size_t{2000}}) {
    const std::string name(length, 'x');
    connects = 0;
    Waiter waiter(name.c_str());
    Signaller(name.c_str()).Signal();
    const bool fits = length <= room;
    EXPECT_EQ(connects, fits ? 1 : 0);  // an address without a path would be a name, too
    EXPECT_TRUE((waiter.ListeningDescriptor() != -1) == fits && (*waiter.Path() != '\0') == fits);
    EXPECT_EQ(waiter.WaitSignal(0), fits);
  }
  fs::create_directory(Signaller("folder").Path());
  Waiter waiter("folder");
  EXPECT_TRUE(waiter.ListeningDescriptor() == -1 && !waiter.WaitSignal(1));
  setenv("HOME", (home_ / std::string(200, 'h')).c_str(), 1);
  EXPECT_STREQ(Signaller("name").Path(), "");
}

}  // namespace
