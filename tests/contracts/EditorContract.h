// What the editor does, whatever text view it works on.
#pragma once

#include "contracts/TextViewContract.h"
#include "editor/EditorHarness.h"
#include "editor/RandomEditing.h"

namespace pell::testing {

class EditorContract : public Contract<TextViewWorld> {};

TEST_P(EditorContract, ListsAndQuotes) {
  using Action = std::function<void(EditorHarness&)>;
  struct Case {
    std::string before, styles;
    Action action;
    std::string after;
  };
  const Action pressReturn = [this](EditorHarness&) { world().pressReturn(); };
  const Action bullets = [](EditorHarness& editor) { editor.controller.toggleBulletList(); };
  const Action numbers = [](EditorHarness& editor) { editor.controller.toggleOrderedList(); };
  const Action quote = [](EditorHarness& editor) { editor.controller.toggleQuote(); };
  const std::vector<Case> cases{
      // A list is switched on and off.
      {"|", "", bullets, "•\t| l"},
      {"|", "", numbers, "1.\t| l"},
      {"one\n|", "p", bullets, "one\n•\t| pl"},
      {"|one\ntwo", "pp", bullets, "•\t|one\ntwo lp"},
      {"o[ne\ntwo\nth]ree", "ppp", bullets, "•\to[ne\n•\ttwo\n•\tth]ree lpp"},
      {"[one\n]two", "pp", bullets, "•\t[one\n]two lp"},
      {"[one\n\n•\ttwo]", "ppl", bullets, "•\t[one\n•\t\n•\ttwo] lpl"},
      {"[•\tone\ntwo\n3.\tthree]", "lpl", bullets, "[one\ntwo\nthree] ppl"},
      {"•\t[one\n•\ttwo\n•\tthree]", "lll", numbers, "1.\t[one\n2.\ttwo\n3.\tthree] lll"},
      {"7.\t[one\n1.\ttwo]", "ll", numbers, "[one\ntwo] pl"},
      {"[one\n9.\ttwo]\n10.\tten", "pll", numbers, "1.\t[one\n2.\ttwo]\n10.\tten lll"},
      {"•\t|", "l", bullets, "| P"},
      {"one\n1.\t|", "pl", numbers, "one\n| pP"},
      {"x\n•|\tone", "pl", bullets, "x\n|one pp"},
      // Return goes on with it, and ends it.
      {"•\tone|", "l", pressReturn, "•\tone\n•\t| ll"},
      {"3.\tc|\n4.\td", "ll", pressReturn, "3.\tc\n4.\t|\n4.\td lll"},
      {"3.\tc[d]e", "l", pressReturn, "3.\tc\n4.\t|e ll"},
      {"9.\tone|", "p", pressReturn, "9.\tone\n10.\t| pl"},
      {"99999999999999999999.\tx|", "l", pressReturn, "99999999999999999999.\tx\n2.\t| ll"},
      {"•\t|\nmore", "lp", pressReturn, "|\nmore pp"},
      {"one\n2.\t|", "pl", pressReturn, "one\n| pP"},
      {"•\t |", "l", pressReturn, "•\t \n•\t| ll"},
      {"12|", "p", pressReturn, "12\n| pP"},
      {"1. |", "p", pressReturn, "1. \n| pP"},
      // A quote.
      {"one\ntw|o", "pp", quote, "one\ntw|o pq"},
      {"o[ne\n\ntw]o\nthree", "pppp", quote, "o[ne\n\ntw]o\nthree qqqp"},
      {"o|ne", "q", quote, "o|ne p"},
      {"|", "", quote, "| Q"},
      {"one|", "q", pressReturn, "one\n| qQ"},
      {"one\n|", "q", pressReturn, "one\n| qP"},
      {"one\n|\ntwo", "qqq", pressReturn, "one\n|\ntwo qpq"},
      {"one\n |", "qq", pressReturn, "one\n \n| qqQ"},
      {"one\n|", "p", pressReturn, "one\n\n| ppP"},
  };
  for (const Case& each : cases) {
    EditorHarness editor(world().view());
    editor.put(each.before, each.styles);
    each.action(editor);
    EXPECT_EQ(editor.shown(), each.after) << each.before;
    EXPECT_EQ(editor.latest.text, editor.text().storage().utf8()) << "nobody was told";
  }
}

TEST_P(EditorContract, RandomEditsKeepTextLooksSelectionUndoAndSavingTogether) {
  for (unsigned seed = 0; seed < 20 && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomEditing(world(), seed).run(80);
  }
}

}  // namespace pell::testing
