// A private file that holds one JSON object.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "stores/Log.h"

namespace pell {

/// Reads and replaces the file; what goes wrong is logged and never thrown, and nothing that stood in the
/// file is lost: content that is no JSON object is moved aside to `<file>.damaged-<n>` before anything else
/// is written, and not sooner: whoever only reads may run beside the file's owner. The content is never
/// logged. One thread at a time.
class JsonFile {
 public:
  using Object = nlohmann::ordered_json;

  /// `name` begins the events: `<name>_damaged`, `<name>_moved_aside`, `<name>_write_failed`.
  JsonFile(std::filesystem::path path, std::string name, const Log& log);

  /// The object in the file; an empty one if there is no file or none that can be read.
  Object load();

  /// False when the file could not be written. A run of failures is one line in the log.
  bool save(const Object& object);

 private:
  Object damaged(const char* reason);
  void moveAside();

  std::filesystem::path path_;
  std::string name_;
  const Log log_;
  bool damaged_ = false;
  bool failing_ = false;
};

/// Bytes as base64 text.
std::string encodeBase64(std::string_view bytes);

/// Absent if the text is no base64.
std::optional<std::string> decodeBase64(std::string_view text);

}  // namespace pell
