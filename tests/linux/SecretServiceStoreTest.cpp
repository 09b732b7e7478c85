#include <csignal>

#include "contracts/SecureItemStoreContract.h"
#include "linux/AppProcess.h"
#include "linux/BusName.h"
#include "platform/linux/SecretServiceStore.h"
#include "portable/support/RealTime.h"

namespace pell::testing {
namespace {

constexpr const char* secrets = "org.freedesktop.secrets";
constexpr const char* secretsPath = "/org/freedesktop/secrets";

std::string defaultCollection() {
  auto reply = callBus(secrets, secretsPath, "org.freedesktop.Secret.Service.ReadAlias",
                       g_variant_new("(s)", "default"));
  const char* path = "";
  if (reply) g_variant_get(reply.get(), "(&o)", &path);
  return path;
}

void lockKeyring() {
  const auto collection = defaultCollection();
  const char* paths[] = {collection.c_str()};
  callBus(secrets, secretsPath, "org.freedesktop.Secret.Service.Lock",
          g_variant_new("(@ao)", g_variant_new_objv(paths, 1)));
}

/// The keyring's own interface for the login, which takes passwords without a prompt.
bool callKeyring(const std::string& method, const std::vector<std::string>& passwords) {
  // The session below lasts as long as the connection, which goes with its last user.
  GLibPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  auto opened = callBus(secrets, secretsPath, "org.freedesktop.Secret.Service.OpenSession",
                        g_variant_new("(sv)", "plain", g_variant_new_string("")));
  if (!opened) return false;
  const char* session = nullptr;
  g_variant_get_child(opened.get(), 1, "&o", &session);
  GVariantBuilder arguments;
  g_variant_builder_init(&arguments, G_VARIANT_TYPE_TUPLE);
  g_variant_builder_add(&arguments, "o", defaultCollection().c_str());
  for (const auto& password : passwords) {
    auto* none = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, nullptr, 0, 1);
    auto* bytes = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, password.data(), password.size(), 1);
    g_variant_builder_add(&arguments, "(o@ay@ays)", session, none, bytes, "text/plain");
  }
  return callBus(secrets, secretsPath, "org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface." + method,
                 g_variant_builder_end(&arguments)) != nullptr;
}

const std::string ordinaryPassword = "keyring";  // what the private desktop opens it with
const std::string typedPassword = "typed";

void unlockKeyring() {
  EXPECT_TRUE(callKeyring("UnlockWithMasterPassword", {ordinaryPassword})) << "the keyring stays locked";
}

class KeyringWorld final : public RealTime<SecureItemStoreWorld> {
 public:
  KeyringWorld() { reopen(); }
  ~KeyringWorld() override {
    for (const char* account : {"session", "binary", "unicode", "long", "again", "kept", "late"})
      store_->remove({"com.pell.contract", account});
    for (const char* service : {"service.one", "service.two"}) {
      for (const char* account : {"a", "b"}) store_->remove({service, account});
    }
  }
  SecureItemStore& store() override { return *store_; }
  void reopen() override { store_ = std::make_unique<SecretServiceStore>(); }
  bool lock() override {
    lockKeyring();
    return true;
  }
  void unlock() override { unlockKeyring(); }

 private:
  std::unique_ptr<SecureItemStore> store_;
};

/// What is replied to a read, whenever that is.
std::shared_ptr<Inbox<std::string>> read(KeyringWorld& world, const SecureItemKey& key) {
  auto replies = std::make_shared<Inbox<std::string>>();
  world.store().copyMatching(key,
                             [replies](SecureItemStatus, const std::string& bytes) { replies->put(bytes); });
  return replies;
}

PELL_INSTANTIATE_CONTRACT(Keyring, SecureItemStoreContract, SecureItemStoreWorld, KeyringWorld);

TEST(SecretServiceStoreTest, MakesUpForChangesOfALockedKeyringWhenTheUserOpensIt) {
  KeyringWorld world;
  const SecureItemKey key{"com.pell.contract", "late"};
  ASSERT_TRUE(callKeyring("ChangeWithMasterPassword", {ordinaryPassword, typedPassword}));
  ASSERT_EQ(world.store().add(key, "before"), SecureItemStatus::success);
  world.lock();
  const auto start = world.now();
  const auto early = read(world, key);
  EXPECT_EQ(world.store().remove(key), SecureItemStatus::interactionNotAllowed);
  EXPECT_EQ(world.store().add(key, "after"), SecureItemStatus::interactionNotAllowed);
  EXPECT_LT(Seconds(world.now() - start).count(), 1.0);

  // The desktop's own prompt: the keyring's password is empty, so Return alone opens it.
  ASSERT_TRUE(world.waitUntil([] {
    return outputOf({"xdotool", "search", "--class", "gcr-prompter"}) != "";
  }));
  EXPECT_EQ(early->size(), 0u) << "a reply while the user was still being asked";
  const auto value = [&] {
    outputOf({"xdotool", "key", "ctrl+a"});
    outputOf({"xdotool", "type", typedPassword});
    outputOf({"xdotool", "key", "Return"});
    const auto now = read(world, key);
    return world.waitUntil([&] { return now->size() > 0; }, Seconds(1)) ? now->all().front() : "";
  };
  EXPECT_TRUE(world.waitUntil([&] { return value() == "after"; }));
  EXPECT_TRUE(world.waitUntil([&] { return early->size() == 1; })) << "the reply that waited for the user";
  ASSERT_TRUE(callKeyring("ChangeWithMasterPassword", {typedPassword, ordinaryPassword}));
}

pid_t keyringProcess() {
  auto reply = callBus("org.freedesktop.DBus", "/org/freedesktop/DBus",
                       "org.freedesktop.DBus.GetConnectionUnixProcessID", g_variant_new("(s)", secrets));
  guint32 process = 0;
  if (reply) g_variant_get(reply.get(), "(u)", &process);
  return static_cast<pid_t>(process);
}

TEST(SecretServiceStoreTest, AnHungServiceIsBounded) {
  KeyringWorld world;
  const SecureItemKey key{"com.pell.contract", "kept"};
  ASSERT_EQ(world.store().add(key, "bytes"), SecureItemStatus::success);
  const auto keyring = keyringProcess();
  ASSERT_GT(keyring, 0);
  kill(keyring, SIGSTOP);
  const auto start = world.now();
  const auto replies = read(world, key);
  EXPECT_LT(Seconds(world.now() - start).count(), 0.5);
  EXPECT_EQ(world.store().add(key, "other"), SecureItemStatus::notAvailable);
  EXPECT_LT(Seconds(world.now() - start).count(), 5.0);
  EXPECT_EQ(replies->size(), 0u);
  kill(keyring, SIGCONT);
  EXPECT_TRUE(world.waitUntil([&] { return replies->size() == 1; })) << "the late reply still comes";
}

TEST(SecretServiceStoreTest, GoesOnWithTheServiceThatFollowsADeadOne) {
  KeyringWorld world;
  const SecureItemKey key{"com.pell.contract", "kept"};
  ASSERT_EQ(world.store().add(key, "bytes"), SecureItemStatus::success);
  const auto keyring = keyringProcess();
  ASSERT_GT(keyring, 0);
  kill(keyring, SIGKILL);
  const auto start = world.now();
  EXPECT_NE(world.store().add(key, "lost"), SecureItemStatus::success);
  EXPECT_LT(Seconds(world.now() - start).count(), 5.0);
  // The bus has started another, which is locked.
  EXPECT_TRUE(world.waitUntil([] { return callKeyring("UnlockWithMasterPassword", {ordinaryPassword}); }));
  EXPECT_TRUE(world.waitUntil([&] { return world.store().add(key, "again") == SecureItemStatus::success; }));
  const auto replies = read(world, key);
  EXPECT_TRUE(world.waitUntil([&] { return replies->size() == 1; }));
  EXPECT_THAT(replies->all(), ::testing::ElementsAre("again"));
}

}  // namespace
}  // namespace pell::testing
