// SPDX-License-Identifier: MIT
#include "foundation/system/tcp.h"

#include <fcntl.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <sstream>

#include "foundation/files/pipe.h"
#include "foundation/system/tcpdescriptor.h"
#include "foundation/system/tcpresolve.h"
#include "foundation/threads/thread.h"
#include "tests/foundation/threads/waiting.h"

namespace {

constexpr unsigned int kLong = 30000;  // for failure only

/// Is to stop from its nth look on, or when it is told to, and keeps what it is told.
class Watcher final : public LThread {
 public:
  explicit Watcher(int looksBeforeStop = 1 << 30) : looksLeft(looksBeforeStop) {}
  bool IsToStop() override { return looksLeft-- <= 0 || LThread::IsToStop(); }
  int ProcessWait(unsigned int timeout) override {
    return looksLeft-- <= 0 ? 1 : LThread::ProcessWait(timeout);
  }
  int ProcessWaitSignal(LSignalObjectRef signal, unsigned int timeout) override {
    if (beforeWait) beforeWait();
    return looksLeft-- <= 0 ? 1 : LThread::ProcessWaitSignal(signal, timeout);
  }
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int timeout) override {
    return looksLeft-- <= 0 ? 1 : LThread::ProcessWaitSignalObjectGroup(group, timeout);
  }
  void SetError(const char* text) override { error = text; }
  void SetProgress(double fraction) override { progress.push_back(fraction); }

  int looksLeft;
  std::string error;
  std::vector<double> progress;
  std::function<void()> beforeWait;

 private:
  void ThreadFunction() override {}
};

template <typename Value>
void SetOption(int socket, int option, Value value) {
  EXPECT_EQ(setsockopt(socket, SOL_SOCKET, option, &value, sizeof value), 0);
}

TcpAddress Numeric(const std::string& host, unsigned short port) {
  LProcessInterfaceVoid process;
  std::vector<TcpAddress> addresses;
  EXPECT_EQ(TcpResolve(process, host.c_str(), port, TcpDeadline(0), addresses), 0) << host;
  return addresses.at(0);
}

/// A listening socket of the system's own; a silent one has no place for one more connection, so
/// that an attempt gets no answer.
class PlainServer {
 public:
  explicit PlainServer(const char* host, bool isSilent = false, unsigned short port = 0)
      : socket_(TcpMakeSocket(Numeric(host, port).Family())) {
    const TcpAddress address = Numeric(host, port);
    EXPECT_EQ(bind(socket_.Get(), address.Get(), address.Size()), 0);
    listen(socket_.Get(), isSilent ? 0 : 16);
    for (int filled = 0; isSilent && filled < 3; ++filled) {
      fillers_.push_back(TcpMakeSocket(address.Family()));
      EXPECT_EQ(connect(fillers_.back().Get(), Address().Get(), Address().Size()), -1);
    }
  }
  TcpAddress Address() const { return TcpAddress::OwnOf(socket_.Get()); }
  unsigned short Port() const { return Address().Port(); }
  UniqueFd Accept() const {
    LSignalObjectRef(socket_.Get(), -1).WaitSignal(kLong);
    return UniqueFd(accept(socket_.Get(), nullptr, nullptr));  // blocking
  }

 private:
  UniqueFd socket_;
  std::vector<UniqueFd> fillers_;
};

/// Our end of a connection, and a plain one.
struct Pair {
  Pair() {
    const PlainServer server("127.0.0.1");
    EXPECT_EQ(ours.Connect(process, "127.0.0.1", server.Port(), kLong), 0) << process.error;
    theirs = server.Accept();
    peer = " 127.0.0.1, port " + std::to_string(server.Port());
  }
  void Write(const std::string& text) const {
    EXPECT_EQ(write(theirs.Get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  Watcher process;
  LTcpSocket ours;
  UniqueFd theirs;
  std::string peer;
};

/// The last address of this machine's that begins like this, in full and with its zone; or nothing.
std::string OwnIPv6Address(const std::string& begin) {
  std::ifstream file("/proc/net/if_inet6");
  std::string found, digits, other[4], zone;
  while (file >> digits >> other[0] >> other[1] >> other[2] >> other[3] >> zone) {
    for (std::size_t colon = 28; colon > 0; colon -= 4)
      digits.insert(colon, ":");
    if (digits.starts_with(begin)) found = digits.append("%").append(zone);
  }
  return found;
}

TcpLookup lookUpBefore = nullptr;
std::atomic<int> lookups{0};
LSignalObject resolverGoesOn;

/// "stalled" is looked up until the resolver goes on; numeric addresses may be joined by "+", with
/// "_" for a colon.
int LookUpTestName(const std::string& name, std::vector<TcpAddress>& addresses) {
  if (name == "localhost") return lookUpBefore(name, addresses);
  if (name == "stalled") {
    ++lookups;
    resolverGoesOn.WaitSignal(kLong);
    --lookups;
    return EAI_AGAIN;
  }
  if (name.find(':') != std::string::npos) return EAI_FAIL;  // No name is like this.
  if (name.find('+') == std::string::npos) return EAI_NONAME;
  std::istringstream parts(name);
  for (std::string part; std::getline(parts, part, '+');) {
    std::replace(part.begin(), part.end(), '_', ':');
    addresses.push_back(Numeric(part, 0));
  }
  return 0;
}

class TcpTest : public WaitingTest {
 protected:
  TcpTest() { lookUpBefore = TcpSetLookup(LookUpTestName); }
  ~TcpTest() override { TcpSetLookup(lookUpBefore); }

  Watcher process;
  LTcpSocket socket;
  LTcpListener listener;
  LStringLongTemplate<char> text;
  char bytes[260] = {};
  std::size_t received = 9;
};

TEST_F(TcpTest, BothFamiliesMeet) {
  struct Row {
    std::string listenAt, connectTo, peer;
  };
  std::vector<Row> rows = {{"", "127.0.0.1", "127.0.0.1"},
                           {"127.0.0.1", "127.0.0.1", "127.0.0.1"},
                           {"127.0.0.1", "::ffff:127.0.0.1", "127.0.0.1"}};
  const std::string ownIPv6 = OwnIPv6Address("0000:"), zoned = OwnIPv6Address("fe80:");
  if (ownIPv6.empty()) std::puts("Only IPv4: this machine has no ::1.");
  if (!ownIPv6.empty())
    rows.insert(rows.end(), {{"", "::1", "::1"},
                             {"[::1]", "[::1]", "::1"},
                             {"127.0.0.1+__1+127.0.0.1", "127.0.0.1", "127.0.0.1"},
                             {"127.0.0.1+__1", "__1+127.0.0.1", "::1"},
                             {"localhost", "localhost", ""}});
  if (!zoned.empty()) rows.push_back({"", "[" + zoned + "]", Numeric(zoned, 0).ToText().data()});
  for (const Row& row : rows) {
    SCOPED_TRACE(row.listenAt + " " + row.connectTo);
    LTcpSocket client, server, attached;
    ASSERT_EQ(listener.Listen(process, row.listenAt.c_str(), 0, kLong), 0) << process.error;
    const unsigned short listensAt = listener.Port();
    ASSERT_EQ(socket.Connect(process, row.connectTo.c_str(), listensAt, kLong), 0) << process.error;
    LSignalObjectGroup group;
    listener.AddTo(group);
    EXPECT_TRUE(group.Select(kLong));
    ASSERT_EQ(listener.Accept(process, server, 0), 0) << process.error;
    unsigned short port = 0, clientPort = 0;
    socket.PeerAddress(bytes, port);
    EXPECT_TRUE(row.peer.empty() || row.peer == bytes) << bytes;
    EXPECT_EQ(port, listensAt);
    socket.OwnAddress(text, clientPort);
    server.PeerAddress(bytes, port);
    EXPECT_STREQ(bytes, text.Text());
    EXPECT_EQ(port, clientPort);
    for (LTcpSocket* end : {&socket, &server}) {
      EXPECT_EQ(fcntl(end->Descriptor(), F_GETFD), FD_CLOEXEC);
      EXPECT_TRUE(end->SetKeepAlive(60000) && end->SetKeepAlive(0));
    }
    // Moved and handed on, the ends stay what they are.
    client = std::move(socket);
    ASSERT_TRUE(attached.Attach(server.Detach()));
    EXPECT_FALSE(server.IsOpen() || server.Attach(0));
    EXPECT_EQ(attached.Send(process, "abc", 3, 0), 0);
    EXPECT_TRUE(attached.ShutdownSending());
    EXPECT_EQ(client.Receive(process, bytes, sizeof bytes, received, kLong), 0);
    EXPECT_EQ(std::string(bytes, received), "abc");
    EXPECT_EQ(client.Receive(process, bytes, sizeof bytes, received, kLong), 0);
    EXPECT_TRUE(received == 0 && client.IsAtEnd());
    EXPECT_EQ(client.Send(process, "d", 1, 0), 0) << "the other direction stays open";
    EXPECT_EQ(attached.ReceiveExactly(process, bytes, 1, kLong), 0);
    // The server's side closed first and lingers; the port is free all the same, but not twice.
    attached.Close();
    client.Close();
    listener.Close();
    EXPECT_EQ(listener.Listen(process, row.listenAt.c_str(), listensAt, kLong), 0);
    EXPECT_EQ(process.error, "");
    EXPECT_EQ(LTcpListener().Listen(process, row.listenAt.c_str(), listensAt, kLong), 2);
    EXPECT_EQ(LTcpLastError(), EADDRINUSE);
    process.error.clear();
  }
}

// Each operation that can wait, where what it waits for does not come.
TEST_F(TcpTest, EveryWaitEndsByTimeAndByStopAndNotBySignalHandlers) {
  const PlainServer silent("127.0.0.1", true);
  const unsigned short port = silent.Port();
  const std::string silentPeer = " 127.0.0.1, port " + std::to_string(port);
  Pair full, quiet;
  // Sizes that are set do not grow meanwhile.
  SetOption(full.ours.Descriptor(), SO_SNDBUF, 4096);
  SetOption(full.theirs.Get(), SO_RCVBUF, 4096);
  static const char block[1 << 16] = {};
  for (std::size_t sent = 1; sent > 0;)
    full.ours.Send(full.process, block, sizeof block, 20, &sent);
  quiet.Write("part of a line");
  LTcpListener other;
  ASSERT_EQ(listener.Listen(process, "", 0, 0), 0);
  LTcpSocket &stuck = full.ours, &waits = quiet.ours;
  const struct {
    std::string mishap;
    std::function<int(LProcessInterface&, unsigned int)> call;
  } rows[] = {
      {"connect to" + silentPeer,
       [&](auto& p, auto t) { return socket.Connect(p, "127.0.0.1", port, t); }},
      {"find stalled, port 80",
       [&](auto& p, auto t) { return socket.Connect(p, "stalled", 80, t); }},
      {"find stalled, port 80", [&](auto& p, auto t) { return other.Listen(p, "stalled", 80, t); }},
      {"", [&](auto& p, auto t) { return listener.Accept(p, socket, t); }},
      {"send to" + full.peer,
       [&](auto& p, auto t) { return stuck.Send(p, block, sizeof block, t); }},
      {"receive from" + full.peer,
       [&](auto& p, auto t) { return stuck.Receive(p, bytes, 9, received, t); }},
      {"receive from" + full.peer,
       [&](auto& p, auto t) { return stuck.ReceiveExactly(p, bytes, 9, t); }},
      {"receive from" + quiet.peer,
       [&](auto& p, auto t) { return waits.ReceiveLine(p, bytes, 64, t); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mishap);
    Watcher look, late, toStop;
    EXPECT_EQ(row.call(look, 0), 2);
    EXPECT_TRUE(LTcpLastError() == EAGAIN && look.error.empty()) << look.error;
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(row.call(late, 20), 2); }), 20);
    EXPECT_EQ(LTcpLastError(), EAGAIN);
    const std::string mishap = "Could not " + row.mishap + ": not within 20 ms.";
    EXPECT_EQ(late.error, row.mishap.empty() ? "" : mishap);
    for (int looks = 0; looks < 3; ++looks) {
      Watcher stopped(looks);
      const int result = row.call(stopped, 5);
      EXPECT_EQ(result, stopped.looksLeft < 0 ? 1 : 2) << looks;
      EXPECT_TRUE(looks > 0 || stopped.looksLeft < 0);
    }
    std::atomic<int> result = -1, error = -1;
    BlockedThread waiting([&] {
      result = row.call(toStop, LSignalWaitForever);
      error = LTcpLastError();
    });
    EXPECT_TRUE(waiting.Asleep());
    waiting.Interrupt();
    EXPECT_TRUE(waiting.Asleep()) << result << ' ' << error;
    toStop.StopThreadSoon();
    waiting.Join();
    EXPECT_TRUE(result == 1 && error == ECANCELED) << result << ' ' << error;
  }
  while (lookups < 11)  // Those that were given up still look.
    std::this_thread::yield();
  resolverGoesOn.Signal();
  while (lookups > 0)
    std::this_thread::yield();
  // Nothing was lost.
  quiet.Write(" and the rest\r\n");
  EXPECT_EQ(quiet.ours.ReceiveLine(process, bytes, 64, kLong), 0);
  EXPECT_STREQ(bytes, "part of a line and the rest");
}

TEST_F(TcpTest, TwoThreadsMoveMuchBothWaysThroughASmallBufferAndSignals) {
  Pair pair;
  SetOption(pair.ours.Descriptor(), SO_SNDBUF, 65536);
  const std::jthread echo([&] {
    std::vector<char> block(100000);
    for (ssize_t got = 0; (got = recv(pair.theirs.Get(), block.data(), block.size(), 0)) > 0;)
      EXPECT_EQ(send(pair.theirs.Get(), block.data(), static_cast<std::size_t>(got), 0), got);
  });
  std::vector<unsigned char> out(3000001), in(out.size());
  std::generate(out.begin(), out.end(), std::mt19937(1));
  Watcher sending, receiving;
  std::atomic<int> ended = 0;
  std::size_t sent = 0;
  BlockedThread sender([&] {
    EXPECT_EQ(pair.ours.Send(sending, out.data(), out.size(), kLong, &sent), 0) << sending.error;
    ++ended;
  });
  BlockedThread receiver([&] {
    EXPECT_EQ(pair.ours.ReceiveExactly(receiving, in.data(), in.size(), kLong, &received), 0);
    ++ended;
  });
  for (; ended < 2; std::this_thread::yield()) {
    sender.Interrupt();
    receiver.Interrupt();
  }
  sender.Join();
  receiver.Join();
  pair.ours.ShutdownSending();
  EXPECT_TRUE(sent == out.size() && received == in.size() && in == out);
  for (const auto& progress : {sending.progress, receiving.progress}) {
    EXPECT_TRUE(progress.size() > 2 && std::is_sorted(progress.begin(), progress.end()));
    EXPECT_TRUE(progress.front() > 0 && progress.back() == 1);
  }
}

TEST_F(TcpTest, TheEndOfTheStreamIsToldFromFailures) {
  signal(SIGPIPE, SIG_DFL);
  Pair empty, part;
  empty.theirs = UniqueFd();
  EXPECT_EQ(empty.ours.ReceiveExactly(empty.process, bytes, 2, kLong, &received), 2);
  EXPECT_TRUE(received == 0 && empty.ours.IsAtEnd() && LTcpLastError() == 0);
  EXPECT_EQ(empty.ours.ReceiveLine(empty.process, text, 9, kLong), 2);
  EXPECT_TRUE(text.IsEmpty() && empty.ours.IsAtEnd() && LTcpLastError() == 0);
  EXPECT_EQ(empty.process.error, "") << "an end where one may be";
  part.Write("*abc");
  EXPECT_EQ(part.ours.ReceiveExactly(process, bytes, 1, kLong), 0);
  Watcher stopped(0);
  EXPECT_EQ(part.ours.Receive(stopped, bytes, 1, received, kLong), 1) << "though there is more";
  EXPECT_EQ(part.ours.Send(stopped, bytes, 1, kLong), 1) << "though there is room";
  part.theirs = UniqueFd();
  EXPECT_EQ(part.ours.ReceiveUntil(process, text, "\r\n", 9, kLong), 2);
  EXPECT_STREQ(text.Text(), "abc");
  EXPECT_TRUE(part.ours.IsAtEnd() && LTcpLastError() == 0);
  EXPECT_EQ(process.error,
            "Could not receive from" + part.peer + ": the stream ended in the middle.");

  // Who is told of a reset first, sending or receiving, and what came before it.
  for (const bool sendsFirst : {false, true}) {
    Pair reset;
    reset.Write("ab");
    LSignalObjectRef(reset.ours.Descriptor(), -1).WaitSignal(kLong);
    SetOption(reset.theirs.Get(), SO_LINGER, linger{.l_onoff = 1, .l_linger = 0});
    reset.theirs = UniqueFd();
    while (sendsFirst && reset.ours.Send(process, "x", 1, kLong) == 0)
      std::this_thread::yield();
    EXPECT_TRUE(!sendsFirst || LTcpLastError() == ECONNRESET) << LTcpLastError();
    EXPECT_EQ(reset.ours.ReceiveExactly(process, bytes, 2, kLong), 0) << process.error;
    for (int again = 0; again < 3; ++again) {
      EXPECT_EQ(reset.ours.Receive(process, bytes, 2, received, kLong), 2);
      EXPECT_TRUE(LTcpLastError() == ECONNRESET && !reset.ours.IsAtEnd());
    }
    EXPECT_EQ(reset.ours.Send(process, "x", 1, kLong), 2) << "and no SIGPIPE";
    EXPECT_EQ(LTcpLastError(), EPIPE);
  }
  EXPECT_EQ(socket.Receive(process, bytes, 1, received, LSignalWaitForever), 2);
  EXPECT_EQ(socket.Send(process, bytes, 1, LSignalWaitForever), 2);
  EXPECT_EQ(listener.Accept(process, socket, LSignalWaitForever), 2);
}

TEST_F(TcpTest, LinesAndOtherPiecesComeOutOfOneStream) {
  const std::string longLine(9000, 'x');
  const std::string stream = "one\r\n\ntwo\rtwo\n" + longLine + "\nab--a-c---d--12345";
  for (const unsigned int mostInOne : {3U, 300U, 8000U}) {
    Pair pair;
    LTcpSocket& ours = pair.ours;
    std::mt19937 random(2);
    // What comes comes when it is waited for.
    process.beforeWait = [&, begin = std::size_t{0}]() mutable {
      const std::string piece = stream.substr(begin, random() % mostInOne + 1);
      pair.Write(piece);
      begin += piece.size();
    };
    for (const char* expected : {"one", "", "two\rtwo"}) {
      EXPECT_EQ(ours.ReceiveLine(process, bytes, 9, kLong), 0);
      EXPECT_STREQ(bytes, expected);
    }
    EXPECT_EQ(ours.ReceiveLine(process, bytes, 9, kLong), 2);
    EXPECT_EQ(LTcpLastError(), EMSGSIZE);
    text = "old";
    EXPECT_EQ(ours.ReceiveLine(process, text, 9000, kLong), 2) << "one too few";
    EXPECT_STREQ(text.Text(), "old");
    EXPECT_EQ(ours.ReceiveLine(process, text, 9001, kLong), 0);
    EXPECT_EQ(text.Text(), longLine);
    text = "";
    EXPECT_EQ(ours.ReceiveUntil(process, text, "--", 4, kLong), 0);
    socket = std::move(ours);
    EXPECT_EQ(socket.ReceiveUntil(process, text, "---", 100, kLong), 0);
    EXPECT_STREQ(text.Text(), "ab--a-c---");
    EXPECT_EQ(socket.ReceiveExactly(process, bytes, 5, kLong), 0);
    EXPECT_EQ(std::string(bytes, 5), "d--12");
    EXPECT_EQ(socket.Receive(process, bytes, 2, received, kLong), 0);
    EXPECT_TRUE(bytes[0] == '3' && received <= 2);
    // What trickles in does not prolong the time.
    process.beforeWait = [&] { pair.Write("0"), usleep(1000); };
    EXPECT_EQ(socket.ReceiveExactly(process, bytes, sizeof bytes, 10), 2);
    EXPECT_EQ(LTcpLastError(), EAGAIN);
    EXPECT_EQ(socket.ReceiveLine(process, bytes, sizeof bytes, 10), 2);
    EXPECT_EQ(LTcpLastError(), EAGAIN);
  }
}

TEST_F(TcpTest, ConnectingTriesOneAddressAfterTheOther) {
  const PlainServer good("127.0.0.1");
  const unsigned short port = good.Port();
  const struct {
    std::string host;
    int error, resolverError;
  } failures[] = {{"127.0.0.2", ECONNREFUSED, 0},
                  {"255.255.255.255", ENETUNREACH, 0},
                  {"255.255.255.255+127.0.0.2", ECONNREFUSED, 0},
                  {"nobody", 0, EAI_NONAME},
                  {"", 0, EAI_NONAME},
                  {"[]", 0, EAI_NONAME},
                  {"[127.0.0.1]", 0, EAI_NONAME},
                  {"fe80::1%nothing", 0, EAI_NONAME}};
  for (const auto& row : failures) {
    EXPECT_EQ(socket.Connect(process, row.host.c_str(), port, kLong), 2) << row.host;
    EXPECT_EQ(LTcpLastError(), row.error) << row.host;
    EXPECT_EQ(LTcpLastResolverError(), row.resolverError) << row.host;
    const std::string begin = row.error != 0 ? "Could not connect to " : "Could not find ";
    EXPECT_EQ(process.error.find(begin + row.host + ", port " + std::to_string(port) + ": "), 0U);
  }
  // The next address in time, or at once when one refuses.
  const PlainServer silent("127.0.0.2", true, port);
  const auto peerOf = [&](const std::string& host) {
    unsigned short peerPort = 0;
    EXPECT_EQ(socket.Connect(process, host.c_str(), port, kLong), 0) << process.error;
    socket.PeerAddress(bytes, peerPort);
    return std::string(bytes);
  };
  std::string refusing = "127.0.0.2+";
  for (int last = 100; last < 200; ++last)
    refusing += "127.0.0." + std::to_string(last) + "+";
  EXPECT_LT(MillisecondsOf([&] { peerOf(refusing + "127.0.0.1"); }), 100 * 250 / 2);
  EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(peerOf("127.0.0.2+127.0.0.1"), "127.0.0.1"); }), 250);
  EXPECT_EQ(peerOf("127.0.0.1+127.0.0.2"), "127.0.0.1");
  if (OwnIPv6Address("0000:").empty()) GTEST_SKIP() << "No ::1 here: addresses of one family only.";
  const PlainServer other("::1", false, port), third("127.0.0.3", false, port);
  EXPECT_EQ(peerOf("127.0.0.2+127.0.0.3+__1"), "::1") << "the families take turns";
}

// Without members: the sanitizers want a descriptor when they look at a class for the first time.
TEST(TcpDescriptorsTest, ConnectionsLeaveNoneAndAShortagePasses) {
  Watcher process;
  LTcpSocket socket, server;
  LTcpListener listener;
  const int lowestBefore = UniqueFd(dup(0)).Get();
  const std::string block(100000, ' ');
  ASSERT_EQ(listener.Listen(process, "", 0, 0), 0);
  const auto connectOurs = [&] {
    return socket.Connect(process, "127.0.0.1", listener.Port(), kLong);
  };
  for (int count = 0; count < 1000; ++count) {
    ASSERT_EQ(connectOurs(), 0) << process.error;
    ASSERT_EQ(listener.Accept(process, server, kLong), 0) << process.error;
    if (count % 100 == 0) {
      SetOption(socket.Descriptor(), SO_SNDBUF, 4096);
      EXPECT_EQ(socket.Send(process, block.data(), block.size(), 0), 2);
    }
    if (count % 3 == 0) server = LTcpSocket();
  }
  ASSERT_EQ(connectOurs(), 0);
  server.Close();
#if !defined(__SANITIZE_ADDRESS__)  // the sanitizer beside it needs descriptors for its checks
  rlimit limits = {};
  getrlimit(RLIMIT_NOFILE, &limits);
  const auto lowest = static_cast<rlim_t>(UniqueFd(dup(0)).Get());
  const rlimit none = {.rlim_cur = lowest, .rlim_max = limits.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  process.looksLeft = 1000;
  EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(listener.Accept(process, server, 100), 2); }), 100);
  EXPECT_EQ(LTcpLastError(), EMFILE);
  EXPECT_GT(process.looksLeft, 980) << "it does not ask all the time";
  for (const char* host : {"127.0.0.1", "stalled"}) {
    EXPECT_EQ(LTcpSocket().Connect(process, host, listener.Port(), kLong), 2);
    EXPECT_EQ(LTcpLastError(), EMFILE);
  }
  setrlimit(RLIMIT_NOFILE, &limits);
#endif
  EXPECT_EQ(listener.Accept(process, server, kLong), 0) << process.error;
  server.Close();
  socket.Close();
  listener.Close();
  EXPECT_EQ(UniqueFd(dup(0)).Get(), lowestBefore);
}

// In a network of its own: with one port to connect from, and without IPv6.
TEST_F(TcpTest, OtherNetworks) {
  const pid_t child = fork();
  if (child == 0) {
    const auto set = [](const char* name, const char* value) {
      std::ofstream file(name);
      return static_cast<bool>(file << value << std::flush);
    };
    ifreq loopback = {.ifr_ifrn = {"lo"}, .ifr_ifru = {}};
    loopback.ifr_flags = IFF_UP;
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) _exit(77);
    const UniqueFd any = TcpMakeSocket(AF_INET);
    if (ioctl(any.Get(), SIOCSIFFLAGS, &loopback) != 0 ||
        !set("/proc/sys/net/ipv4/ip_local_port_range", "40001 40001"))
      _exit(77);
    set("/proc/sys/net/ipv6/conf/all/disable_ipv6", "1");
    int failed = socket.Connect(process, "127.0.0.1", 40001, kLong) != 2;
    failed |= (LTcpLastError() != ECONNREFUSED) << 1;
    failed |= (listener.Listen(process, "", 40001, 0) != 0) << 2;
    failed |= (LTcpListener().Listen(process, "::1", 80, 0) != 2) << 3;
    failed |= (LTcpListener().Listen(process, "127.0.0.1+__1", 80, kLong) != 0) << 4;
    failed |= (socket.Connect(process, "2001:db8::1", 80, kLong) != 2) << 5;
    _exit(failed);
  }
  int status = -1;
  waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 77)
    GTEST_SKIP() << "This user may make no network of his own; root may.";
  EXPECT_EQ(status, 0) << std::hex << status;
}

TEST_F(TcpTest, AFileComesFromAWebServer) {
  LPipeInOut help;
  if (!help._Open("busybox httpd --help >/dev/null 2>&1", 0, 0) || help.Close(kLong) != 0)
    GTEST_SKIP() << "No busybox with a web server: scripts/install-packages rig.";
  char folder[] = "/tmp/tcp-XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  std::string content(1 << 20, ' ');
  std::mt19937 random(3);
  std::generate(content.begin(), content.end(), [&] { return static_cast<char>(random()); });
  std::ofstream(folder + std::string("/file.bin"), std::ios::binary) << content;
  Pair pair;
  const pid_t child = fork();
  if (child == 0) {
    dup2(pair.theirs.Get(), 0);
    dup2(pair.theirs.Get(), 1);
    execlp("busybox", "busybox", "httpd", "-i", "-h", folder, nullptr);
    _exit(1);
  }
  const std::string request = "GET /file.bin HTTP/1.0\r\nHost: localhost\r\n\r\n";
  EXPECT_EQ(pair.ours.Send(process, request.data(), request.size(), kLong), 0);
  EXPECT_EQ(pair.ours.ReceiveUntil(process, text, "\r\n\r\n", 1000, kLong), 0) << process.error;
  EXPECT_NE(std::strstr(text.Text(), " 200 "), nullptr) << text.Text();
  std::string body(content.size(), ' ');
  EXPECT_EQ(pair.ours.ReceiveExactly(process, body.data(), body.size(), kLong), 0) << process.error;
  EXPECT_TRUE(body == content);
  pair.ours.Close();
  waitpid(child, nullptr, 0);
  std::filesystem::remove_all(folder);
}

}  // namespace
