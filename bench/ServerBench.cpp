// pell-server under the load of a team: signed-in dictations of 30 KB, decoding included, with a recogniser
// that answers at once; beside a bare handler of the same HTTP library that takes the same bodies and answers
// as much. Then many more of them, and what the server's memory came to.
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <curl/curl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <microhttpd.h>
#include <mutex>
#include <random>
#include <thread>
#include <tuple>
#include <unistd.h>

#include "bench/support/Figures.h"
#include "localserver/AudioDecoder.h"
#include "localserver/HttpClient.h"
#include "localserver/Listen.h"
#include "localserver/SoundFile.h"

namespace {

using namespace pell::localserver;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr int perSecond = 50;
constexpr std::chrono::seconds span{20};
constexpr int clients = 16;
constexpr int manyRequests = 20'000;
constexpr std::size_t bodySize = 30'000;

/// Speech-like for the coder: noise, in a file of about 30 KB.
std::string recording() {
  std::mt19937 random(7);
  std::normal_distribution<float> noise(0, 3000);
  Pcm samples;
  std::string file;
  while (file.size() < bodySize) {
    for (int i = 0; i < speechRate / 2; ++i) samples.push_back(static_cast<std::int16_t>(noise(random)));
    file = mp4File(samples);
  }
  return file;
}

/// The program itself, in a process of its own and with an empty data directory.
class ServerProcess {
 public:
  explicit ServerProcess(const fs::path& folder) {
    const auto program = fs::read_symlink("/proc/self/exe").parent_path() / "pell-server";
    // The shell tells its number and then becomes the server.
    const std::string line = fmt::format(
        "echo $$; exec '{}' --listen 127.0.0.1:0 --data '{}' --auth-attempts-per-minute 0 "
        "--minutes-per-month 44640 "
        "--transcribe-command 'echo hello there' 2>/dev/null",
        program.string(), (folder / "data").string());
    output_ = popen(line.c_str(), "r");
    int number = 0;
    if (!output_ ||
        std::fscanf(output_, "%d pell-server listens on http://127.0.0.1:%d", &id_, &number) != 2) {
      throw std::runtime_error("pell-server did not start");
    }
    port = static_cast<std::uint16_t>(number);
  }
  ~ServerProcess() {
    kill(id_, SIGTERM);
    pclose(output_);
  }
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  /// In MB.
  double memory() const {
    std::ifstream stream(fmt::format("/proc/{}/status", id_));
    for (std::string word; stream >> word;) {
      double kilobytes = 0;
      if (word == "VmRSS:" && stream >> kilobytes) return kilobytes / 1024;
    }
    return 0;
  }

  std::uint16_t port = 0;

 private:
  std::FILE* output_ = nullptr;
  int id_ = 0;
};

/// The floor: takes a body and answers with a fixed one.
class BareServer {
 public:
  BareServer() {
    socket_ = listenOn("127.0.0.1", 0);
    daemon_ = MHD_start_daemon(MHD_USE_EPOLL_INTERNAL_THREAD, 0, nullptr, nullptr, &handle, nullptr,
                               MHD_OPTION_LISTEN_SOCKET, socket_.descriptor, MHD_OPTION_END);
  }
  ~BareServer() { MHD_stop_daemon(daemon_); }
  BareServer(const BareServer&) = delete;
  BareServer& operator=(const BareServer&) = delete;
  std::uint16_t port() const { return socket_.port; }

 private:
  static MHD_Result handle(void*, MHD_Connection* connection, const char*, const char*, const char*,
                           const char*, std::size_t* size, void** slot) {
    static const std::string reply(400, ' ');
    if (!*slot) {
      *slot = connection;
      return MHD_YES;
    }
    if (*size > 0) {
      *size = 0;
      return MHD_YES;
    }
    MHD_Response* response = MHD_create_response_from_buffer(reply.size(), const_cast<char*>(reply.data()),
                                                             MHD_RESPMEM_PERSISTENT);
    const MHD_Result result = MHD_queue_response(connection, MHD_HTTP_OK, response);
    MHD_destroy_response(response);
    return result;
  }

  ListenSocket socket_;
  MHD_Daemon* daemon_ = nullptr;
};

/// A client that keeps its connection, as the application does.
class Client {
 public:
  Client(std::uint16_t port, const std::string& token, const std::string& body) {
    url_ = fmt::format("http://127.0.0.1:{}/api/v1/transcribe?language=en", port);
    headers_ = curl_slist_append(headers_, ("Authorization: Bearer " + token).c_str());
    headers_ = curl_slist_append(headers_, "Content-Type: audio/mp4");
    headers_ = curl_slist_append(headers_, "Expect:");
    curl_easy_setopt(easy_, CURLOPT_URL, url_.c_str());
    curl_easy_setopt(easy_, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, headers_);
    curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, body.data());
    curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, &discard);
  }
  ~Client() {
    curl_easy_cleanup(easy_);
    curl_slist_free_all(headers_);
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  bool dictate() {
    long status = 0;
    curl_easy_perform(easy_);
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
    return status == 200;
  }

 private:
  static std::size_t discard(char*, std::size_t, std::size_t size, void*) { return size; }

  std::string url_;
  CURL* easy_ = curl_easy_init();
  curl_slist* headers_ = nullptr;
};

struct Target {
  std::uint16_t port;
  /// One for each client.
  std::vector<std::string> tokens;
};

struct Outcome {
  pell::bench::Samples milliseconds;
  int failed = 0;
};

/// `count` dictations by all clients together, `rate` a second at fixed moments, or as fast as they go where
/// it is 0. A delay counts from the moment at which the dictation was due: a server that lags is not spared.
Outcome load(const Target& target, const std::string& body, int count, int rate) {
  Outcome outcome;
  std::mutex mutex;
  std::atomic<int> next = 0;
  const auto begin = Clock::now();
  std::vector<std::jthread> threads;
  for (const std::string& token : target.tokens) {
    threads.emplace_back([&] {
      Client client(target.port, token, body);
      for (int i = next++; i < count; i = next++) {
        auto due = Clock::now();
        if (rate > 0) {
          due = begin + std::chrono::nanoseconds(1'000'000'000LL * i / rate);
          std::this_thread::sleep_until(due);
        }
        const bool good = client.dictate();
        const std::chrono::duration<double, std::milli> took = Clock::now() - due;
        const std::lock_guard lock(mutex);
        outcome.milliseconds.add(took.count());
        outcome.failed += good ? 0 : 1;
      }
    });
  }
  threads.clear();
  return outcome;
}

std::vector<std::string> signedIn(std::uint16_t port) {
  std::vector<std::string> tokens;
  for (int i = 0; i < clients; ++i) {
    const nlohmann::json body = {{"email", fmt::format("user{}@example.org", i)},
                                 {"password", "correct horse"}};
    tokens.push_back(send(port, {.method = "POST",
                                 .path = "/api/v1/auth/register",
                                 .contentType = "application/json",
                                 .body = body.dump()})
                         .json()["accessToken"]);
  }
  return tokens;
}

void run(const fs::path& folder) {
  const std::string body = recording();
  const BareServer bare;
  const ServerProcess server(folder);
  const Target floor{.port = bare.port(), .tokens = std::vector<std::string>(clients, "token")};
  const Target ours{.port = server.port, .tokens = signedIn(server.port)};
  load(ours, body, 100, perSecond);
  load(floor, body, 100, perSecond);

  const int count = perSecond * static_cast<int>(span.count());
  const Outcome bareOutcome = load(floor, body, count, perSecond);
  const Outcome outcome = load(ours, body, count, perSecond);
  fmt::print("{} dictations of {} bytes, {} a second; {} failed\n", count, body.size(), perSecond,
             outcome.failed);
  fmt::print("{:<34}{:>10}{:>10}{:>10}   goal\n", "milliseconds", "ours", "floor", "ratio");
  for (const auto& [name, share, goal] :
       {std::tuple{"median", 0.5, ""}, std::tuple{"99 of 100", 0.99, "< 200"},
        std::tuple{"worst", 1.0, ""}}) {
    const double mine = outcome.milliseconds.quantile(share);
    const double least = bareOutcome.milliseconds.quantile(share);
    fmt::print("{:<34}{:>10.2f}{:>10.2f}{:>10.1f}   {}\n", name, mine, least, mine / least, goal);
  }

  const auto begin = Clock::now();
  int failed = 0;
  std::vector<double> memory;
  for (int part = 0; part < 10; ++part) {
    failed += load(ours, body, manyRequests / 10, 0).failed;
    memory.push_back(server.memory());
  }
  const std::chrono::duration<double> took = Clock::now() - begin;
  fmt::print("{} dictations as fast as they go: {:.0f} a second; {} failed\n", manyRequests,
             manyRequests / took.count(), failed);
  fmt::print("{:<34}", "resident MB, each tenth of them");
  for (const double megabytes : memory) fmt::print("{:>7.1f}", megabytes);
  fmt::print("\n");
}

}  // namespace

int main() {
  std::string pattern = (fs::temp_directory_path() / "server-bench-XXXXXX").string();
  if (!mkdtemp(pattern.data())) return 1;
  curl_global_init(CURL_GLOBAL_DEFAULT);
  quietAudioLibrary();
  int result = 0;
  try {
    run(pattern);
  } catch (const std::exception& failure) {
    fmt::print(stderr, "{}\n", failure.what());
    result = 1;
  }
  fs::remove_all(pattern);
  return result;
}
