// The smallest client that a test of an HTTP server needs.
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace pell::localserver {

struct Ask {
  std::string method = "GET";
  std::string path;
  std::string token;
  std::string contentType;
  std::string body;
  /// Whole header lines; "Name:" takes one away that the client would send by itself.
  std::vector<std::string> headers;
};

struct Answer {
  /// 0 where no reply came.
  long status = 0;
  std::string body;
  /// Names in lower case.
  std::map<std::string, std::string> headers;

  /// The body; null where it is no JSON.
  nlohmann::json json() const { return nlohmann::json::parse(body, nullptr, false); }
  /// The code of an error body that is complete and agrees with `status`; otherwise what is wrong with it.
  std::string errorCode() const;
};

Answer send(std::uint16_t port, const Ask& ask);

/// A connection on which a test writes what it likes.
class RawConnection {
 public:
  explicit RawConnection(std::uint16_t port);
  ~RawConnection();
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  void write(const std::string& bytes);
  /// All that comes until the server closes, or until `ending` has come.
  std::string read(const std::string& ending = "");

 private:
  int socket_;
};

}  // namespace pell::localserver
