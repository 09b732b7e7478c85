#include "app/view/StatusWindow.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

namespace pell {

StatusWindow::StatusWindow(Actions actions) {
  setWindowTitle("Pell");
  setObjectName("pell-main");
  resize(460, 220);
  QFont large = title_.font();
  large.setPointSizeF(large.pointSizeF() * 1.6);
  title_.setFont(large);
  for (QLabel* label : {&title_, &detail_, &notice_}) {
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
  }
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(28, 24, 28, 24);
  column->setSpacing(10);
  column->addWidget(&title_);
  column->addWidget(&detail_);
  column->addStretch();
  column->addWidget(&notice_);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(&toggle_);
  buttons->addWidget(&accessibility_);
  buttons->addStretch();
  column->addLayout(buttons);
  notice_.hide();
  accessibility_.hide();
  // Taking the focus by a click would make Pell the target of the dictation that the click starts; the
  // keyboard still reaches the button.
  toggle_.setFocusPolicy(Qt::TabFocus);
  QObject::connect(&toggle_, &QPushButton::clicked, this, [toggle = std::move(actions.toggle)] { toggle(); });
  QObject::connect(&accessibility_, &QPushButton::clicked, this,
                   [switchOn = std::move(actions.switchOnAccessibility)] { switchOn(); });
}

void StatusWindow::show(const StatusContent& content) {
  title_.setText(QString::fromStdString(content.title));
  detail_.setText(QString::fromStdString(content.detail));
  toggle_.setText(QString::fromStdString(content.toggleTitle));
  accessibility_.setVisible(content.offersAccessibility);
}

void StatusWindow::showNotice(const std::string& notice) {
  notice_.setText(QString::fromStdString(notice));
  notice_.setVisible(!notice.empty());
}

void StatusWindow::bringToFront() {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  QWidget::show();
  raise();
  activateWindow();
}

}  // namespace pell
