#include "bench/support/TextField.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <signal.h>

#include "SourceTree.h"
#include "bench/support/Figures.h"

namespace pell::bench {

TextField::TextField()
    : program_({"/usr/bin/python3", testing::sourceTree() / "bench/support/text_field.py"}),
      reader_([this] { read(); }) {}

TextField::~TextField() {
  program_.signal(SIGKILL);
  {
    std::lock_guard lock(mutex_);
    ended_ = true;
  }
}

void TextField::read() {
  for (;;) {
    auto line = program_.receive(Seconds(0.5));
    const Instant read = now();
    std::lock_guard lock(mutex_);
    if (ended_) return;
    if (!line) continue;
    if (line->starts_with('"')) {
      text_ = nlohmann::json::parse(*line).get<std::string>();
    } else {
      counts_.emplace(std::stoi(*line), read);
    }
    changed_.notify_all();
  }
}

std::optional<Instant> TextField::filled(int characters, Seconds limit) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, limit, [&] { return counts_.contains(characters); });
  auto found = counts_.find(characters);
  return found == counts_.end() ? std::nullopt : std::optional(found->second);
}

std::string TextField::text() {
  std::unique_lock lock(mutex_);
  text_.reset();
  program_.send("text");
  changed_.wait_for(lock, std::chrono::seconds(5), [&] { return text_.has_value(); });
  return text_.value_or("");
}

void TextField::clear() {
  {
    std::lock_guard lock(mutex_);
    counts_.clear();
  }
  program_.send("clear");
  // An empty field that is emptied tells nothing, so its answer to a question shows that it is done.
  text();
  std::lock_guard lock(mutex_);
  counts_.clear();
}

}  // namespace pell::bench
