// What a keystroke costs from the view's change to the end of the notification: the step for undo, the
// snapshot with its rich text, the counts and the toolbar's state, in notes of two lengths. The floor is the
// same change of the text with nobody listening.
#include <cstdint>
#include <cstdlib>
#include <fmt/core.h>
#include <random>
#include <string>
#include <vector>

#include "bench/support/Figures.h"
#include "editor/EditorController.h"
#include "editor/EditorCoordinator.h"
#include "editor/RichText.h"
#include "platform/linux/Heap.h"

namespace {

using namespace pell;

constexpr int keystrokes = 1000;

/// Nothing of a keystroke waits.
class IdleExecutor final : public Executor {
 public:
  void post(Work) override {}
  DelayedWork postAfter(Seconds, Work) override { return DelayedWork(); }
  Instant now() const override { return bench::now(); }
  bool isCurrent() const override { return true; }
};

class BareView final : public TextView {
 public:
  EditableText& document() override { return text_; }
  void scrollRangeToVisible(TextRange) override {}
  void highlight(TextRange, double) override {}

 private:
  EditableText text_;
};

/// Prose with headings, lists, and a word in fifty of another look.
AttributedText note(const std::vector<std::u16string>& vocabulary, int words) {
  std::mt19937 random(7);
  AttributedText text;
  const TextAttributes body = RichText::bodyAttributes();
  TextAttributes bold = body;
  bold.font->weight = Font::bold;
  TextAttributes item = body;
  item.paragraphStyle = RichText::listParagraphStyle();
  TextAttributes heading = body;
  heading.font = font(BlockStyle::heading);
  for (int word = 0; word < words; ++word) {
    const int place = word % 60;
    const TextAttributes& look = place < 5 ? heading : word % 300 > 240 ? item : body;
    if (place == 5) text.append(u"\n", heading);
    if (place == 0 && word > 0) text.append(u"\n", body);
    if (place % 20 == 10 && word % 300 > 240) text.append(u"\n•\t", item);
    text.append(vocabulary[random() % vocabulary.size()] + u" ", random() % 50 == 0 ? bold : look);
  }
  return text;
}

double microseconds(EditableText& text, std::size_t at) {
  text.setSelectedRange({.location = at});
  const Instant start = bench::now();
  text.insertText(u"x", text.selectedRange());
  return 1000 * bench::millisecondsBetween(start, bench::now());
}

void measure(const char* name, const AttributedText& note, const char* goal) {
  IdleExecutor executor;
  EditorController controller(executor);
  std::size_t told = 0;
  EditorController::Snapshot latest;
  controller.onChange = [&](EditorController::Snapshot& snapshot) {
    std::swap(latest, snapshot);
    told += latest.rtf.size();
  };
  BareView view;
  EditorCoordinator coordinator(controller, view, [](const std::string&) { return false; });
  view.document().setAttributedString(note);
  EditableText alone;
  alone.setAttributedString(note);
  controller.notifyChanged();

  std::mt19937 random(11);
  bench::Samples ours, floor;
  std::size_t at = 0;
  for (int key = 0; key < keystrokes; ++key) {
    // A user writes on for a while, then goes elsewhere.
    at = key % 20 == 0 ? random() % note.length() : at + 1;
    ours.add(microseconds(view.document(), at));
    floor.add(microseconds(alone, at));
  }
  if (told == 0) std::exit(1);
  fmt::print("{:<26}{:>10.0f}{:>10.0f}{:>10.1f}   {}\n", name, ours.median(), ours.quantile(0.99),
             floor.median(), goal);
}

}  // namespace

int main() {
  setHeapLimits();  // as the application does
  const std::vector<std::u16string> english{u"the",    u"harvest", u"letter",  u"morning,",
                                            u"it's",   u"of",      u"meeting", u"because",
                                            u"people", u"please",  u"a",       u"answer."};
  const std::vector<std::u16string> hindi{u"मैं",  u"हिंदी",  u"में",       u"लिखता",
                                          u"हूँ।", u"राष्ट्र", u"स्वतंत्रता", u"खिड़की"};
  fmt::print("{:<26}{:>10}{:>10}{:>10}   goal\n", "keystroke, microseconds", "median", "99%", "unheard");
  for (const bool isHindi : {false, true}) {
    const auto& words = isHindi ? hindi : english;
    measure(isHindi ? "10,000 words, Hindi" : "10,000 words", note(words, 10'000), "99% < 2000");
    measure(isHindi ? "100,000 words, Hindi" : "100,000 words", note(words, 100'000), "99% < 16000");
  }
}
