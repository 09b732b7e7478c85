// Offers to move a copy of the application that runs from a temporary place, and moves it.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "app/AppTranslocation.h"
#include "app/RelocationState.h"
#include "async/Executor.h"
#include "async/Observable.h"
#include "async/Task.h"
#include "platform/Installation.h"
#include "stores/Log.h"

namespace pell {

/// Only a translocated copy is offered the move; one that merely stands elsewhere is left alone. Nothing is
/// remembered, so the offer comes again with the next such start. Main thread.
class Relocation {
 public:
  struct Collaborators {
    Installation installation;
    Executor& main;
    SerialExecutorFactory makeSerialExecutor;  // the copy blocks an executor of its own
    const Log& log;
    std::function<void()> quit;  // a new instance runs: this one may end
  };

  explicit Relocation(Collaborators collaborators);

  /// What the sheet shows; absent while there is none.
  const Observable<std::optional<RelocationState>>& relocation() const { return relocation_; }

  /// Once, at launch.
  void noticeInstallLocation(Placement placement);

  /// Copies and starts the copy. The outcome is in `relocation()`; after a success that stays as it is, as
  /// the process is about to end.
  Task<void> moveToApplications();

  void dismissRelocation() { relocation_ = std::nullopt; }

  /// Starts another instance and, once it runs, ends this one. If it does not start, this one runs on.
  void relaunch(const std::filesystem::path& application);

  /// Shows the running copy in the file manager.
  void revealInFinder();

 private:
  void conclude(const AppTranslocation::Move& move);
  void concludeRelaunch(const std::filesystem::path& application, const std::optional<std::string>& failure);

  Collaborators with_;
  Observable<std::optional<RelocationState>> relocation_;
  std::unique_ptr<Executor> worker_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);  // an answer that comes late asks for it
};

}  // namespace pell
