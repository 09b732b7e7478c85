// The doubles of services without a screen hold the contracts of their ports.
#include <fstream>

#include "contracts/AudioCaptureContract.h"
#include "contracts/ExecutorContract.h"
#include "contracts/HttpSessionContract.h"
#include "contracts/SecureItemStoreContract.h"
#include "contracts/ServicesContract.h"
#include "contracts/UserDefaultsContract.h"
#include "memory/VirtualWorld.h"

namespace pell::testing {
namespace {

class DefaultsInMemory final : public VirtualWorld<UserDefaultsWorld> {
 public:
  UserDefaults& defaults() override { return *defaults_; }
  void reopen() override { defaults_ = std::make_unique<MemoryUserDefaults>(defaults_->storage()); }

 private:
  std::unique_ptr<MemoryUserDefaults> defaults_ = std::make_unique<MemoryUserDefaults>();
};
PELL_INSTANTIATE_CONTRACT(Memory, UserDefaultsContract, UserDefaultsWorld, DefaultsInMemory);

class SecureItemsInMemory final : public VirtualWorld<SecureItemStoreWorld> {
 public:
  SecureItemStore& store() override { return desk.secureItems; }
  void reopen() override {}  // the items live as long as the world
  bool lock() override {
    desk.secureItems.blocked = true;
    return true;
  }
  void unlock() override { desk.secureItems.unblock(); }
};
PELL_INSTANTIATE_CONTRACT(Memory, SecureItemStoreContract, SecureItemStoreWorld, SecureItemsInMemory);

class HttpInMemory final : public VirtualWorld<HttpSessionWorld> {
 public:
  HttpInMemory() : session_(std::make_unique<MemoryHttpSession>(desk.time)) {
    session_->responder = [this](const HttpRequest& request) { return answer(request); };
  }
  HttpSession& session() override { return *session_; }
  void destroySession() override { session_.reset(); }
  std::string baseUrl() const override { return base; }
  void serve(ServedReply reply) override { replies_.push_back(std::move(reply)); }
  void stopListening() override { replies_.clear(); }
  std::vector<ServedRequest> received() const override { return received_; }

 private:
  static constexpr const char* base = "http://memory.example";

  static std::string lower(std::string text) {
    for (char& letter : text) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return text;
  }

  std::optional<MemoryHttpSession::Reply> answer(const HttpRequest& request) {
    if (replies_.empty()) return std::nullopt;
    auto served = std::move(replies_.front());
    replies_.erase(replies_.begin());
    ServedRequest seen{.method = request.method,
                       .path = request.url.substr(std::string(base).size()),
                       .headers = {},
                       .body = request.body};
    for (const auto& [name, value] : request.headers) seen.headers[lower(name)] = value;
    received_.push_back(std::move(seen));
    switch (served.manner) {
      case ServedReply::Manner::breakOff:
        return MemoryHttpSession::Reply{.outcome = HttpFailure{"The reply broke off."}};
      case ServedReply::Manner::notHttp:
        return MemoryHttpSession::Reply{
            .outcome = HttpResponse{.status = std::nullopt, .headers = {}, .body = served.body}};
      case ServedReply::Manner::silence:
        return MemoryHttpSession::Reply{.outcome = HttpFailure{"never"}, .delay = Seconds(1e6)};
      case ServedReply::Manner::whole:
        break;
    }
    HttpResponse response{.status = served.status, .headers = {}, .body = served.body};
    for (const auto& [name, value] : served.headers) response.headers[lower(name)] = value;
    return MemoryHttpSession::Reply{.outcome = std::move(response), .delay = served.delay};
  }

  std::vector<ServedReply> replies_;
  std::vector<ServedRequest> received_;
  std::unique_ptr<MemoryHttpSession> session_;
};
PELL_INSTANTIATE_CONTRACT(Memory, HttpSessionContract, HttpSessionWorld, HttpInMemory);

class AudioInMemory final : public VirtualWorld<AudioCaptureWorld> {
 public:
  AudioInMemory() { desk.audio.status = MicrophoneAuthorization::authorized; }
  AudioCapture& audio() override { return desk.audio; }
  std::filesystem::path newFile() override {
    return desk.scratch() / ("pell-" + std::to_string(++files_) + ".m4a");
  }
  void hearTone() override { desk.audio.power = -12; }
  void hearSilence() override { desk.audio.power = -160; }
  void loseMicrophone() override { desk.audio.loseDevice("The microphone is gone."); }
  int openStreams() override { return static_cast<int>(desk.audio.liveStreams()); }
  bool playable(const std::filesystem::path& file) override {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    return bytes == desk.audio.payload;
  }

 private:
  int files_ = 0;
};
PELL_INSTANTIATE_CONTRACT(Memory, AudioCaptureContract, AudioCaptureWorld, AudioInMemory);

class VirtualExecutor final : public VirtualWorld<ExecutorWorld> {
 public:
  Executor& executor() override { return *executor_; }
  void destroyExecutor() override { executor_.reset(); }

 private:
  std::unique_ptr<Executor> executor_ = desk.time.serialExecutors()("contract");
};
PELL_INSTANTIATE_CONTRACT(Virtual, ExecutorContract, ExecutorWorld, VirtualExecutor);

class VirtualMainLoop final : public VirtualWorld<MainLoopWorld> {
 public:
  MainLoop& main() override { return desk.time.main(); }
};
PELL_INSTANTIATE_CONTRACT(Virtual, MainLoopContract, MainLoopWorld, VirtualMainLoop);

class LogInMemory final : public VirtualWorld<LogSinkWorld> {
 public:
  LogSink& sink() override { return desk.log; }
  std::vector<std::string> lines() override {
    std::vector<std::string> lines;
    std::istringstream text(desk.log.text());
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
};
PELL_INSTANTIATE_CONTRACT(Memory, LogSinkContract, LogSinkWorld, LogInMemory);

class ActivityInMemory final : public VirtualWorld<SystemActivityWorld> {
 public:
  SystemActivity& activity() override { return desk.activity; }
  int held() override { return desk.activity.held(); }
};
PELL_INSTANTIATE_CONTRACT(Memory, SystemActivityContract, SystemActivityWorld, ActivityInMemory);

class LoginItemInMemory final : public VirtualWorld<LoginItemWorld> {
 public:
  LoginItem& item() override { return desk.loginItem; }
  void reopen() override {}  // the registration lives as long as the world
  void forbidChanges() override { desk.loginItem.failure = "The folder is read-only."; }
};
PELL_INSTANTIATE_CONTRACT(Memory, LoginItemContract, LoginItemWorld, LoginItemInMemory);

}  // namespace
}  // namespace pell::testing
