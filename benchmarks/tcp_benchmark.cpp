// SPDX-License-Identifier: MIT
//
// Connections on the loopback beside plain blocking sockets, the least that a program can do. Each
// name tells who sends and who receives, or who asks a plain echo. A worker's interface asks the
// system for a stop request, nobody's asks nothing. Machines drift, so compare ratios within one
// run:
//
//   tcp_benchmark --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
//                 --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include <zorvex/foundation.h>

namespace {

constexpr unsigned int kNoLimit = 4294967295;
constexpr std::size_t kMessage = 64;
constexpr std::size_t kPiece = 64 << 10;
constexpr std::size_t kBulk = 64 << 20;

class Worker final : public LThread {
  void ThreadFunction() override {}
};

class PlainEnd {
 public:
  explicit PlainEnd(int descriptor) : descriptor_(descriptor) {}
  ~PlainEnd() { close(descriptor_); }
  PlainEnd(const PlainEnd&) = delete;
  PlainEnd& operator=(const PlainEnd&) = delete;

  void Send(const char* bytes, std::size_t count) {
    for (ssize_t moved = 0; count > 0; bytes += moved, count -= static_cast<std::size_t>(moved))
      if ((moved = send(descriptor_, bytes, count, MSG_NOSIGNAL)) <= 0) return;
  }
  std::size_t Receive(char* bytes, std::size_t size) {
    return static_cast<std::size_t>(std::max<ssize_t>(recv(descriptor_, bytes, size, 0), 0));
  }

 private:
  int descriptor_;
};

template <typename Process>
class OurEnd {
 public:
  explicit OurEnd(int descriptor) { socket_.Attach(descriptor); }

  void Send(const char* bytes, std::size_t count) { socket_.Send(process_, bytes, count, 10000); }
  std::size_t Receive(char* bytes, std::size_t size) {
    std::size_t received = 0;
    socket_.Receive(process_, bytes, size, received, kNoLimit);
    return received;
  }

 private:
  Process process_;
  LTcpSocket socket_;
};

struct Ends {
  Ends() {
    const int listening = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(listening, any, size) != 0 || listen(listening, 1) != 0) std::abort();
    getsockname(listening, any, &size);
    near = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(near, any, size) != 0) std::abort();
    far = accept(listening, nullptr, nullptr);
    close(listening);
    const int on = 1;
    for (const int end : {near, far})
      setsockopt(end, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  }
  int near = -1;
  int far = -1;
};

template <typename End>
void RoundTrip(benchmark::State& state) {
  const Ends ends;
  {
    End near(ends.near);
    std::jthread echo([&] {
      PlainEnd far(ends.far);
      char bytes[kMessage];
      while (const std::size_t received = far.Receive(bytes, sizeof bytes))
        far.Send(bytes, received);
    });
    char bytes[kMessage] = {};
    for (auto _ : state) {
      near.Send(bytes, sizeof bytes);
      near.Receive(bytes, sizeof bytes);
    }
    shutdown(ends.near, SHUT_WR);
  }
}

template <typename Sender, typename Receiver>
void Bulk(benchmark::State& state) {
  const Ends ends;
  Sender near(ends.near);
  std::jthread sink([&] {
    Receiver far(ends.far);
    std::vector<char> bytes(kPiece);
    for (std::size_t total = 0;;) {
      const std::size_t received = far.Receive(bytes.data(), bytes.size());
      if (received == 0) return;
      total += received;
      if (total % kBulk == 0) far.Send("", 1);
    }
  });
  const std::vector<char> bytes(kPiece, 'x');
  for (auto _ : state) {
    for (std::size_t total = 0; total < kBulk; total += kPiece)
      near.Send(bytes.data(), bytes.size());
    char done = 0;
    near.Receive(&done, 1);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(kBulk) * state.iterations());
  shutdown(ends.near, SHUT_WR);
}

using OurNobody = OurEnd<LProcessInterfaceVoid>;
using OurWorker = OurEnd<Worker>;

BENCHMARK(RoundTrip<PlainEnd>)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(RoundTrip<OurNobody>)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(RoundTrip<OurWorker>)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK((Bulk<PlainEnd, PlainEnd>))
    ->Name("Bulk<Plain, Plain>")
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK((Bulk<OurNobody, OurNobody>))
    ->Name("Bulk<OurNobody, OurNobody>")
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK((Bulk<OurWorker, PlainEnd>))
    ->Name("Bulk<OurWorker, Plain>")
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK((Bulk<PlainEnd, OurWorker>))
    ->Name("Bulk<Plain, OurWorker>")
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK((Bulk<OurWorker, OurWorker>))
    ->Name("Bulk<OurWorker, OurWorker>")
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
