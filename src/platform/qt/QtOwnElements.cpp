#include "platform/qt/QtOwnElements.h"

#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTextEdit>

namespace pell {
namespace {

/// What stays the same for every widget; the timeout means nothing, as nobody is asked.
class OwnElement : public AccessibilityElement {
 public:
  explicit OwnElement(QWidget* widget) : widget_(widget) {}

  void setMessagingTimeout(Seconds) override {}

  AccessibilityReading copyAttribute(std::string_view name) override {
    if (!widget_) return {AccessibilityError::invalidElement, {}};
    if (name == accessibility::role) return {AccessibilityError::success, std::string(role())};
    if (name == accessibility::subrole && isSecure()) {
      return {AccessibilityError::success, std::string(accessibility::secureTextField)};
    }
    return {AccessibilityError::noValue, {}};
  }

  std::vector<std::string> attributeNames() override {
    return {std::string(accessibility::role), std::string(accessibility::subrole)};
  }

  Settable isSettable(std::string_view name) override {
    if (!widget_) return {AccessibilityError::invalidElement, false};
    return {AccessibilityError::success, name == accessibility::selectedText && isEditable()};
  }

  AccessibilityError setAttribute(std::string_view name, std::string_view utf8) override {
    if (!widget_) return AccessibilityError::invalidElement;
    if (name != accessibility::selectedText || !isEditable()) return AccessibilityError::attributeUnsupported;
    insert(QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())));
    return AccessibilityError::success;
  }

 protected:
  virtual std::string_view role() const { return "AXGroup"; }
  virtual bool isSecure() const { return false; }
  virtual bool isEditable() const { return false; }
  virtual void insert(const QString&) {}

  template <class Widget>
  Widget& as() const {
    return *static_cast<Widget*>(widget_.data());
  }

  QPointer<QWidget> widget_;
};

class OwnLineEdit final : public OwnElement {
 public:
  using OwnElement::OwnElement;

 private:
  std::string_view role() const override { return accessibility::textField; }
  bool isSecure() const override { return as<QLineEdit>().echoMode() != QLineEdit::Normal; }
  bool isEditable() const override { return !as<QLineEdit>().isReadOnly() && as<QLineEdit>().isEnabled(); }
  void insert(const QString& text) override { as<QLineEdit>().insert(text); }
};

template <class Edit>
class OwnTextEdit final : public OwnElement {
 public:
  using OwnElement::OwnElement;

 private:
  std::string_view role() const override { return accessibility::textArea; }
  bool isEditable() const override { return !as<Edit>().isReadOnly() && as<Edit>().isEnabled(); }
  void insert(const QString& text) override { as<Edit>().insertPlainText(text); }
};

}  // namespace

AccessibilityElementRef QtOwnElements::focusedElement() {
  QWidget* widget = QApplication::focusWidget();
  if (!widget) return nullptr;
  if (qobject_cast<QLineEdit*>(widget)) return std::make_shared<OwnLineEdit>(widget);
  if (qobject_cast<QTextEdit*>(widget)) return std::make_shared<OwnTextEdit<QTextEdit>>(widget);
  if (qobject_cast<QPlainTextEdit*>(widget)) return std::make_shared<OwnTextEdit<QPlainTextEdit>>(widget);
  return std::make_shared<OwnElement>(widget);
}

}  // namespace pell
