#include "app/Relocation.h"

#include <utility>

#include "async/OneShot.h"

namespace pell {

namespace fs = std::filesystem;

namespace {

/// Nobody on the worker could catch what is thrown there: it is one more way for a copy to fail.
AppTranslocation::Move copied(const Installation& installation) {
  try {
    return AppTranslocation::copyToApplications(*installation.mover, installation.bundle);
  } catch (const std::exception& failure) {
    return AppTranslocation::CopyFailed{failure.what()};
  }
}

}  // namespace

Relocation::Relocation(Collaborators collaborators) : with_(std::move(collaborators)) {}

void Relocation::noticeInstallLocation(Placement placement) {
  const Installation& installation = with_.installation;
  if (placement != Placement::translocated || !installation.mover || relocation_.get()) return;
  with_.log.warn("translocated_launch", {{"path", installation.bundle.string()}});
  relocation_ = relocation::Offer{};
}

Task<void> Relocation::moveToApplications() {
  if (!relocation_.get()) co_return;
  relocation_ = relocation::Working{};
  if (!worker_) worker_ = with_.makeSerialExecutor("relocation");
  OneShot<AppTranslocation::Move> outcome;
  worker_->post([outcome, installation = with_.installation] { outcome.set(copied(installation)); });
  AppTranslocation::Move move = co_await outcome;
  conclude(move);
}

void Relocation::conclude(const AppTranslocation::Move& move) {
  const Log& log = with_.log;
  if (auto* target = std::get_if<fs::path>(&move)) {
    log.info("relocated_to_applications", {{"path", target->string()}});
    relaunch(*target);
  } else if (auto* already = std::get_if<AppTranslocation::AlreadyInstalled>(&move)) {
    log.warn("relocation_already_installed", {{"path", already->url.string()}});
    relocation_ = relocation::AlreadyInstalled{already->url};
  } else if (auto* failed = std::get_if<AppTranslocation::CopyFailed>(&move)) {
    log.error("relocation_failed", {{"error", failed->message}});
    relocation_ = relocation::Failed{failed->message};
  }
}

void Relocation::relaunch(const fs::path& application) {
  auto answer = [this, alive = std::weak_ptr(alive_), &main = with_.main,
                 application](const std::optional<std::string>& failure) {
    main.post([this, alive, application, failure] {
      if (!alive.expired()) concludeRelaunch(application, failure);
    });
  };
  with_.installation.mover->open(application, std::move(answer));
}

void Relocation::concludeRelaunch(const fs::path& application, const std::optional<std::string>& failure) {
  if (failure) {
    with_.log.error("relaunch_failed", {{"error", *failure}});
    return;
  }
  with_.log.info("relaunched_from_applications", {{"path", application.string()}});
  with_.quit();
}

void Relocation::revealInFinder() {
  const Installation& installation = with_.installation;
  installation.mover->reveal(installation.bundle);
}

}  // namespace pell
