// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_TCPERROR_H
#define ZORVEX_FOUNDATION_SYSTEM_TCPERROR_H

#include "foundation/threads/processinterface.h"

/// \file
/// The results of the TCP calls, with what LTcpLastError and LTcpLastResolverError tell of them.
/// Each gives the result that it stands for.

/// 0.
int TcpDone();
/// 1.
int TcpStopped();
/// 2, with a number of the system's.
int TcpFailed(int error);
/// 2, with a number of getaddrinfo's; `error` is what goes with EAI_SYSTEM.
int TcpNotFound(int resolverError, int error);

/// Tells the process "Could not WHAT HOST, port PORT: REASON.", the reason being what the last call
/// of the functions above set; nothing when that is EAGAIN and the timeout 0. Gives 2 and leaves
/// the numbers as they are, whatever the process does meanwhile.
int TcpReport(LProcessInterface& process, const char* what, const char* host, unsigned short port,
              unsigned int timeout);

#endif  // ZORVEX_FOUNDATION_SYSTEM_TCPERROR_H
