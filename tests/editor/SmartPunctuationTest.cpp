#include <gtest/gtest.h>
#include <string>

#include "editor/SmartPunctuation.h"

namespace pell {
namespace {

/// What stands there once `keys` were typed one after the other.
std::u16string typed(std::u16string_view keys) {
  std::u16string text;
  for (char16_t key : keys) {
    text += key;
    if (const auto substitute = SmartPunctuation::after(text)) {
      text.resize(text.size() - substitute->replaced);
      text += substitute->character;
    }
  }
  return text;
}

TEST(SmartPunctuationTest, QuotesCurveByWhatStandsBeforeAndHyphensBecomeDashes) {
  const std::pair<std::u16string_view, std::u16string_view> cases[]{
      {u"", u""},
      {u"\"Yes,\" she said", u"“Yes,” she said"},
      {u"a (\"b\") [\"c\"]", u"a (“b”) [“c”]"},
      {u"it's the dogs' 'own'", u"it’s the dogs’ ‘own’"},
      {u"\"'Twice'\"", u"“‘Twice’”"},
      {u"\tone\u00A0\"two\"", u"\tone\u00A0“two”"},
      {u"a -- b--c - d", u"a — b—c - d"},
      {u"\U0001F600\"", u"\U0001F600”"},
      {u"--\"so\"", u"—“so”"},
      {u"----", u"—--"},
  };
  for (const auto& [keys, expected] : cases) EXPECT_EQ(typed(keys), expected);
}

}  // namespace
}  // namespace pell
