// SPDX-License-Identifier: MIT
#include "foundation/system/tcpresolve.h"

#include <netdb.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <new>
#include <system_error>
#include <thread>

#include "foundation/system/tcperror.h"
#include "foundation/threads/signalsblocked.h"

namespace {

// AI_ADDRCONFIG is left away: it would hide ::1 on machines whose only IPv6 address that is, and an
// address that cannot be reached fails at once when it is tried.
int GetAddresses(const std::string& host, int flags, std::vector<TcpAddress>& addresses) {
  addrinfo hints = {};
  hints.ai_flags = flags;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* first = nullptr;
  const int error = getaddrinfo(host.c_str(), nullptr, &hints, &first);
  if (error != 0) return error;
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(first, &freeaddrinfo);
  for (const addrinfo* entry = first; entry != nullptr; entry = entry->ai_next)
    addresses.emplace_back(entry->ai_addr, entry->ai_addrlen);
  return 0;
}

int LookUpName(const std::string& host, std::vector<TcpAddress>& addresses) {
  return GetAddresses(host, 0, addresses);
}

std::atomic<TcpLookup> lookUpName = LookUpName;

/// A lookup on a thread of its own. The thread and who waits for it share this; who leaves last
/// frees it.
struct PendingLookup {
  TcpLookup lookUp;
  std::string host;
  std::vector<TcpAddress> addresses;
  int resolverError = 0;
  int error = 0;
  // Beside the event, which is a pipe: the memory model knows nothing of pipes.
  std::atomic<bool> isDone = false;
  LSignalObject done;

  void Run() {
    try {
      resolverError = lookUp(host, addresses);
      error = errno;
    } catch (const std::bad_alloc&) {
      resolverError = EAI_MEMORY;
    }
    isDone = true;
    done.Signal();
  }
};

int ResolveName(LProcessInterface& process, const std::string& host, const TcpDeadline& deadline,
                std::vector<TcpAddress>& addresses) {
  const auto pending = std::make_shared<PendingLookup>();
  pending->lookUp = lookUpName;
  pending->host = host;
  if (pending->done.ReadDescriptor() < 0) return TcpFailed(EMFILE);
  process.SetStatusF(0, "Looking up %s", host.c_str());
  try {
    const SignalsBlocked blocked;
    // Neither an LDetachedThread nor joined: its owner would wait for a name server when the
    // process ends.
    std::thread([pending] { pending->Run(); }).detach();
  } catch (const std::system_error&) {
    // No thread to be had, for now.
    return TcpNotFound(EAI_AGAIN, 0);
  }
  const int waited = TcpWait(process, pending->done.ReadDescriptor(), deadline);
  if (waited != 0) return waited;
  // The signal comes after it; this waits for nothing but makes what the thread wrote visible.
  if (!pending->isDone) return TcpFailed(EIO);
  if (pending->resolverError != 0) return TcpNotFound(pending->resolverError, pending->error);
  addresses = std::move(pending->addresses);
  return TcpDone();
}

void KeepEachOnce(std::vector<TcpAddress>& addresses) {
  auto end = addresses.begin();
  for (const TcpAddress& address : addresses) {
    if (std::find(addresses.begin(), end, address) == end) *end++ = address;
  }
  addresses.erase(end, addresses.end());
}

}  // namespace

TcpLookup TcpSetLookup(TcpLookup lookup) {
  return lookUpName.exchange(lookup);
}

int TcpResolve(LProcessInterface& process, const char* host, unsigned short port,
               const TcpDeadline& deadline, std::vector<TcpAddress>& addresses) {
  std::string name(host);
  const bool isBracketed = name.size() > 2 && name.front() == '[' && name.back() == ']';
  if (isBracketed) name = name.substr(1, name.size() - 2);
  // No name has a colon, but every IPv6 address; and brackets are for those alone.
  const bool isIpV6 = name.find(':') != std::string::npos;
  if (name.empty() || (isBracketed && !isIpV6)) return TcpNotFound(EAI_NONAME, 0);
  const int error = GetAddresses(name, AI_NUMERICHOST, addresses);
  if (error != 0 && isIpV6) return TcpNotFound(error, errno);
  if (error != 0) {
    const int resolved = ResolveName(process, name, deadline, addresses);
    if (resolved != 0) return resolved;
  }
  for (TcpAddress& address : addresses)
    address.SetPort(port);
  KeepEachOnce(addresses);
  if (addresses.empty()) return TcpNotFound(EAI_NONAME, 0);
  return TcpDone();
}
