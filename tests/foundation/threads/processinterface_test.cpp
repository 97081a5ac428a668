// SPDX-License-Identifier: MIT
#include "foundation/threads/processinterface.h"

#include <cstring>
#include <sstream>
#include <vector>

#include "foundation/threads/thread.h"
#include "tests/foundation/threads/waiting.h"

namespace {

using Calls = std::vector<std::string>;

/// Writes down each call; the results of the waits count up from 1.
class Recorder final : public LProcessInterface {
 public:
  Calls calls;

  bool IsToStop() override { return Note("IsToStop") == 1; }
  int ProcessWait(unsigned int timeout) override { return Note("Wait", timeout); }
  int ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) override {
    return Note("Signal", signal.ReadDescriptor(), timeout);
  }
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int timeout) override {
    return Note("Group", group.Count(), timeout);
  }
  int ProcessWaitUntilStopped() override { return Note("Wait"); }
  int ProcessWaitSignalForever(LSignalObjectRef signal) override {
    return Note("Signal", signal.ReadDescriptor());
  }
  int ProcessWaitSignalObjectGroupForever(LSignalObjectGroup& group) override {
    return Note("Group", group.Count());
  }
  void SetError(const char* text) override { Note(text); }
  void SetStatus(const char* text, int line) override { Note(text, line); }
  void SetProgress(double fraction) override { Note("Progress", fraction); }
  void SetProgressIndeterminateOn() override { Note("On"); }
  void SetProgressIndeterminateOff() override { Note("Off"); }

 private:
  template <typename... Values>
  int Note(const char* name, Values... values) {
    std::ostringstream line;
    line << name;
    ((line << ' ' << values), ...);
    calls.push_back(line.str());
    return static_cast<int>(calls.size());
  }
};

TEST(ProcessInterfaceTest, CallsArriveAtTheParent) {
  Recorder parents[4];
  LProcessInterfaceNested nested(parents[0]);
  LProcessInterfaceSubProcess part(parents[1], 0.25, 0.25);
  part.Advance();
  LProcessInterfaceSubProcess whole(parents[2], 0.0, 0.25), inner(whole, 0.5, 0.5);
  LProcessInterfaceSubProcess other(parents[3], 0.25, 0.125);
  LProcessInterfaceNested nestedInOther(other);  // not a copy of it
  const struct {
    LProcessInterface& process;
    Calls reports;
  } rows[] = {{nested, {"3 of 4 1", "Progress 0.5", "On", "Off"}},
              {part, {"3 of 4 2", "Progress 0.625"}},
              {inner, {"3 of 4 3", "Progress 0.1875"}},
              {nestedInOther, {"3 of 4 2", "Progress 0.3125"}}};
  for (const auto& row : rows) {
    LSignalObjectGroup group;
    EXPECT_TRUE(row.process.IsToStop());
    EXPECT_EQ(row.process.ProcessWait(1), 2);
    EXPECT_EQ(row.process.ProcessWaitSignal({5, 6}, 2), 3);
    EXPECT_EQ(row.process.ProcessWaitSignalObjectGroup(group, 3), 4);
    EXPECT_EQ(row.process.ProcessWaitUntilStopped(), 5);
    EXPECT_EQ(row.process.ProcessWaitSignalForever({5, 6}), 6);
    EXPECT_EQ(row.process.ProcessWaitSignalObjectGroupForever(group), 7);
    row.process.SetErrorF("%s", std::string(8200, 'x').c_str());
    row.process.SetStatusF(1, "%d of %d", 3, 4);
    row.process.SetProgress(0.5);
    row.process.SetProgressIndeterminateOn();
    row.process.SetProgressIndeterminateOff();
    Calls expected = {"IsToStop", "Wait 1",   "Signal 5 2", "Group 0 3",
                      "Wait",     "Signal 5", "Group 0",    std::string(8191, 'x')};
    expected.insert(expected.end(), row.reports.begin(), row.reports.end());
    EXPECT_EQ(parents[&row - rows].calls, expected);
  }
}

// The offset in the table of virtual functions, as the C++ ABI puts it into a pointer to a member.
template <typename... Functions>
std::vector<std::size_t> Slots(Functions... functions) {
  const auto slot = [](auto function) {
    std::size_t offset = 0;
    memcpy(&offset, &function, sizeof offset);
    return offset / sizeof(void*);
  };
  return {slot(functions)...};
}

TEST(ProcessInterfaceTest, VirtualFunctionsStandInTheirOrder) {
  struct Thread : LThread {
    static auto Work() { return &Thread::ThreadFunction; }
  };
  // 12 and 13 are the destructor.
  EXPECT_EQ(Slots(&Thread::IsToStop, &Thread::ProcessWait, &Thread::ProcessWaitSignal,
                  &Thread::ProcessWaitSignalObjectGroup, &Thread::ProcessWaitUntilStopped,
                  &Thread::ProcessWaitSignalForever, &Thread::ProcessWaitSignalObjectGroupForever,
                  &Thread::SetError, &Thread::SetStatus, &Thread::SetProgress,
                  &Thread::SetProgressIndeterminateOn, &Thread::SetProgressIndeterminateOff,
                  Thread::Work()),
            (std::vector<std::size_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 14}));
}

using ProcessInterfaceVoidTest = WaitingTest;

TEST_F(ProcessInterfaceVoidTest, SleepsItsTimeAndSeesEvents) {
  LProcessInterfaceVoid nobody;
  BlockedThread sleeper(
      [&] { EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(nobody.ProcessWait(1005), 0); }), 1005); });
  EXPECT_TRUE(sleeper.Asleep());
  sleeper.Interrupt();
  LSignalObject event;
  LSignalObjectGroup group;
  group.Add(event);
  for (const int expected : {2, 0}) {
    EXPECT_EQ(nobody.ProcessWaitSignal(event, 0), expected);
    EXPECT_EQ(nobody.ProcessWaitSignalObjectGroup(group, 0), expected);
    EXPECT_EQ(group.Count(), 1U);
    event.Signal();
  }
  EXPECT_EQ(nobody.ProcessWaitSignalForever(event), 0);
}

}  // namespace
