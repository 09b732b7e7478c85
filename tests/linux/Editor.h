// A small editor that tests steer.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "linux/AppProcess.h"

namespace pell::testing {

/// One of the two editors beside this file, and what it answers.
class Editor {
 public:
  explicit Editor(const std::string& script)
      : process_({"/usr/bin/python3", std::filesystem::path(__FILE__).parent_path() / script}) {}

  template <class... Arguments>
  nlohmann::json call(const std::string& name, Arguments... arguments) {
    const auto answer = process_.ask(nlohmann::json::array({name, arguments...}).dump());
    return answer.empty() ? nlohmann::json() : nlohmann::json::parse(answer);
  }

  AppProcess& process() { return process_; }

 private:
  AppProcess process_;
};

}  // namespace pell::testing
