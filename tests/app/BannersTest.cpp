#include <gtest/gtest.h>

#include "app/Banners.h"
#include "support/MemoryPlatform.h"

namespace pell::testing {
namespace {

using Kind = Banners::Kind;

/// A platform that words some texts in its own way.
std::string elsewhere(std::string_view text) {
  return text.starts_with("macOS") ? "Here: " + std::string(text.substr(5)) : std::string(text);
}

struct BannersTest : ::testing::Test {
  VirtualTime time;
  AppState state;
  BannerTexts texts{elsewhere};
  Banners banners{state, texts, time.main()};
};

TEST_F(BannersTest, TheKindIsToldByTheWholeText) {
  const std::vector<std::pair<std::optional<std::string>, Kind>> cases{
      {std::nullopt, Kind::failure},
      {"Copied to the clipboard.", Kind::ok},
      {"Saved as a note.", Kind::ok},
      {"Saved as a note", Kind::failure},
      {"Dictation history cleared.", Kind::ok},
      {"You have been signed out. Sign in to continue.", Kind::attention},
      {"Confirm your email address so you can get back in if you forget your password. If it is not in your "
       "inbox, check your spam or junk folder.",
       Kind::attention},
      {texts.forLostSession(Keychain::ReadOutcome::timedOut), Kind::attention},
      {texts.forLostSession(Keychain::ReadOutcome::refused), Kind::attention},
      {"Could not save this note: disk full", Kind::failure},
      {"", Kind::failure},
  };
  for (const auto& [text, kind] : cases) {
    state.banner = text;
    EXPECT_EQ(banners.kind(), kind) << text.value_or("none");
  }
  EXPECT_TRUE(texts.signInRemoved.starts_with("Here: ")) << "worded by the platform";
}

TEST_F(BannersTest, TheFirstFlashEndsTheCoachingOfTheSecond) {
  banners.flashShortTapCoach();
  time.advance(Seconds(1.5));
  banners.flashShortTapCoach();
  time.advance(Seconds(0.4));
  EXPECT_EQ(banners.shortTapCoach().get(), "Hold it a little longer. Pell starts listening after a moment.");
  time.advance(Seconds(0.1));
  EXPECT_EQ(banners.shortTapCoach().get(), std::nullopt);
}

}  // namespace
}  // namespace pell::testing
