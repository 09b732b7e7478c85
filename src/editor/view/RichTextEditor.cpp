#include "editor/view/RichTextEditor.h"

#include <QVBoxLayout>
#include <utility>

#include "editor/view/PellTextView.h"

namespace pell {

RichTextEditor::RichTextEditor(EditorController& controller, std::function<bool(const std::string&)> open,
                               const QString& placeholder, QWidget* parent)
    : QWidget(parent), view_(*new PellTextView(this)), coordinator_(controller, view_, std::move(open)) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(&view_);
  setFocusProxy(&view_);
  view_.setPlaceholder(placeholder);
  view_.clickedOnLink = [this](const std::string& link) { coordinator_.clickedOnLink(link); };
}

void RichTextEditor::showDocument(const std::string& documentID, const EditorController::Snapshot& document) {
  coordinator_.show(documentID, document);
}

}  // namespace pell
