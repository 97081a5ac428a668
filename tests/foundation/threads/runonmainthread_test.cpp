// SPDX-License-Identifier: MIT
#include "foundation/threads/runonmainthread.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include "foundation/threads/queuednotify.h"
#include "foundation/threads/threadnotifyinterface.h"

namespace {

using Dispatcher = LThreadRunOnMainThread;
using ItemData = LThreadRunOnMainThreadData;
using Function = std::function<void()>;

bool posts = false;
std::string calls;

/// What a host does. Without a dispatcher the parameter is left out.
void Post(Dispatcher* dispatcher, ItemData* item, EventRef* posted = nullptr) {
  EventRef event = CreateEvent(Dispatcher::kEventClass, Dispatcher::kEventKind);
  const auto set = [&](std::uint32_t name, const void* pointer) {
    SetEventParameter(event, name, typeVoidPtr, sizeof(void*), &pointer);
  };
  set(Dispatcher::kItemParameter, item);
  if (dispatcher != nullptr) set(Dispatcher::kDispatcherParameter, dispatcher);
  PostEventToQueue(GetMainEventQueue(), event);
  posted != nullptr ? void(*posted = event) : ReleaseEvent(event);
}

}  // namespace

// What the library would discard is posted, when the test wants to see it.
#define RUN_ON_MAIN_THREAD(prefix) \
  prefix##_ZN22LThreadRunOnMainThread15RunOnMainThreadEP26LThreadRunOnMainThreadData
extern "C" void RUN_ON_MAIN_THREAD(__real_)(Dispatcher*, ItemData*);
extern "C" void RUN_ON_MAIN_THREAD(__wrap_)(Dispatcher* dispatcher, ItemData* item) {
  posts ? Post(dispatcher, item) : RUN_ON_MAIN_THREAD(__real_)(dispatcher, item);
}

namespace {

struct Item : ItemData {
  Item(std::string itsName, Function whenRun, Function whenDestroyed)
      : name(std::move(itsName)), run(std::move(whenRun)), destroyed(std::move(whenDestroyed)) {}
  ~Item() override { calls += '~' + name, destroyed(); }
  void MainThreadFunction() override { calls += name, run(); }
  const std::string name;
  const Function run, destroyed;
};

ItemData* NewItem(
    const char* name, Function run = [] {}, Function destroyed = [] {}) {
  return new Item(name, std::move(run), std::move(destroyed));
}

class RunOnMainThreadTest : public testing::Test {
 protected:
  RunOnMainThreadTest() { calls.clear(), Dispatcher::Init(); }
  ~RunOnMainThreadTest() override {
    posts = false;
    Dispatcher::Destroy();
    EXPECT_EQ(Waiting(), 0u);
  }
  static std::size_t Waiting() { return GetNumEventsInQueue(GetMainEventQueue()); }
  /// What was done so far.
  static std::string Done() { return std::exchange(calls, ""); }
  /// What was done while a host's main loop ran until nothing was left.
  static std::string Run() {
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    const auto quit = [](void* data) -> gboolean {
      if (Waiting() == 0) g_main_loop_quit(static_cast<GMainLoop*>(data));
      return Waiting() != 0;
    };
    g_idle_add(quit, loop);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    return Done();
  }
};

TEST_F(RunOnMainThreadTest, EventsKeepToTheirDispatcher) {
  Dispatcher a, b;
  a.RunOnMainThread(nullptr);
  a.RunOnMainThread(NewItem("dropped"));
  EXPECT_EQ(Done(), "~dropped");
  const std::unique_ptr<ItemData> stray(NewItem("stray"));
  for (const bool flushes : {false, true}) {
    EventRef seen = nullptr;
    Post(&a, NewItem("a1"), &seen);
    Post(&b, NewItem("b1"));
    Post(&a, nullptr);
    Post(&a, NewItem("a2"));
    Post(nullptr, stray.get());
    if (flushes) a.ClearPendingEvents();
    EXPECT_EQ(Waiting(), flushes ? 2u : 5u);
    if (flushes) SendEventToEventTarget(seen, GetApplicationEventTarget());
    ReleaseEvent(seen);
    EXPECT_EQ(Run(), flushes ? "~a1~a2b1~b1" : "a1~a1b1~b1a2~a2");
  }
  Post(&b, NewItem("early"));
  b.ThreadRunOnMainThreadDestroy();
  EXPECT_EQ(Done(), "~early");
  Post(&b, NewItem("late"));
  b.ClearPendingEvents();
  EXPECT_EQ(Waiting(), 1u);
  EXPECT_EQ(Run(), "~late");
}

TEST_F(RunOnMainThreadTest, ItemsMayFlushPostAndDestroyTheirDispatcher) {
  auto a = std::make_unique<Dispatcher>();
  const auto clear = [&] { a->ClearPendingEvents(); };
  const auto clearAndPost = [&] { clear(), Post(a.get(), NewItem("again")); };
  Post(a.get(), NewItem("flushes", clear));
  Post(a.get(), NewItem("flushed"));
  EXPECT_EQ(Run(), "flushes~flushed~flushes");
  Post(a.get(), NewItem("1", clear, clearAndPost));
  Post(a.get(), NewItem("2", clear, clear));
  Post(a.get(), NewItem("3"));
  clear();
  EXPECT_EQ(Done(), "~1~2~3");
  EXPECT_EQ(Run(), "again~again");
  Post(a.get(), NewItem("ends", [&] { a->ThreadRunOnMainThreadDestroy(), a.reset(); }));
  Post(a.get(), NewItem("ended"));
  EXPECT_EQ(Run(), "ends~ended~ends");
}

struct Target : LThread {
  void SetError(const char* text) override { calls += std::string("error ") + text; }
  void SetStatus(const char* text, int line) override {
    calls += std::to_string(line) + ": " + text;
    isTorn |= std::string(text).find_first_not_of(*text) != std::string::npos;
  }
  void SetProgress(double fraction) override {
    calls += (std::ostringstream() << fraction).str() + ' ';
  }
  void SetProgressIndeterminateOn() override { calls += "on "; }
  void SetProgressIndeterminateOff() override { calls += "off "; }
  void ThreadFunction() override {}
  bool isTorn = false;
};

struct Reporter : LThreadNotifyInterface {
  using LThreadNotifyInterface::LThreadNotifyInterface;
  ~Reporter() override { StopThreadNow(), QueuedNotifyDataHandlerDestroy(); }
  void ThreadFunction() override { work(); }
  Function work;
};

TEST_F(RunOnMainThreadTest, ReportsAreReplayed) {
  const std::string text(300, 'x'), cut(259, 'x');
  const struct {
    std::function<void(Reporter&)> report;
    std::string replayed;
  } rows[] = {
      {[&](Reporter& to) { to.SetError("e"), to.SetError(text.c_str()); }, "error eerror " + text},
      {[](Reporter& to) { to.SetStatus("a", 0), to.SetStatus("b", 0); }, "0: b0: b"},
      {[](Reporter& to) { to.SetStatus("c", 1), to.SetStatus("d", 0), to.SetStatus("e", 2); },
       "1: c0: d"},
      {[&](Reporter& to) { to.SetStatus(text.c_str(), 1), to.SetStatus("", -1); }, "1: " + cut},
      {[](Reporter& to) { to.SetProgress(0.5), to.SetProgress(0.999); }, "0.5 0.99 "},
      {[](Reporter& to) { to.SetProgress(-0.009), to.SetProgress(-0.01); }, "0 1.84467e+17 "},
      {[](Reporter& to) { to.SetProgress(21474836.47), to.SetProgress(21474836.48); },
       "2.14748e+07 1.84467e+17 "},
      {[](Reporter& to) { to.SetProgress(0.0 / 0.0); }, "1.84467e+17 "},
      {[](Reporter& to) { to.SetProgressIndeterminateOn(), to.SetProgressIndeterminateOff(); },
       "on off "},
      {[](Reporter& to) { to.PostNotifyFromSender(0, nullptr, 5); }, ""},
      {[](Reporter& to) { to.PostNotifyFromSender(6, "x", 2); }, ""},
      {[](Reporter& to) { to.SetTarget(nullptr), to.SetProgress(1); }, ""},
      {[](Reporter& to) { to.SetHandler(nullptr), to.SetError("x"), to.SetStatus("x", 0); }, ""},
  };
  Target target;
  for (const auto& row : rows) {
    Reporter reporter(&target);
    for (const bool isPosted : {false, true}) {
      posts = isPosted;
      row.report(reporter);
      EXPECT_EQ(Run(), isPosted ? row.replayed : "") << &row - rows;
    }
  }
}

struct Notified : LThreadQueuedNotify {
  void EvQueuedNotify() override { calls += '!'; }
};

TEST_F(RunOnMainThreadTest, ThreadsReportWhileTheMainThreadReplays) {
  Notified notified;
  Target target;
  Reporter first(&target), second(&target, &first);  // the second one's messages are the first's
  posts = true;
  first.SetStatus("-", 0);
  first.SetStatus("-", 1);
  first.work = second.work = [&] {
    for (unsigned int i = 0; i < 200; ++i)
      first.SetStatus(std::string(200 + i, static_cast<char>('a' + i % 26)).c_str(), i % 2);
    second.SetProgress(1);
    notified.PostQueueNotify();
  };
  first.Start(0);
  second.Start(0);
  std::string done;
  while (std::ranges::count(done, '!') < 2)
    done += Run();
  EXPECT_EQ(std::ranges::count(done, ':'), 402);
  EXPECT_FALSE(target.isTorn);
  // What waits at the end is thrown away with its dispatcher.
  second.SetProgress(1);
  notified.PostQueueNotify();
  notified.ThreadQueuedNotifyDestroy();
  EXPECT_EQ(Waiting(), 1u);
}

}  // namespace
