#include "editor/view/RichTextEditor.h"

#include <QVBoxLayout>
#include <utility>

#include "editor/view/PellTextView.h"

namespace pell {

RichTextEditor::RichTextEditor(EditorController& controller, Setup setup, QWidget* parent)
    : QWidget(parent),
      view_(*new PellTextView(this)),
      coordinator_(controller, view_, std::move(setup.open)) {
  coordinator_.show(setup.documentID, setup.document);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(&view_);
  setFocusProxy(&view_);
  view_.setPlaceholder(setup.placeholder);
  view_.clickedOnLink = [this](const std::string& link) { coordinator_.clickedOnLink(link); };
}

void RichTextEditor::showDocument(const std::string& documentID, const EditorController::Snapshot& document) {
  coordinator_.show(documentID, document);
}

}  // namespace pell
