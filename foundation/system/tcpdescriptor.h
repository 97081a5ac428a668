// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_TCPDESCRIPTOR_H
#define ZORVEX_FOUNDATION_SYSTEM_TCPDESCRIPTOR_H

#include "foundation/system/tcpaddress.h"
#include "platform/uniquefd.h"

/// \file
/// Where the systems differ. All descriptors made here are non-blocking and closed on exec. Nothing
/// and `errno` when the system refuses.

/// A stream socket of the family, AF_INET or AF_INET6; one of IPv6 keeps off IPv4.
UniqueFd TcpMakeSocket(int family);
/// A connection that waits at a listening socket, and the address of its other end.
UniqueFd TcpAcceptFrom(int listening, TcpAddress& peer);
/// Makes a descriptor that comes from elsewhere what the others are.
bool TcpMakeNonBlocking(int descriptor);

/// A descriptor that is readable while one of the sockets which TcpWatch was told of can be written
/// to, or has failed. The process interface waits for readable descriptors only; this makes the end
/// of a connection attempt, and room for sending, one of those. A socket that is closed is not
/// watched any more.
UniqueFd TcpMakeWritableWatch();
bool TcpWatch(const UniqueFd& watch, int socket);

/// Whether a socket can be written to, or has failed, at the moment.
bool TcpIsWritable(int socket);

#endif  // ZORVEX_FOUNDATION_SYSTEM_TCPDESCRIPTOR_H
