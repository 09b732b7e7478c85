// The double of the text view holds the contract of its port.
#include "contracts/EditorContract.h"
#include "contracts/TextViewContract.h"
#include "support/MemoryTextView.h"

namespace pell::testing {
namespace {

class TextViewInMemory final : public TextViewWorld {
 public:
  using TextViewWorld::waitUntil;
  bool waitUntil(std::function<bool()> done, Seconds) override { return done(); }
  void settle() override {}
  Instant now() const override { return {}; }

  TextView& view() override { return view_; }
  void typeText(std::u16string_view text) override { view_.type(text); }
  void pressReturn() override { view_.pressReturn(); }
  void backspace() override { view_.backspace(); }
  void select(TextRange range) override { view_.select(range); }
  void pasteRich(const AttributedText& text) override { view_.paste(text); }
  void dropText(std::u16string_view text, std::size_t position) override { view_.drop(text, position); }
  void preedit(std::u16string_view text) override { view_.preedit(text); }
  void commit(std::u16string_view text) override { view_.commit(text); }
  void undo() override { view_.document().undo(); }
  void redo() override { view_.document().redo(); }
  AttributedText shown() override { return view_.shown(); }
  TextRange shownSelection() override { return view_.shownSelection(); }

 private:
  MemoryTextView view_;
};
PELL_INSTANTIATE_CONTRACT(Memory, TextViewContract, TextViewWorld, TextViewInMemory);
PELL_INSTANTIATE_CONTRACT(Memory, EditorContract, TextViewWorld, TextViewInMemory);

}  // namespace
}  // namespace pell::testing
