// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_TCPRESOLVE_H
#define ZORVEX_FOUNDATION_SYSTEM_TCPRESOLVE_H

#include <string>
#include <vector>

#include "foundation/system/tcpaddress.h"
#include "foundation/system/tcpwait.h"

/// Looks a name up and appends its addresses, in the order in which they are to be tried. Gives 0
/// or getaddrinfo's number for the failure. May block for long.
using TcpLookup = int (*)(const std::string& host, std::vector<TcpAddress>& addresses);

/// Makes another function the one that looks names up, by getaddrinfo otherwise, and gives the one
/// before; for tests.
TcpLookup TcpSetLookup(TcpLookup lookup);

/// The addresses of a host as LTcpSocket::Connect takes it, each once, with the port. Numeric ones
/// need no thread and no wait. The result as of the calls in tcperror.h; nothing is reported.
int TcpResolve(LProcessInterface& process, const char* host, unsigned short port,
               const TcpDeadline& deadline, std::vector<TcpAddress>& addresses);

#endif  // ZORVEX_FOUNDATION_SYSTEM_TCPRESOLVE_H
