// The editor of a note, as a window shows it.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <string>

#include "editor/EditorCoordinator.h"

namespace pell {

class PellTextView;

/// Gives the controller a view for as long as it lives. Main thread only.
class RichTextEditor final : public QWidget {
 public:
  struct Setup {
    std::function<bool(const std::string&)> open;  // hands the address of a clicked link to the desktop
    QString placeholder;
    // What it shows first: lent before, an empty view would be taken for the text of the open note.
    std::string documentID;
    EditorController::Snapshot document;
  };
  RichTextEditor(EditorController& controller, Setup setup, QWidget* parent = nullptr);

  /// Shows that document; nothing happens if it is the one on show, whatever has become of it.
  void showDocument(const std::string& documentID, const EditorController::Snapshot& document);

  PellTextView& view() { return view_; }

 private:
  PellTextView& view_;  // a child
  EditorCoordinator coordinator_;
};

}  // namespace pell
