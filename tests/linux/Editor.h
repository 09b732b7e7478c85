// Programs of the desktop scenarios that tests steer.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "SourceTree.h"
#include "linux/AppProcess.h"

namespace pell::testing {

/// One of those that answer lines of JSON: [operation, argument...] with one value.
class Editor {
 public:
  explicit Editor(const std::string& script)
      : process_({"/usr/bin/python3", sourceTree() / "tests/desktop/programs" / script}) {}

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
