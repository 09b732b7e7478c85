#include "platform/linux/SecretServiceCalls.h"

#include <libsecret/secret.h>
#include <utility>

namespace pell::secretservice {
namespace {

using Done = std::function<void(GAsyncResult*)>;

/// Hands a function through GLib's pair of callback and pointer.
void finish(GObject*, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Done> done(static_cast<Done*>(data));
  (*done)(result);
}
gpointer held(Done done) { return std::make_unique<Done>(std::move(done)).release(); }

const SecretSchema& schema() {
  static const SecretSchema value = [] {
    SecretSchema fresh{};
    fresh.name = "com.pell.dictation";
    fresh.flags = SECRET_SCHEMA_NONE;
    fresh.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
    fresh.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return fresh;
  }();
  return value;
}

using Attributes = std::unique_ptr<GHashTable, decltype(&g_hash_table_unref)>;

Attributes attributes(const SecureItemKey& key) {
  return {secret_attributes_build(&schema(), "service", key.service.c_str(), "account", key.account.c_str(),
                                  nullptr),
          g_hash_table_unref};
}

Object adopt(gpointer object) {
  return object ? Object(static_cast<GObject*>(object), g_object_unref) : Object();
}

/// The name of a D-Bus failure that the service itself has stated; empty for any other.
std::string stated(const GError* error) {
  if (!g_dbus_error_is_remote_error(error)) return {};
  return GLibPtr<char>(g_dbus_error_get_remote_error(error)).get();
}

/// Only an answer that the service gave and that nothing can be made of counts as refused; everything else
/// may be better next time.
SecureItemStatus statusOf(const GError* error) {
  if (error->domain == SECRET_ERROR && error->code == SECRET_ERROR_PROTOCOL)
    return SecureItemStatus::authFailed;
  const auto name = stated(error);
  if (name == "org.freedesktop.Secret.Error.NoSuchObject") return SecureItemStatus::itemNotFound;
  return SecureItemStatus::notAvailable;
}

SecureItemStatus statusOf(bool success, GError* failure) {
  GLibPtr<GError> error(failure);
  if (error) return statusOf(error.get());
  return success ? SecureItemStatus::success : SecureItemStatus::notAvailable;
}

}  // namespace

void search(const SecureItemKey& key, std::function<void(Search)> completion) {
  secret_service_search(nullptr, &schema(), attributes(key).get(), SECRET_SEARCH_ALL, nullptr, finish,
                        held([completion = std::move(completion)](GAsyncResult* result) {
                          GError* failure = nullptr;
                          GList* items = secret_service_search_finish(nullptr, result, &failure);
                          Search found{.status = statusOf(true, failure), .open = {}, .locked = {}};
                          for (GList* at = items; at; at = at->next) {
                            auto object = adopt(at->data);
                            const bool locked = secret_item_get_locked(SECRET_ITEM(object.get()));
                            (locked ? found.locked : found.open).push_back(std::move(object));
                          }
                          g_list_free(items);
                          completion(std::move(found));
                        }));
}

void load(const Object& item, std::function<void(SecureItemStatus, std::string)> completion) {
  secret_item_load_secret(SECRET_ITEM(item.get()), nullptr, finish,
                          held([item, completion = std::move(completion)](GAsyncResult* result) {
                            GError* failure = nullptr;
                            const bool loaded =
                                secret_item_load_secret_finish(SECRET_ITEM(item.get()), result, &failure);
                            auto status = statusOf(loaded, failure);
                            std::string bytes;
                            std::unique_ptr<SecretValue, decltype(&secret_value_unref)> value(
                                loaded ? secret_item_get_secret(SECRET_ITEM(item.get())) : nullptr,
                                [](gpointer held) { secret_value_unref(held); });
                            if (value) {
                              gsize size = 0;
                              const char* content = secret_value_get(value.get(), &size);
                              bytes.assign(content, size);
                            } else if (status == SecureItemStatus::success) {
                              status = SecureItemStatus::authFailed;
                            }
                            completion(status, std::move(bytes));
                          }));
}

void erase(const Object& item, std::function<void(SecureItemStatus)> completion) {
  secret_item_delete(SECRET_ITEM(item.get()), nullptr, finish,
                     held([item, completion = std::move(completion)](GAsyncResult* result) {
                       GError* failure = nullptr;
                       const bool erased =
                           secret_item_delete_finish(SECRET_ITEM(item.get()), result, &failure);
                       completion(statusOf(erased, failure));
                     }));
}

void defaultCollection(std::function<void(DefaultCollection)> completion) {
  secret_collection_for_alias(nullptr, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, finish,
                              held([completion = std::move(completion)](GAsyncResult* result) {
                                GError* failure = nullptr;
                                auto* found = secret_collection_for_alias_finish(result, &failure);
                                DefaultCollection collection{.status = statusOf(true, failure),
                                                             .object = adopt(found)};
                                collection.locked = found && secret_collection_get_locked(found);
                                completion(std::move(collection));
                              }));
}

void store(const SecureItemKey& key, const std::string& bytes,
           std::function<void(SecureItemStatus)> completion) {
  const auto size = static_cast<gssize>(bytes.size());
  // Some keyrings show text as text and take anything else for an attached file.
  const char* type = g_utf8_validate(bytes.data(), size, nullptr) ? "text/plain" : "application/octet-stream";
  auto* value = secret_value_new(bytes.data(), size, type);
  const auto label = "Pell: " + key.account;
  secret_service_store(nullptr, &schema(), attributes(key).get(), SECRET_COLLECTION_DEFAULT, label.c_str(),
                       value, nullptr, finish,
                       held([completion = std::move(completion)](GAsyncResult* result) {
                         GError* failure = nullptr;
                         const bool stored = secret_service_store_finish(nullptr, result, &failure);
                         completion(statusOf(stored, failure));
                       }));
  secret_value_unref(value);
}

void unlock(const std::vector<Object>& objects, std::function<void(bool)> completion) {
  GList* list = nullptr;
  for (const auto& object : objects) list = g_list_prepend(list, object.get());
  secret_service_unlock(nullptr, list, nullptr, finish,
                        held([objects, completion = std::move(completion)](GAsyncResult* result) {
                          GError* failure = nullptr;
                          GList* opened = nullptr;
                          const auto count = secret_service_unlock_finish(nullptr, result, &opened, &failure);
                          GLibPtr<GError> error(failure);
                          g_list_free_full(opened, g_object_unref);
                          completion(count > 0);
                        }));
  g_list_free(list);
}

void disconnect() { secret_service_disconnect(); }

}  // namespace pell::secretservice
