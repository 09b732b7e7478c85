// A small editor that tests steer.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "SourceTree.h"
#include "linux/AppProcess.h"

namespace pell::testing {

/// One of the programs beside this file, and what it answers.
class Editor {
 public:
  explicit Editor(const std::string& script, const std::vector<std::string>& arguments = {})
      : process_(command(script, arguments)) {}

  template <class... Arguments>
  nlohmann::json call(const std::string& name, Arguments... arguments) {
    const auto answer = process_.ask(nlohmann::json::array({name, arguments...}).dump());
    return answer.empty() ? nlohmann::json() : nlohmann::json::parse(answer);
  }

  AppProcess& process() { return process_; }

 private:
  static std::vector<std::string> command(const std::string& script,
                                          const std::vector<std::string>& arguments) {
    std::vector<std::string> words{"/usr/bin/python3", sourceTree() / "tests/linux" / script};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
  }

  AppProcess process_;
};

}  // namespace pell::testing
