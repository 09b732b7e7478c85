#pragma once

#include <exception>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/Installation.h"

namespace pell::testing {

/// Copies nothing and starts nothing; the test says how it went.
class MemoryApplicationMover final : public ApplicationMover {
 public:
  std::set<std::filesystem::path> present;
  Exit exit;
  std::exception_ptr thrown;  // by the next `run`

  std::vector<std::string> commands;  // tool and arguments, with blanks between
  std::vector<std::filesystem::path> opened;
  std::vector<std::filesystem::path> revealed;

  bool exists(const std::filesystem::path& path) override { return present.contains(path); }
  Exit run(const std::string& tool, const std::vector<std::string>& arguments) override {
    std::string command = tool;
    for (const auto& argument : arguments) command += " " + argument;
    commands.push_back(command);
    if (auto failure = std::exchange(thrown, nullptr)) std::rethrow_exception(failure);
    return exit;
  }
  void open(const std::filesystem::path& application,
            std::function<void(std::optional<std::string>)> answer) override {
    opened.push_back(application);
    answer_ = std::move(answer);
  }
  void reveal(const std::filesystem::path& item) override { revealed.push_back(item); }

  /// The application that was opened last has started, or has failed to.
  void answerOpening(std::optional<std::string> failure) { answer_(std::move(failure)); }

 private:
  std::function<void(std::optional<std::string>)> answer_;
};

}  // namespace pell::testing
