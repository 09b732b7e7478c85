#include "platform/portable/JsonFile.h"

#include <fstream>
#include <sodium.h>
#include <sstream>
#include <utility>

#include "stores/AtomicFile.h"

namespace pell {
namespace {

namespace fs = std::filesystem;

// Far above anything that is written here, and low enough for code that walks a document by recursion.
constexpr int deepest = 64;

std::optional<std::string> read(const fs::path& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return std::nullopt;  // opening a pipe could wait for ever
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  if (!in.is_open() || in.bad()) return std::nullopt;
  return std::move(content).str();
}

std::optional<JsonFile::Object> parse(const std::string& text) {
  bool tooDeep = false;
  auto object = JsonFile::Object::parse(
      text,
      [&](int depth, JsonFile::Object::parse_event_t, JsonFile::Object&) {
        tooDeep = tooDeep || depth > deepest;
        return !tooDeep;
      },
      false);
  if (tooDeep || !object.is_object()) return std::nullopt;
  return object;
}

}  // namespace

JsonFile::JsonFile(fs::path path, std::string name, const Log& log)
    : path_(std::move(path)), name_(std::move(name)), log_(log) {}

JsonFile::Object JsonFile::load() {
  std::error_code error;
  if (fs::symlink_status(path_, error).type() == fs::file_type::not_found) return Object::object();
  // A link whose target is missing is a file that was not written yet.
  if (fs::status(path_, error).type() == fs::file_type::not_found) return Object::object();
  auto text = read(path_);
  if (!text) return damaged("unreadable");
  auto object = parse(*text);
  if (!object) return damaged("not a JSON object");
  damaged_ = false;
  return std::move(*object);
}

JsonFile::Object JsonFile::damaged(const char* reason) {
  if (!std::exchange(damaged_, true)) log_.warn(name_ + "_damaged", {{"reason", reason}});
  return Object::object();
}

void JsonFile::moveAside() {
  fs::path kept;
  std::error_code error;
  for (int n = 1; kept.empty() || fs::symlink_status(kept, error).type() != fs::file_type::not_found; ++n) {
    kept = path_;
    kept += ".damaged-" + std::to_string(n);
    if (n > 10000) break;
  }
  fs::rename(path_, kept, error);
  if (!error) log_.warn(name_ + "_moved_aside", {{"kept", kept.filename().string()}});
}

bool JsonFile::save(const Object& object) {
  if (std::exchange(damaged_, false)) moveAside();
  const auto text = object.dump(2, ' ', false, Object::error_handler_t::replace) + "\n";
  const auto failure = replacePrivateFile(path_, text);
  if (failure && !failing_) log_.warn(name_ + "_write_failed", {{"reason", failure.message()}});
  failing_ = static_cast<bool>(failure);
  return !failure;
}

std::string encodeBase64(std::string_view bytes) {
  std::string text(sodium_base64_encoded_len(bytes.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
  sodium_bin2base64(text.data(), text.size(), reinterpret_cast<const unsigned char*>(bytes.data()),
                    bytes.size(), sodium_base64_VARIANT_ORIGINAL);
  text.pop_back();  // the length above counts the final zero
  return text;
}

std::optional<std::string> decodeBase64(std::string_view text) {
  std::string bytes(text.size(), '\0');
  std::size_t size = 0;
  const char* end = nullptr;
  if (sodium_base642bin(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), text.data(),
                        text.size(), "\n", &size, &end, sodium_base64_VARIANT_ORIGINAL) != 0 ||
      end != text.data() + text.size()) {
    return std::nullopt;
  }
  bytes.resize(size);
  return bytes;
}

}  // namespace pell
