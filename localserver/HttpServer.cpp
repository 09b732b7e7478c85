#include "localserver/HttpServer.h"

#include <algorithm>
#include <cstring>
#include <microhttpd.h>
#include <string_view>

#include "localserver/RequestReader.h"

namespace pell::localserver {
namespace {

using Steady = std::chrono::steady_clock;

// Bodies of undeclared length are read on past the limit, so that the client sees why; beyond this it is cut
// off.
constexpr std::size_t discardLimit = 64u << 20;
constexpr std::size_t smallBody = 64u << 10;

HttpReply tooLarge(const RequestHead& head, std::size_t limit) {
  const std::string megabytes =
      limit >= (1u << 20) ? std::to_string(limit >> 20) + " MB" : std::to_string(limit >> 10) + " KB";
  return errorReply({413, "PAYLOAD_TOO_LARGE", "That is more than " + megabytes + "."}, head.id);
}

HttpReply ending(const RequestHead& head) {
  return errorReply({503, "UNAVAILABLE", "The server is shutting down. Try again in a moment."}, head.id);
}

HttpReply busy(const RequestHead& head) {
  return errorReply({.status = 503,
                     .code = "BUSY",
                     .message = "The server is busy. Try again in a moment.",
                     .retryAfter = std::chrono::seconds(5)},
                    head.id);
}

}  // namespace

/// One request on its way through. The first group belongs to the event loop, and to the worker while
/// the connection is suspended; the second is guarded by `mutex`.
struct HttpServer::Exchange {
  enum class Stage { admission, body, work };

  explicit Exchange(std::atomic<std::size_t>& all) : bodyBytes(all) {}
  ~Exchange() { letGo(); }
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  void append(std::string_view piece) {
    request.body.append(piece);
    bodyBytes += piece.size();
  }
  /// What the work needed and the reply does not.
  void letGo() {
    admission.work = nullptr;
    bodyBytes -= request.body.size();
    std::string().swap(request.body);
  }

  std::atomic<std::size_t>& bodyBytes;
  MHD_Connection* connection = nullptr;
  Stage stage = Stage::admission;
  HttpRequest request;
  Admission admission;
  std::size_t received = 0;
  std::stop_source stop;
  int status = 0;

  std::mutex mutex;
  std::optional<HttpReply> reply;
  bool suspended = false;
  bool blankDue = false;
  std::size_t sent = 0;
  Steady::time_point nextBlank;
};

int socketOf(MHD_Connection* connection) {
  return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

/// The functions that the HTTP library calls, all on its event loop.
struct HttpServer::Callbacks {
  static MHD_Result handle(void* context, MHD_Connection* connection, const char* path, const char* method,
                           const char*, const char* data, std::size_t* size, void** slot) noexcept {
    auto& server = *static_cast<HttpServer*>(context);
    try {
      if (!*slot) return begin(server, connection, path, method, slot);
      const ExchangePtr& exchange = *static_cast<ExchangePtr*>(*slot);
      if (exchange->stage == Exchange::Stage::admission) return goOn(server, *exchange);
      if (*size == 0) return proceed(server, exchange);
      const std::string_view piece(data, *size);
      *size = 0;
      return receive(server, *exchange, piece);
    } catch (const std::exception&) {
      return MHD_NO;
    }
  }

  static MHD_Result begin(HttpServer& server, MHD_Connection* connection, const char* path,
                          const char* method, void** slot) {
    server.deadlines_.forget(socketOf(connection));
    auto owned = std::make_unique<ExchangePtr>(std::make_shared<Exchange>(server.bodyBytes_));
    const ExchangePtr exchange = *owned;
    *slot = owned.release();
    exchange->connection = connection;
    exchange->request.head = readHead(connection, path, method, server.setup_.behindProxy);
    exchange->request.stop = exchange->stop.get_token();
    const RequestHead& head = exchange->request.head;
    if (!server.suspend(exchange)) return queue(*exchange, ending(head));
    const bool accepted = server.quick_.post(
        [&server, exchange, &head] { server.admitted(exchange, server.setup_.application.admit(head)); });
    if (!accepted) server.finish(*exchange, busy(head));
    return MHD_YES;
  }

  /// The application has decided, and the library asks again whether it is to read the body.
  static MHD_Result goOn(const HttpServer& server, Exchange& exchange) {
    exchange.stage = Exchange::Stage::body;
    if (const HttpReply* reply = replyOf(exchange)) return queue(exchange, *reply);
    const RequestHead& head = exchange.request.head;
    std::optional<HttpReply>& refusal = exchange.admission.refusal;
    const auto length = declaredLength(exchange.connection).value_or(0);
    const bool oversized = length > std::max(exchange.admission.bodyLimit, smallBody);
    if (!refusal && oversized) refusal = tooLarge(head, exchange.admission.bodyLimit);
    if (!refusal && !hasRoom(server, length, length)) refusal = busy(head);
    // A small body is read to its end before it is refused: closing on unread bytes would reset the
    // connection and could take the reply with it. A client that asks first, or sends much, hears at once.
    const bool asksFirst = !headerValue(exchange.connection, MHD_HTTP_HEADER_EXPECT).empty();
    if (refusal && (oversized || asksFirst)) return queue(exchange, *refusal);
    return MHD_YES;
  }

  /// Whether `more` bytes may be kept of a body that is then `size` long.
  static bool hasRoom(const HttpServer& server, std::uint64_t size, std::uint64_t more) {
    return size <= smallBody || server.bodyBytes_ + more <= server.setup_.limits.bodies;
  }

  static MHD_Result receive(const HttpServer& server, Exchange& exchange, std::string_view piece) {
    const RequestHead& head = exchange.request.head;
    if (Steady::now() - head.arrived > server.setup_.limits.upload) return MHD_NO;
    exchange.received += piece.size();
    std::optional<HttpReply>& refusal = exchange.admission.refusal;
    if (refusal) return exchange.received > discardLimit ? MHD_NO : MHD_YES;
    if (exchange.received > exchange.admission.bodyLimit) {
      refusal = tooLarge(head, exchange.admission.bodyLimit);
    } else if (!hasRoom(server, exchange.received, piece.size())) {
      refusal = busy(head);
    }
    if (refusal) {
      exchange.letGo();
    } else {
      exchange.append(piece);
    }
    return MHD_YES;
  }

  static MHD_Result proceed(HttpServer& server, const ExchangePtr& exchange) {
    if (exchange->stage == Exchange::Stage::body) {
      exchange->stage = Exchange::Stage::work;
      if (!exchange->admission.refusal && server.take(exchange)) return MHD_YES;
      return queue(*exchange, *exchange->admission.refusal);
    }
    const HttpReply* reply = replyOf(*exchange);
    return reply ? queue(*exchange, *reply) : queueStream(exchange);
  }

  /// Null while there is none. A reply never changes once it is there, so it is read without the lock: the
  /// library has locks of its own, which must not nest in ours.
  static const HttpReply* replyOf(Exchange& exchange) {
    const std::lock_guard lock(exchange.mutex);
    return exchange.reply ? &*exchange.reply : nullptr;
  }

  static void addHeaders(MHD_Response* response, const std::string& id, const std::string& contentType) {
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, contentType.c_str());
    MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
    MHD_add_response_header(response, "X-Request-Id", id.c_str());
  }

  static MHD_Result queue(Exchange& exchange, const HttpReply& reply) {
    // The library copies the bytes; its signature merely lacks the const.
    MHD_Response* response = MHD_create_response_from_buffer(
        reply.body.size(), const_cast<char*>(reply.body.data()), MHD_RESPMEM_MUST_COPY);
    if (!response) return MHD_NO;
    addHeaders(response, exchange.request.head.id, reply.contentType);
    for (const auto& [name, value] : reply.headers) {
      MHD_add_response_header(response, name.c_str(), value.c_str());
    }
    exchange.status = reply.status;
    const MHD_Result result =
        MHD_queue_response(exchange.connection, static_cast<unsigned>(reply.status), response);
    MHD_destroy_response(response);
    return result;
  }

  static MHD_Result queueStream(const ExchangePtr& exchange) {
    auto context = std::make_unique<ExchangePtr>(exchange);
    MHD_Response* response =
        MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, 4096, &stream, context.get(), &endStream);
    if (!response) return MHD_NO;
    static_cast<void>(context.release());  // the response owns it now; endStream frees it
    addHeaders(response, exchange->request.head.id, HttpReply().contentType);
    exchange->status = MHD_HTTP_OK;
    const MHD_Result result = MHD_queue_response(exchange->connection, MHD_HTTP_OK, response);
    MHD_destroy_response(response);
    return result;
  }

  static ssize_t stream(void* context, std::uint64_t, char* buffer, std::size_t room) noexcept {
    Exchange& exchange = **static_cast<ExchangePtr*>(context);
    std::lock_guard lock(exchange.mutex);
    if (exchange.reply) {
      const std::string& body = exchange.reply->body;
      const std::size_t count = std::min(room, body.size() - exchange.sent);
      if (count == 0) return MHD_CONTENT_READER_END_OF_STREAM;
      std::memcpy(buffer, body.data() + exchange.sent, count);
      exchange.sent += count;
      return static_cast<ssize_t>(count);
    }
    if (exchange.blankDue) {
      exchange.blankDue = false;
      *buffer = ' ';
      return 1;
    }
    exchange.suspended = true;
    MHD_suspend_connection(exchange.connection);
    return 0;
  }

  static void endStream(void* context) noexcept {
    std::unique_ptr<ExchangePtr>(static_cast<ExchangePtr*>(context));
  }

  static void connected(void* context, MHD_Connection* connection, void**,
                        MHD_ConnectionNotificationCode code) noexcept {
    auto& server = *static_cast<HttpServer*>(context);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) return server.deadlines_.forget(socketOf(connection));
    server.deadlines_.await(socketOf(connection));
  }

  static void completed(void* context, MHD_Connection* connection, void** slot,
                        MHD_RequestTerminationCode) noexcept {
    if (!*slot) return;
    auto& server = *static_cast<HttpServer*>(context);
    server.deadlines_.await(socketOf(connection));
    const std::unique_ptr<ExchangePtr> owned(static_cast<ExchangePtr*>(*slot));
    *slot = nullptr;
    Exchange& exchange = **owned;
    server.forget(*owned);
    exchange.stop.request_stop();
    if (!server.setup_.finished) return;
    const auto took = Steady::now() - exchange.request.head.arrived;
    server.setup_.finished({.id = exchange.request.head.id,
                            .method = exchange.request.head.method,
                            .path = exchange.request.head.path,
                            .status = exchange.status,
                            .took = std::chrono::duration_cast<std::chrono::milliseconds>(took)});
  }
};

HttpServer::HttpServer(Setup setup)
    : setup_(std::move(setup)),
      deadlines_(setup_.limits.head),
      // No connection waits here twice, so there is always room.
      quick_(setup_.limits.quickWorkers, setup_.limits.connections),
      password_(setup_.limits.passwordWorkers, 64),
      lengthy_(setup_.limits.lengthyWorkers, 64) {
  unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
  if (setup_.socket.ipv6) flags |= MHD_USE_IPv6;
  daemon_ = MHD_start_daemon(
      flags, 0, nullptr, nullptr, &Callbacks::handle, this, MHD_OPTION_LISTEN_SOCKET,
      setup_.socket.descriptor, MHD_OPTION_NOTIFY_COMPLETED, &Callbacks::completed, this,
      MHD_OPTION_NOTIFY_CONNECTION, &Callbacks::connected, this, MHD_OPTION_CONNECTION_TIMEOUT,
      static_cast<unsigned>(setup_.limits.idle.count()), MHD_OPTION_CONNECTION_LIMIT,
      setup_.limits.connections, MHD_OPTION_PER_IP_CONNECTION_LIMIT, setup_.limits.connectionsPerAddress,
      MHD_OPTION_CONNECTION_MEMORY_LIMIT, static_cast<std::size_t>(64u << 10), MHD_OPTION_END);
  if (!daemon_) throw std::runtime_error("The HTTP server could not start.");
  clock_ = std::thread([this] { watchTheClock(); });
}

HttpServer::~HttpServer() {
  std::set<ExchangePtr> underway;
  {
    std::lock_guard lock(mutex_);
    ending_ = true;
    underway = underway_;
  }
  changed_.notify_all();
  clock_.join();
  for (const auto& exchange : underway) {
    finish(*exchange, ending(exchange->request.head));
    exchange->stop.request_stop();
  }
  {
    // Time for the last replies to leave; the daemon must not end with a suspended connection, and has none
    // now.
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(2), [this] { return underway_.empty(); });
  }
  MHD_stop_daemon(daemon_);
}

/// Suspends the connection for a worker, before whose end there must be something to resume. False where the
/// server ends.
bool HttpServer::suspend(const ExchangePtr& exchange) {
  const std::lock_guard lock(mutex_);
  if (ending_) return false;
  const std::lock_guard exchangeLock(exchange->mutex);
  MHD_suspend_connection(exchange->connection);
  exchange->suspended = true;
  exchange->nextBlank = Steady::now() + setup_.limits.blankEvery;
  underway_.insert(exchange);
  return true;
}

/// Lets the connection go on with what the application decided.
void HttpServer::admitted(const ExchangePtr& exchange, Admission admission) {
  // Both at once: the server must not end between a suspended connection and the knowledge of it.
  const std::lock_guard lock(mutex_);
  const std::lock_guard exchangeLock(exchange->mutex);
  if (!exchange->suspended) return;  // the server ends, and has said so already
  exchange->admission = std::move(admission);
  exchange->suspended = false;
  underway_.erase(exchange);
  MHD_resume_connection(exchange->connection);
}

/// Hands a complete request to the workers. False: `admission.refusal` says why not.
bool HttpServer::take(const ExchangePtr& exchange) {
  if (!suspend(exchange)) {
    exchange->admission.refusal = ending(exchange->request.head);
    return false;
  }
  changed_.notify_all();
  const bool accepted = workers(exchange->admission.effort).post([this, exchange] {
    if (exchange->stop.stop_requested()) return;
    HttpReply reply = exchange->admission.work(exchange->request);
    exchange->letGo();
    finish(*exchange, std::move(reply));
  });
  if (!accepted) finish(*exchange, busy(exchange->request.head));
  return true;
}

WorkerPool& HttpServer::workers(Effort effort) {
  if (effort == Effort::lengthy) return lengthy_;
  return effort == Effort::password ? password_ : quick_;
}

/// The first reply counts. Any thread.
void HttpServer::finish(Exchange& exchange, HttpReply reply) {
  std::lock_guard lock(exchange.mutex);
  if (exchange.reply) return;
  exchange.reply = std::move(reply);
  if (!exchange.suspended) return;
  exchange.suspended = false;
  MHD_resume_connection(exchange.connection);
}

void HttpServer::forget(const ExchangePtr& exchange) {
  {
    std::lock_guard lock(mutex_);
    underway_.erase(exchange);
  }
  changed_.notify_all();
}

/// Runs on its own thread: wakes each lengthy exchange whose next blank is due, and ends connections that are
/// too slow.
void HttpServer::watchTheClock() {
  std::unique_lock lock(mutex_);
  while (!ending_) {
    const auto now = Steady::now();
    // Whoever connects meanwhile is looked at no later than this.
    auto next = deadlines_.cutOff().value_or(now + setup_.limits.head);
    for (const auto& exchange : underway_) {
      if (exchange->admission.effort != Effort::lengthy) continue;
      std::lock_guard exchangeLock(exchange->mutex);
      if (exchange->reply) continue;
      if (exchange->nextBlank <= now) {
        exchange->nextBlank = now + setup_.limits.blankEvery;
        if (exchange->suspended) {
          exchange->blankDue = true;
          exchange->suspended = false;
          MHD_resume_connection(exchange->connection);
        }
      }
      next = std::min(next, exchange->nextBlank);
    }
    changed_.wait_until(lock, next);
  }
}

}  // namespace pell::localserver
