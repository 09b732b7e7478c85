#include "app/view/StatusWindow.h"

#include <QVBoxLayout>
#include <utility>

namespace pell {

StatusWindow::StatusWindow(std::function<void()> switchOnAccessibility) {
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
  column->addWidget(&accessibility_, 0, Qt::AlignLeft);
  notice_.hide();
  accessibility_.hide();
  QObject::connect(&accessibility_, &QPushButton::clicked, this,
                   [switchOn = std::move(switchOnAccessibility)] { switchOn(); });
}

void StatusWindow::show(const StatusContent& content) {
  title_.setText(QString::fromStdString(content.title));
  detail_.setText(QString::fromStdString(content.detail));
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
