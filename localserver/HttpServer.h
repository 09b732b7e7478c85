// The HTTP face: one event loop that never waits for anybody, and workers that do the work.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

#include "localserver/HeaderDeadlines.h"
#include "localserver/Http.h"
#include "localserver/WorkerPool.h"

struct MHD_Daemon;

namespace pell::localserver {

/// A socket that listens already.
struct ListenSocket {
  int descriptor = -1;
  bool ipv6 = false;
  std::uint16_t port = 0;
};

/// Serves HTTP/1.1 from one event loop. While a worker is at a request, to decide about it or to do it, its
/// connection is suspended, so neither slow clients nor slow work hold anybody else up. A lengthy request
/// that is not done after `blankEvery` is answered with status 200 and a JSON blank, then one more blank each
/// `blankEvery`, and the reply at the end: no idle limit of a client ends it. An error that comes so late
/// stands in the body alone.
class HttpServer {
 public:
  struct Limits {
    std::chrono::seconds idle{30};
    /// From the connection, or the last reply on it, to the end of the headers.
    std::chrono::milliseconds head{30'000};
    /// From the headers to the last byte of the body.
    std::chrono::seconds upload{300};
    std::chrono::milliseconds blankEvery{10'000};
    /// Bytes of all the bodies together that are being received or worked on. Bodies of up to 64 KB are
    /// always taken, as the number of connections bounds them.
    std::size_t bodies = 256u << 20;
    unsigned connections = 800;
    unsigned connectionsPerAddress = 400;
    std::size_t quickWorkers = 2;
    std::size_t passwordWorkers = 2;
    std::size_t lengthyWorkers = 16;
  };

  struct Setup {
    ListenSocket socket;
    HttpApplication& application;
    /// Clients come by way of a proxy, which tells in X-Forwarded-For who they are.
    bool behindProxy = false;
    /// Called on the event loop for each finished request.
    std::function<void(const RequestSummary&)> finished;
    Limits limits;
  };

  /// Takes over the socket and begins to answer. Throws std::runtime_error where the event loop cannot start.
  explicit HttpServer(Setup setup);
  /// Ends every request that is under way with 503 and waits for the workers.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

 private:
  struct Exchange;
  struct Callbacks;
  using ExchangePtr = std::shared_ptr<Exchange>;
  friend struct Callbacks;

  bool suspend(const ExchangePtr& exchange);
  void admitted(const ExchangePtr& exchange, Admission admission);
  bool take(const ExchangePtr& exchange);
  void finish(Exchange& exchange, HttpReply reply);
  void forget(const ExchangePtr& exchange);
  void watchTheClock();
  WorkerPool& workers(Effort effort);

  Setup setup_;
  MHD_Daemon* daemon_ = nullptr;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::set<ExchangePtr> underway_;
  bool ending_ = false;
  /// Only the event loop adds to it.
  std::atomic<std::size_t> bodyBytes_ = 0;

  HeaderDeadlines deadlines_;
  WorkerPool quick_;
  WorkerPool password_;
  WorkerPool lengthy_;
  std::thread clock_;
};

}  // namespace pell::localserver
