// What every Pasteboard does.
#pragma once

#include "contracts/World.h"
#include "platform/Pasteboard.h"

namespace pell::testing {

/// The pasteboard, and another program that uses it too.
class PasteboardWorld : public World {
 public:
  virtual Pasteboard& pasteboard() = 0;

  /// Another program copies: it owns the content and offers these types. Type names that have no slash
  /// are the pasteboard's own (plain text under `pasteboardTypeString`); the others are MIME types.
  virtual void otherCopies(PasteboardItem item) = 0;

  /// Another program pastes: what it gets under a type, or absent if that type is not offered.
  virtual std::optional<std::string> otherPastes(std::string_view type) = 0;

  /// The content's owner stops answering, without going away.
  virtual void ownerHangs() = 0;
};

class PasteboardContract : public Contract<PasteboardWorld> {
 protected:
  static PasteboardItem text(std::string content) {
    return {.representations = {{std::string(pasteboardTypeString), std::move(content)}}};
  }

  /// The representations of the first item, by type.
  std::map<std::string, std::string> content() {
    std::map<std::string, std::string> found;
    for (const auto& item : world().pasteboard().items()) {
      for (const auto& [type, bytes] : item.representations) found.emplace(type, bytes);
    }
    return found;
  }
};

TEST_P(PasteboardContract, GivesAndTakesText) {
  for (const std::string& words : {std::string("plain"), std::string("é 日本語 हिन्दी 🎙\nsecond line\ttab"),
                                   std::string(300'000, 'x')}) {
    world().pasteboard().clearContents();
    world().pasteboard().writeItems({text(words)});
    EXPECT_EQ(world().pasteboard().string(), words);
    EXPECT_EQ(world().otherPastes(pasteboardTypeString), words);
    world().otherCopies(text("<" + words + ">"));
    EXPECT_TRUE(world().waitUntil([&] { return world().pasteboard().string() == "<" + words + ">"; }));
  }
}

TEST_P(PasteboardContract, PutsBackEveryFormatByteForByte) {
  const std::string image("\x89PNG\r\n\x1A\n\0\0\xFF\xFE", 12);
  const std::string large(1'200'000, '\xAB');
  world().otherCopies({.representations = {{std::string(pasteboardTypeString), "caption"},
                                           {"text/html", "<b>caption</b>"},
                                           {"image/png", image},
                                           {"image/bmp", large},
                                           {"text/uri-list", "file:///a%20b\r\nfile:///c\r\n"}}});
  ASSERT_TRUE(world().waitUntil([&] { return world().pasteboard().string() == "caption"; }));
  auto before = world().pasteboard().items();
  auto snapshot = content();
  EXPECT_EQ(snapshot["image/png"], image);
  EXPECT_EQ(snapshot["image/bmp"], large);

  world().pasteboard().clearContents();
  world().pasteboard().writeItems({text("dictated")});
  EXPECT_EQ(world().otherPastes("image/png"), std::nullopt);

  world().pasteboard().clearContents();
  world().pasteboard().writeItems(before);
  EXPECT_EQ(content(), snapshot);
  EXPECT_EQ(world().otherPastes(pasteboardTypeString), "caption");
  EXPECT_EQ(world().otherPastes("text/html"), "<b>caption</b>");
  EXPECT_EQ(world().otherPastes("image/png"), image);
  EXPECT_EQ(world().otherPastes("image/bmp"), large);
  EXPECT_EQ(world().otherPastes("text/uri-list"), "file:///a%20b\r\nfile:///c\r\n");
}

TEST_P(PasteboardContract, CarriesMarkersBesideTheText) {
  world().pasteboard().clearContents();
  world().pasteboard().writeItems({{.representations = {{std::string(pasteboardTypeString), "secret"},
                                                        {"org.example.Marker", "value"},
                                                        {"org.example.EmptyMarker", ""}}}});
  EXPECT_EQ(world().otherPastes(pasteboardTypeString), "secret");
  EXPECT_EQ(world().otherPastes("org.example.Marker"), "value");
  EXPECT_EQ(world().otherPastes("org.example.EmptyMarker"), "");
}

TEST_P(PasteboardContract, IsEmptyAfterClearing) {
  world().otherCopies(text("something"));
  ASSERT_TRUE(world().waitUntil([&] { return world().pasteboard().string().has_value(); }));
  world().pasteboard().clearContents();
  EXPECT_EQ(world().pasteboard().string(), std::nullopt);
  EXPECT_THAT(world().pasteboard().items(), ::testing::IsEmpty());
  EXPECT_EQ(world().otherPastes(pasteboardTypeString), std::nullopt);
  world().pasteboard().clearContents();
  world().otherCopies(text("another"));
  world().settle();
  EXPECT_EQ(world().pasteboard().string(), "another") << "a clearing that came before took it away";
}

TEST_P(PasteboardContract, HasNoTextWhereThereIsOnlyAnImage) {
  world().otherCopies({.representations = {{"image/png", "pixels"}}});
  ASSERT_TRUE(world().waitUntil([&] { return content().contains("image/png"); }));
  EXPECT_EQ(world().pasteboard().string(), std::nullopt);
}

TEST_P(PasteboardContract, IsNotHeldUpByAnOwnerThatHangs) {
  world().otherCopies(text("unreachable"));
  world().waitUntil([&] { return world().pasteboard().string() == "unreachable"; });
  world().ownerHangs();
  auto start = world().now();
  EXPECT_THAT(world().pasteboard().items(), ::testing::IsEmpty());
  EXPECT_EQ(world().pasteboard().string(), std::nullopt);
  EXPECT_LT(Seconds(world().now() - start).count(), 4.0);
  world().pasteboard().clearContents();
  world().pasteboard().writeItems({text("ours now")});
  EXPECT_EQ(world().otherPastes(pasteboardTypeString), "ours now");
}

}  // namespace pell::testing
