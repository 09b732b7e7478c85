#include "platform/portable/FileSecureItemStore.h"

#include <utility>

namespace pell {
namespace {

using Json = JsonFile::Object;

// {"<service>": {"<account>": "<base64>"}}, so that damage to one entry leaves the others readable.
Json* find(Json& items, const SecureItemKey& key) {
  auto service = items.find(key.service);
  if (service == items.end() || !service->is_object()) return nullptr;
  auto account = service->find(key.account);
  return account == service->end() ? nullptr : &*account;
}

}  // namespace

FileSecureItemStore::FileSecureItemStore(std::filesystem::path file, const Log& log)
    : file_(std::move(file), "secrets", log), replies_("secrets") {}

FileSecureItemStore::~FileSecureItemStore() = default;

void FileSecureItemStore::copyMatching(const SecureItemKey& key, Reply reply) {
  replies_.post([this, key, reply = std::move(reply)] {
    std::optional<std::string> bytes;
    {
      std::lock_guard lock(mutex_);
      auto items = file_.load();
      if (const auto* item = find(items, key); item && item->is_string()) {
        bytes = decodeBase64(item->get_ref<const std::string&>());
      }
    }
    reply(bytes ? SecureItemStatus::success : SecureItemStatus::itemNotFound, std::move(bytes).value_or(""));
  });
}

SecureItemStatus FileSecureItemStore::add(const SecureItemKey& key, const std::string& bytes) {
  std::lock_guard lock(mutex_);
  auto items = file_.load();
  auto& service = items[key.service];
  if (!service.is_object()) service = Json::object();
  service[key.account] = encodeBase64(bytes);
  return file_.save(items) ? SecureItemStatus::success : SecureItemStatus::notAvailable;
}

SecureItemStatus FileSecureItemStore::remove(const SecureItemKey& key) {
  std::lock_guard lock(mutex_);
  auto items = file_.load();
  if (!find(items, key)) return SecureItemStatus::itemNotFound;
  auto& service = items[key.service];
  service.erase(key.account);
  if (service.empty()) items.erase(key.service);
  return file_.save(items) ? SecureItemStatus::success : SecureItemStatus::notAvailable;
}

}  // namespace pell
