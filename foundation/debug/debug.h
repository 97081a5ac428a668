// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_DEBUG_DEBUG_H
#define ZORVEX_FOUNDATION_DEBUG_DEBUG_H

#include <signal.h>

#include <atomic>
#include <cstdint>

#include <zorvex/foundation/debug/debugthread.h>
#include <zorvex/foundation/debug/hangdetector.h>
#include <zorvex/foundation/export.h>

/// \file
/// Crashes, hangs and what bug reports say of them.
///
/// **Signals.** Loading the library sets these dispositions for the process, each with a mask of
/// all signals. A host that wants others sets them afterwards, at the beginning of main, say; what
/// a program set before it loads the library is lost, and so is that it was started with SIGINT
/// ignored.
///
/// | signals                                 | disposition             | flags      |
/// |-----------------------------------------|-------------------------|------------|
/// | SIGPIPE                                 | ignored                 | SA_RESTART |
/// | SIGQUIT, SIGILL, SIGFPE, SIGSEGV, SIGBUS| ::LDebugSignalHandler   | SA_SIGINFO |
/// | SIGINT, SIGTERM                         | ::LIntTermSignalHandler | SA_SIGINFO |
///
/// That SIGPIPE is ignored is handed on to programs that the host starts by itself; those started
/// by this library get the default back.
///
/// Both handlers end the process with exit(3), on the thread that got the signal: functions
/// registered with atexit and the destructors of static objects run there, while the other threads
/// go on. Where the interrupted code held a lock that one of them needs, the process hangs. Its
/// parent cannot tell SIGINT and SIGTERM from a normal end. There is no stack for signals, so that
/// running out of stack ends the process at once.

/// The system's number for the thread that loaded the library.
ZORVEX_API extern std::uint32_t gdwMainThreadId;

/// The number of the command that the application carries out, for ::LDebugGenerateXIString. This
/// one and that of the command before are 1 and 0 when the library is loaded.
ZORVEX_API extern std::atomic<int> gwDebugCurrentCommand;
/// The one before; see gwDebugCurrentCommand.
ZORVEX_API extern std::atomic<int> gwDebugLastCommand;

/// Set by the first crash signal that was handled.
ZORVEX_API extern std::atomic<bool> bLLibExceptionAlreadyTrapped;

/// The first signal that comes here ends the process with exit(666), which its parent sees as 154,
/// if it is SIGABRT, SIGFPE, SIGKILL, SIGBUS or SIGSEGV. For SIGQUIT and SIGILL, and for every
/// later signal of any kind, nothing is done, deliberately: an illegal instruction, and a crash in
/// what exit calls, is then tried again without end.
ZORVEX_API void LDebugSignalHandler(int signal, siginfo_t* information, void* context);

/// exit(0) for SIGINT and SIGTERM; for others nothing.
ZORVEX_API void LIntTermSignalHandler(int signal, siginfo_t* information, void* context);

/// LHangDetector::InitAndTest of the process's hang detector.
ZORVEX_API bool LDebugHangDetectorInit(LHangRecord* previous = nullptr);
/// LHangDetector::Destroy of it. The end of the process does the same.
ZORVEX_API void LDebugHangDetectorDestroy();

/// The page for bug reports, of which up to 2084 bytes are kept. Null or empty, which it is at
/// first, stands for the environment's ZORVEX_BUG_REPORT_PAGE. Any thread.
ZORVEX_API void LDebugSetBugReportPage(const char* address);

/// Opens the page for bug reports in the user's web browser (::LOpenWebPage) with the query
/// "software=LZorvex&version=8&xi=AbTermOrHang-MacXYY&iid=ID": the system's version (6.1 is 601)
/// and the user setting "IID" of the section "Software", URL-encoded. A page that has a query
/// already is continued with '&'. What is longer than 2084 bytes is cut. Without a page nothing
/// happens. The argument makes no difference. May throw std::bad_alloc.
ZORVEX_API void LDebugHangDetectorBugReport(bool);

/// Writes what a bug report is known by to `out`, which has 260 bytes and may be one of the other
/// texts: "PREFIX-MacIntelXYY-MIDDLE-THREAD". XYY is the system's version (6.1 is 601); "MacIntel"
/// stands there on every machine. THREAD is
///  - the calling thread's name, nothing when that begins with a digit, "Unknown" without a record;
///  - its last dialog;
///  - on the main thread the command that gwDebugCurrentCommand tells: "Ukn0(LstCmdN)" with the
///  last
///    command for 0, "GloIni1", "GuiIni2", "GuiDes3" and "GloDes4" for 1 to 4, "(CmdN)" for others.
///
/// Null texts read as empty ones. Any thread.
ZORVEX_API void LDebugGenerateXIString(char* out, const char* prefix, const char* middle);

/// Prints to the standard error stream, as the C library's printf does, and flushes it. What is
/// longer than 511 bytes is cut. Any thread.
ZORVEX_API void OutputDebugStringF(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif  // ZORVEX_FOUNDATION_DEBUG_DEBUG_H
