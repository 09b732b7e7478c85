// What a scripted server gets and gives.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "async/Time.h"

namespace pell::testing {

/// What the server does with the next request that reaches it.
struct ServedReply {
  enum class Manner {
    whole,     // the reply as told, after `delay`
    breakOff,  // half of the reply, then the connection ends
    notHttp,   // bytes of another protocol
    silence,   // nothing, ever
  };
  Manner manner = Manner::whole;
  int status = 200;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  Seconds delay{0};
};

struct ServedRequest {
  std::string method;
  std::string path;
  std::map<std::string, std::string> headers;  // names in lower case
  std::string body;
};

}  // namespace pell::testing
