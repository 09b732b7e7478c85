// One installation of the application, without its screens: what it keeps, and a client over it.
#pragma once

#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>

#include "async/TaskScope.h"
#include "platform/portable/CurlHttpSession.h"
#include "platform/portable/FileSecureItemStore.h"
#include "platform/portable/SystemWallClock.h"
#include "platform/portable/ThreadExecutor.h"
#include "server/ApiClient.h"
#include "server/RemoteConfigStore.h"
#include "stores/Log.h"
#include "support/MemoryLog.h"
#include "support/MemoryUserDefaults.h"

namespace pell::testing {

class Installation {
 public:
  Installation(const std::filesystem::path& folder, const std::string& url, const std::string& publicKey = "")
      : items_(folder / "secrets.json", log_),
        config_({.apiBaseUrl = url, .remoteConfigPublicKey = publicKey},
                {.applicationSupport = folder, .scratch = folder}, defaults_),
        keychain_(items_, *main_, "com.example.test", log_) {
    restart();
  }
  ~Installation() {
    run([&] {
      scope_.reset();
      api_.reset();
      remoteConfig_.reset();
    });
    main_.reset();
  }
  Installation(const Installation&) = delete;
  Installation& operator=(const Installation&) = delete;

  /// A new run of the application: what was in memory alone is gone.
  void restart() {
    run([&] {
      scope_ = std::make_unique<TaskScope>(*main_);
      api_ = std::make_unique<ApiClient>(ApiClient::Services{.http = http_,
                                                             .keychain = keychain_,
                                                             .config = config_,
                                                             .clock = clock_,
                                                             .executor = threadExecutors()("api")});
      remoteConfig_ = std::make_unique<RemoteConfigStore>(RemoteConfigStore::Services{
          .http = http_, .config = config_, .log = log_, .executor = threadExecutors()("config")});
    });
  }

  ApiClient& api() { return *api_; }
  RemoteConfigStore& remoteConfig() { return *remoteConfig_; }

  template <class T>
  T await(Task<T> task) {
    std::promise<detail::Settled<T>> promise;
    scope_->spawn(settle(std::move(task), promise));
    return promise.get_future().get().take();
  }

  /// The code with which the server refuses, or how else the call ends.
  template <class T>
  std::string failure(Task<T> task) {
    try {
      await(std::move(task));
      return "none";
    } catch (const ApiFailure& failure) {
      const auto* refused = std::get_if<ApiFailure::Api>(&failure.content());
      return refused ? refused->code : failure.what();
    }
  }

  std::optional<std::string> refreshToken() {
    return await(keychain_.get(std::string(Keychain::refreshTokenAccount), Keychain::readTimeout)).value;
  }
  void setRefreshToken(const std::string& token) {
    keychain_.set(token, std::string(Keychain::refreshTokenAccount));
  }

 private:
  template <class T>
  static Task<> settle(Task<T> task, std::promise<detail::Settled<T>>& promise) {
    auto settling = detail::settle(std::move(task));
    promise.set_value(co_await std::move(settling));
  }

  void run(const std::function<void()>& work) {
    std::promise<void> done;
    main_->post([&] {
      work();
      done.set_value();
    });
    done.get_future().wait();
  }

  MemoryLog sink_;
  Log log_{sink_};
  MemoryUserDefaults defaults_;
  SystemWallClock clock_;
  CurlHttpSession http_;
  std::unique_ptr<ThreadExecutor> main_ = std::make_unique<ThreadExecutor>("main");
  FileSecureItemStore items_;
  AppConfig config_;
  Keychain keychain_;
  std::unique_ptr<ApiClient> api_;
  std::unique_ptr<RemoteConfigStore> remoteConfig_;
  std::unique_ptr<TaskScope> scope_;
};

}  // namespace pell::testing
