#include <fstream>

#include "contracts/SecureItemStoreContract.h"
#include "platform/portable/FileSecureItemStore.h"
#include "portable/support/RealTime.h"
#include "support/MemoryLog.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;

class FileWorld final : public RealTime<SecureItemStoreWorld> {
 public:
  FileWorld() { reopen(); }
  SecureItemStore& store() override { return *store_; }
  void reopen() override {
    store_ = std::make_unique<FileSecureItemStore>(directory_.path() / "Pell" / "secrets.json", Log(sink_));
  }
  bool lock() override { return false; }
  void unlock() override {}

 private:
  TemporaryDirectory directory_;
  MemoryLog sink_;
  std::unique_ptr<SecureItemStore> store_;
};

PELL_INSTANTIATE_CONTRACT(File, SecureItemStoreContract, SecureItemStoreWorld, FileWorld);

TEST(FileSecureItemStoreTest, SurvivesDamageAndAFullDisk) {
  TemporaryDirectory directory;
  MemoryLog sink;
  const SecureItemKey key{"service", "account"};
  const auto file = directory.path() / "Pell" / "secrets.json";
  FileSecureItemStore store(file, Log(sink));
  ASSERT_EQ(store.add(key, "secret"), SecureItemStatus::success);
  EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);

  fs::path blocker = file;
  blocker += ".new";
  fs::create_directory(blocker);
  EXPECT_EQ(store.add(key, "other"), SecureItemStatus::notAvailable);
  EXPECT_EQ(store.remove(key), SecureItemStatus::notAvailable);
  fs::remove(blocker);
  EXPECT_EQ(store.remove(key), SecureItemStatus::success) << "a failed write changed something";

  std::ofstream(file) << "{ damaged, canary";
  EXPECT_EQ(store.add(key, "again"), SecureItemStatus::success);
  EXPECT_TRUE(fs::exists(file.string() + ".damaged-1"));
  EXPECT_THAT(sink.text(), ::testing::Not(::testing::HasSubstr("canary")));
}

}  // namespace
}  // namespace pell::testing
