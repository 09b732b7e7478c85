// Joins a text view to the editor's controller, and shows it one document after the other.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "editor/EditableText.h"
#include "editor/EditorController.h"

namespace pell {

class TextView;

/// What a view needs of logic: it answers for the view's text, gives the controller its view, and knows which
/// document the view holds. One for each view, which must outlive it. Main thread only.
class EditorCoordinator final : public EditableText::Delegate {
 public:
  /// `open` hands an address to the desktop.
  EditorCoordinator(EditorController& controller, TextView& view,
                    std::function<bool(const std::string&)> open);
  EditorCoordinator(const EditorCoordinator&) = delete;
  EditorCoordinator& operator=(const EditorCoordinator&) = delete;
  ~EditorCoordinator() override;

  /// Shows the document: loads it when, and only when, `documentID` is not the one that the view holds. So
  /// a text is never loaded again under the caret. A new view has to be given the latest content.
  void show(const std::string& documentID, const EditorController::Snapshot& document);

  /// False if the link is no address that could be opened.
  bool clickedOnLink(const std::string& link);

  bool shouldChangeText(TextRange range, std::optional<std::u16string_view> replacement) override;
  void textDidChange() override;
  void textViewDidChangeSelection() override;

 private:
  EditorController& controller_;
  TextView& view_;
  std::function<bool(const std::string&)> open_;
  std::optional<std::string> loadedDocumentID_;
};

}  // namespace pell
