// SPDX-License-Identifier: MIT
#include "foundation/system/tcperror.h"

#include <netdb.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "foundation/system/tcp.h"

namespace {

struct LastError {
  int system = 0;
  int resolver = 0;
};

thread_local LastError lastError;

}  // namespace

int LTcpLastError() {
  return lastError.system;
}

int LTcpLastResolverError() {
  return lastError.resolver;
}

int TcpDone() {
  lastError = {};
  return 0;
}

int TcpStopped() {
  lastError = {.system = ECANCELED};
  return 1;
}

int TcpFailed(int error) {
  lastError = {.system = error};
  return 2;
}

int TcpNotFound(int resolverError, int error) {
  lastError = {.system = resolverError == EAI_SYSTEM ? error : 0, .resolver = resolverError};
  return 2;
}

int TcpReport(LProcessInterface& process, const char* what, const char* host, unsigned short port,
              unsigned int timeout) {
  const LastError error = lastError;
  if (error.system == EAGAIN && timeout == 0) return 2;
  char late[32];
  std::snprintf(late, sizeof late, "not within %u ms", timeout);
  const char* reason = error.system == EAGAIN ? late
                       : error.system != 0    ? std::strerror(error.system)
                       : error.resolver != 0  ? gai_strerror(error.resolver)
                                              : "the stream ended in the middle";
  process.SetErrorF("Could not %s %s, port %u: %s.", what, host, unsigned{port}, reason);
  lastError = error;
  return 2;
}
