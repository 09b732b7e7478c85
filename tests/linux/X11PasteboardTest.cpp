#include "contracts/PasteboardContract.h"
#include "linux/AppProcess.h"
#include "linux/SelectionPeer.h"
#include "linux/X11Worlds.h"
#include "pipeline/TextInjector.h"
#include "platform/linux/X11Pasteboard.h"

namespace pell::testing {
namespace {

std::string targetOf(std::string_view type) {
  return type == pasteboardTypeString ? "UTF8_STRING" : std::string(type);
}

class X11PasteboardWorld : public X11World<PasteboardWorld> {
 public:
  Pasteboard& pasteboard() override { return *pasteboard_; }
  void otherCopies(PasteboardItem item) override {
    std::vector<SelectionData> content;
    for (const auto& [type, bytes] : item.representations) {
      content.push_back({.target = targetOf(type), .kind = {}, .bytes = bytes});
    }
    peer_.own(std::move(content), {});
  }
  std::optional<std::string> otherPastes(std::string_view type) override {
    loop.runFor(Seconds(0.02));
    auto data = peer_.ask(targetOf(type));
    if (!data) return std::nullopt;
    return data->bytes;
  }
  void ownerHangs() override { peer_.stopAnswering(); }

 private:
  SelectionPeer peer_;
  std::unique_ptr<X11Pasteboard> pasteboard_ = mustOpen<X11Pasteboard>(log);
};

PELL_INSTANTIATE_CONTRACT(X11, PasteboardContract, PasteboardWorld, X11PasteboardWorld);

class X11PasteboardTest : public ::testing::Test {
 protected:
  static PasteboardItem text(std::string content) {
    return {.representations = {{std::string(pasteboardTypeString), std::move(content)}}};
  }
  static SelectionData utf8(std::string content) {
    return {.target = "UTF8_STRING", .kind = {.type = "UTF8_STRING"}, .bytes = std::move(content)};
  }
  double secondsFor(const std::function<void()>& work) {
    auto start = loop_.now();
    work();
    return Seconds(loop_.now() - start).count();
  }

  RealLoop loop_;
  MemoryLog lines_;
  Log log_{lines_};
  SelectionPeer peer_;
  std::unique_ptr<X11Pasteboard> pasteboard_ = mustOpen<X11Pasteboard>(log_);
};

// What a user has on the clipboard: an image, files, and a large format that comes in parts from an owner
// who is gone by the time it is put back.
TEST_F(X11PasteboardTest, PutsBackEverythingAfterItsOwnerHasDied) {
  std::string image(1 << 20, '\0');
  for (std::size_t i = 0; i < image.size(); ++i) image[i] = static_cast<char>(i * 2654435761U >> 13);
  const std::string wide("\x01\x00\x00\x00\xFE\xFF\xFF\x7F\x34\x12\x00\x80", 12);
  std::vector<SelectionData> content{
      {.target = "image/png", .kind = {.type = "image/png"}, .bytes = image},
      {.target = "text/uri-list",
       .kind = {.type = "text/uri-list"},
       .bytes = "file:///a%20b\r\nfile:///c\r\n"},
      {.target = "x-special/gnome-copied-files", .kind = {.type = "STRING"}, .bytes = "cut\nfile:///a%20b"},
      {.target = "application/x-numbers", .kind = {.type = "INTEGER", .format = 32}, .bytes = wide},
      {.target = "application/x-wide", .kind = {.type = "application/x-wide", .format = 16}, .bytes = wide},
      {.target = "application/x-empty", .kind = {.type = "application/x-empty"}, .bytes = ""},
  };
  std::vector<PasteboardItem> snapshot;
  {
    SelectionPeer owner;
    owner.own(content, {.partBytes = 60'000});
    snapshot = pasteboard_->items();
    auto asked = owner.requests();
    EXPECT_EQ(asked["DELETE"] + asked["MULTIPLE"] + asked["TIMESTAMP"], 0) << "asking for DELETE deletes";
  }
  pasteboard_->writeItems({text("dictated")});
  EXPECT_EQ(pasteboard_->items(), std::vector{text("dictated")}) << "what is ours comes from memory";
  pasteboard_->clearContents();
  pasteboard_->writeItems(snapshot);
  for (const auto& wanted : content) {
    auto got = peer_.ask(wanted.target);
    ASSERT_TRUE(got) << wanted.target;
    EXPECT_EQ(got->bytes == wanted.bytes, true) << wanted.target;
    EXPECT_EQ(got->kind, wanted.kind) << wanted.target;
  }
}

TEST_F(X11PasteboardTest, IsNotHeldUpByAnyOwner) {
  const std::string large(400'000, 'x');
  struct Case {
    const char* name;
    SelectionPeer::Manners manners;
    double limit;  // seconds
    bool hasLarge;
  };
  for (const auto& [name, manners, limit, hasLarge] :
       {Case{"dies in the middle", {.partBytes = 50'000, .partsBeforeDeath = 3}, 0.7, false},
        Case{"answers nothing", {.answers = false}, 0.7, false},
        Case{"slow but sure", {.partBytes = 50'000, .pauseBetweenParts = 0.1}, 2.0, true},
        Case{"endless", {.partBytes = 10'000, .pauseBetweenParts = 0.3}, 5.0, false}}) {
    SCOPED_TRACE(name);
    SelectionPeer owner;
    owner.own({utf8("first"), {.target = "image/bmp", .kind = {.type = "image/bmp"}, .bytes = large}},
              manners);
    std::vector<PasteboardItem> items;
    EXPECT_LT(secondsFor([&] { items = pasteboard_->items(); }), limit);
    if (!manners.answers) {
      EXPECT_TRUE(items.empty());
      continue;
    }
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(*items[0].data(pasteboardTypeString), "first");
    EXPECT_EQ(items[0].data("image/bmp") != nullptr, hasLarge);
  }
}

TEST_F(X11PasteboardTest, OffersTextUnderEveryNameThatProgramsAskFor) {
  pasteboard_->writeItems({{.representations = {{std::string(pasteboardTypeString), "é – x"},
                                                {std::string(TextInjector::concealedType), "é – x"}}}});
  for (const char* target : {"UTF8_STRING", "text/plain;charset=utf-8", "text/plain", "TEXT"}) {
    auto got = peer_.ask(target);
    ASSERT_TRUE(got) << target;
    EXPECT_EQ(got->bytes, "é – x") << target;
  }
  EXPECT_EQ(peer_.ask("STRING")->bytes, "\xE9 ? x") << "Latin-1";
  EXPECT_EQ(peer_.ask("x-kde-passwordManagerHint")->bytes, "secret");
  EXPECT_EQ(outputOf({"sh", "-c", "xclip -selection clipboard -o; echo"}), "é – x\n");
  pasteboard_->writeItems({text("not concealed")});
  EXPECT_FALSE(peer_.ask("x-kde-passwordManagerHint"));
}

TEST_F(X11PasteboardTest, ReadsTextOfPlainPrograms) {
  peer_.own({{.target = "STRING", .kind = {.type = "STRING"}, .bytes = "caf\xE9"}}, {});
  EXPECT_EQ(pasteboard_->string(), "café");
  EXPECT_EQ(*pasteboard_->items().at(0).data(pasteboardTypeString), "café");
}

TEST_F(X11PasteboardTest, OffersThePrimarySelectionUntilTheContentChanges) {
  pasteboard_->writeItems({text("for a terminal")});
  EXPECT_FALSE(peer_.ask("UTF8_STRING", "PRIMARY"));
  pasteboard_->offerAsPrimary();
  EXPECT_EQ(peer_.ask("UTF8_STRING", "PRIMARY")->bytes, "for a terminal");
  pasteboard_->writeItems({text("the old content")});
  EXPECT_FALSE(peer_.ask("UTF8_STRING", "PRIMARY"));
}

TEST_F(X11PasteboardTest, AsksNobodyForWhatThisProcessHasThroughItsToolkit) {
  bool ours = true;
  auto pasteboard = mustOpen<X11Pasteboard>(log_, [&]() -> std::optional<std::vector<PasteboardItem>> {
    if (!ours) return std::nullopt;
    return std::vector{text("from our editor")};
  });
  peer_.own({utf8("theirs")}, {.answers = false});
  EXPECT_LT(secondsFor([&] { EXPECT_EQ(pasteboard->string(), "from our editor"); }), 0.2);
  EXPECT_EQ(pasteboard->items(), std::vector{text("from our editor")});
  ours = false;
  peer_.own({utf8("theirs")}, {});
  EXPECT_EQ(pasteboard->string(), "theirs");
}

// A clipboard manager that takes over what it is handed, as those of the large desktops do.
TEST_F(X11PasteboardTest, HandsOverToAClipboardManager) {
  pasteboard_->writeItems({text("kept")});
  EXPECT_FALSE(pasteboard_->handOver()) << "there is no manager";
  SelectionPeer manager;
  manager.own({{.target = "SAVE_TARGETS", .kind = {.type = "NULL"}, .bytes = ""}}, {}, "CLIPBOARD_MANAGER");
  EXPECT_TRUE(pasteboard_->handOver());
  EXPECT_EQ(manager.requests()["SAVE_TARGETS"], 1);
  manager.stopAnswering();
  EXPECT_LT(secondsFor([&] { EXPECT_FALSE(pasteboard_->handOver()); }), 3.0);
}

}  // namespace
}  // namespace pell::testing
