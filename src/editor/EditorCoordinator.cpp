#include "editor/EditorCoordinator.h"

#include <utility>

#include "editor/ReturnRules.h"
#include "editor/RichText.h"
#include "stores/Text.h"
#include "stores/Url.h"

namespace pell {

EditorCoordinator::EditorCoordinator(EditorController& controller, TextView& view,
                                     std::function<bool(const std::string&)> open)
    : controller_(controller), view_(view), open_(std::move(open)) {
  view_.document().setTypingAttributes(RichText::bodyAttributes());
  view_.document().setDelegate(this);
  controller_.textView = &view_;
}

EditorCoordinator::~EditorCoordinator() {
  view_.document().setDelegate(nullptr);
  // The next view may be there already.
  if (controller_.textView == &view_) controller_.textView = nullptr;
}

void EditorCoordinator::show(const std::string& documentID, const EditorController::Snapshot& document) {
  if (loadedDocumentID_ == documentID) return;
  loadedDocumentID_ = documentID;
  if (document.rtf.empty() && trimmed(document.text).empty()) {
    controller_.loadEmpty();
  } else {
    controller_.load(document);
  }
}

bool EditorCoordinator::clickedOnLink(const std::string& link) {
  const auto address = Url::parse(link);
  if (!address || !address->scheme) return false;
  open_(link);
  return true;
}

bool EditorCoordinator::shouldChangeText(TextRange range, std::optional<std::u16string_view> replacement) {
  return ReturnRules::allowsChange(controller_, range, replacement);
}

void EditorCoordinator::textDidChange() { controller_.notifyChanged(); }

void EditorCoordinator::textViewDidChangeSelection() { controller_.refresh(); }

}  // namespace pell
