#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/UpdateContent.h"

namespace pell {
namespace {

TEST(UpdateContentTest, TheOperatorsWordsStandWhereTheyHaveAny) {
  const Words plain = [](std::string_view text) { return std::string(text); };
  const std::string fixed =
      "Downloading the current version replaces this one. It takes a minute and you will not have to sign in "
      "again.";
  struct Case {
    std::optional<std::string> message;
    std::string shown;
  };
  for (const auto& [message, shown] :
       std::vector<Case>{{std::nullopt, fixed},
                         {"", fixed},
                         {" \n\t ", fixed},
                         {"\n Version 2 speaks French. ", "Version 2 speaks French."}}) {
    const auto content = updateContent({.version = "1.0.0", .message = message}, plain);
    ASSERT_EQ(content.paragraphs.size(), 3u);
    EXPECT_THAT(content.paragraphs[0], ::testing::HasSubstr(" version 1.0.0, "));
    EXPECT_EQ(content.paragraphs[1], shown);
    EXPECT_EQ(content.buttons.size(), 2u);
  }
  const auto content = updateContent({.version = "1.0.0", .message = {}, .hasDownload = false}, plain);
  ASSERT_EQ(content.buttons.size(), 1u);
  EXPECT_EQ(content.buttons[0].action, UpdateAction::dismiss);
}

}  // namespace
}  // namespace pell
