// SPDX-License-Identifier: MIT
#include <cstring>

#include "foundation/debug/debug.h"
#include "foundation/debug/debugthreadlookup.h"
#include "foundation/text/stringformat.h"
#include "foundation/threads/mainthread.h"
#include "foundation/threads/systemthread.h"
#include "platform/systemversion.h"

namespace {

constexpr std::size_t kTextSize = 260;

void FormatPlatform(char* out) {
  const SystemVersion version = ReadSystemVersion();
  tplsnprintf(out, kTextSize, "Mac%s%d%02d", "Intel", version.major, version.minor);
}

void FormatCommand(char* out) {
  static constexpr const char* kPhases[] = {"GloIni1", "GuiIni2", "GuiDes3", "GloDes4"};
  const int command = gwDebugCurrentCommand;
  if (command == 0) {
    tplsnprintf(out, kTextSize, "Ukn0(LstCmd%d)", gwDebugLastCommand.load());
  } else if (command >= 1 && command <= 4) {
    tplsnprintf(out, kTextSize, "%s", kPhases[command - 1]);
  } else {
    tplsnprintf(out, kTextSize, "(Cmd%d)", command);
  }
}

void FormatThread(char* out, std::uint32_t threadId) {
  char name[sizeof LDebugThreadData::name + 1] = "Unknown";
  char dialog[sizeof LDebugThreadData::lastDialog] = "";
  char command[kTextSize] = "";
  const LDebugThreadData* const data = FindDebugThread(threadId);
  if (data != nullptr) {
    data->GetName(name);
    data->GetLastDialog(dialog);
    if (*name >= '0' && *name <= '9') *name = '\0';
  }
  if (LIsMainThread()) FormatCommand(command);
  tplsnprintf(out, kTextSize, "%s%s%s", name, dialog, command);
}

}  // namespace

void LDebugGenerateXIString(char* out, const char* prefix, const char* middle) {
  std::uint32_t threadId = 0;
  {
    // Not for the number's sake: who writes a report waits until records are taken or given back.
    const LLockObjectGuard guard(loDebugThreads);
    threadId = static_cast<std::uint32_t>(LSystemThreadId());
  }
  char platform[kTextSize];
  char thread[kTextSize];
  char text[kTextSize];
  FormatPlatform(platform);
  FormatThread(thread, threadId);
  tplsnprintf(text, sizeof text, "%s-%s-%s-%s", prefix, platform, middle, thread);
  std::strcpy(out, text);
}
