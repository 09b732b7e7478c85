// Opening a long note, from its stored bytes to the painted picture, against a bare QTextEdit that opens the
// same document as HTML, the format that Qt reads itself; and what a keystroke costs the view, from the key
// to the painted picture, in a note of 100,000 words. One line each: name, ours, the peer's, and how many
// times faster ours is. Medians of milliseconds, taken in turn; the keystroke's second figure is its 99th
// percentile.
#include <QApplication>
#include <QKeyEvent>
#include <QTextEdit>
#include <algorithm>
#include <chrono>
#include <fmt/core.h>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "editor/BlockStyle.h"
#include "editor/EditorController.h"
#include "editor/RichText.h"
#include "editor/view/PellTextView.h"
#include "editor/view/RichTextEditor.h"
#include "platform/portable/ThreadExecutor.h"

namespace {

using namespace pell;

constexpr std::size_t megabyte = 1'000'000;  // UTF-16 units, about as many bytes of text
constexpr std::size_t manyWords = 100'000;
constexpr int rounds = 7;
constexpr int keystrokes = 300;

double milliseconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double percentile(std::vector<double> values, double part) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

/// A note as people write them: paragraphs, headings, lists, quotes, and a word here and there in bold.
class Note {
 public:
  AttributedText make(std::size_t units, std::size_t words) {
    while (text_.length() < units || words_ < words) paragraph();
    return std::move(text_);
  }

 private:
  void paragraph() {
    TextAttributes attributes = RichText::bodyAttributes();
    std::u16string lead;
    const auto kind = random_() % 10;
    if (kind == 0) attributes.font = font(BlockStyle::heading);
    if (kind == 1) attributes.paragraphStyle = RichText::quoteParagraphStyle();
    if (kind == 1) attributes.background = PaletteColour::quote;
    if (kind == 2) attributes.paragraphStyle = RichText::listParagraphStyle();
    if (kind == 2) lead = RichText::bulletMarker;
    text_.append(lead, attributes);
    const auto length = kind == 0 ? 5 : 20 + random_() % 60;
    for (std::size_t word = 0; word < length; ++word) {
      TextAttributes own = attributes;
      if (random_() % 25 == 0) own.font->weight = Font::bold;
      text_.append(std::u16string(1 + random_() % 9, static_cast<char16_t>(u'a' + random_() % 26)), own);
      text_.append(u" ", attributes);
    }
    words_ += length;
    text_.append(u"\n", attributes);
  }

  AttributedText text_;
  std::size_t words_ = 0;
  std::mt19937 random_{11};
};

void compareOpening() {
  const AttributedText note = Note().make(megabyte, 0);
  const EditorController::Snapshot stored{.rtf = RichText::rtf(note), .text = note.utf8()};
  PellTextView shown;
  shown.document().setAttributedString(note);
  const QString html = static_cast<QTextEdit&>(shown).toHtml();
  ThreadExecutor executor("bench");
  EditorController controller(executor);
  std::vector<double> ours;
  std::vector<double> bare;
  for (int round = 0; round < rounds; ++round) {
    ours.push_back(milliseconds([&] {
      RichTextEditor editor(controller,
                            {.open = {}, .placeholder = {}, .documentID = "note", .document = stored});
      editor.resize(800, 700);
      editor.grab();
    }));
    bare.push_back(milliseconds([&] {
      QTextEdit view;
      view.resize(800, 700);
      view.setHtml(html);
      view.grab();
    }));
  }
  const double mine = percentile(ours, 0.5);
  const double theirs = percentile(bare, 0.5);
  fmt::print("open-1MB-note {:.1f} {:.1f} {:.2f}\n", mine, theirs, theirs / mine);
}

void measureKeys(const char* name, std::size_t (*place)(std::size_t length)) {
  PellTextView view;
  view.resize(800, 700);
  view.document().setAttributedString(Note().make(0, manyWords));
  view.document().setSelectedRange({.location = place(view.document().storage().length())});
  view.show();
  std::vector<double> times;
  for (int key = 0; key < keystrokes + 1; ++key) {
    times.push_back(milliseconds([&] {
      QKeyEvent press(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, "a");
      QApplication::sendEvent(&view, &press);
      static_cast<QTextEdit&>(view).viewport()->repaint();
    }));
    if (key == 0) times.clear();  // it brings the view to where the caret is
  }
  fmt::print("{} {:.2f} {:.2f}\n", name, percentile(times, 0.5), percentile(times, 0.99));
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  measureKeys("key-at-start", [](std::size_t) { return std::size_t{0}; });
  measureKeys("key-in-the-middle", [](std::size_t length) { return length / 2; });
  measureKeys("key-at-end", [](std::size_t length) { return length; });
  compareOpening();
}
