#include "app/view/TrayItem.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>
#include <utility>

namespace pell {
namespace {

// Ten images a second are smooth enough for a swing of 1.4 s, and half the traffic of the tray protocol.
constexpr Seconds pulseInterval{0.1};
constexpr int imageHeight = 44;  // twice the usual panel's, so that it stays sharp at scale 2

QIcon markIcon(double opacity) {
  QPixmap image(imageHeight, imageHeight);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  const bool darkPanel = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
  QColor ink(darkPanel ? "#F0ECE7" : "#1F1B16");
  ink.setAlphaF(static_cast<float>(opacity));
  QPainterPath bars;
  bars.setFillRule(Qt::WindingFill);
  for (const mark::Bar& bar : mark::menuBarBars(imageHeight)) {
    bars.addRoundedRect(QRectF(bar.x, bar.y, bar.w, bar.h), bar.w / 2, bar.w / 2);
  }
  painter.fillPath(bars, ink);
  return QIcon(image);
}

}  // namespace

TrayItem::TrayItem(Executor& main, Actions actions) : main_(main) {
  toggle_ = menu_.addAction("Start Dictation", [toggle = actions.toggle] { toggle(); });
  cancel_ = menu_.addAction("Cancel Dictation", [cancel = std::move(actions.cancel)] { cancel(); });
  menu_.addSeparator();
  menu_.addAction("Open Pell", [open = actions.open] { open(); });
  menu_.addSeparator();
  menu_.addAction("Quit Pell", [quit = std::move(actions.quit)] { quit(); });
  icon_.setContextMenu(&menu_);
  QObject::connect(&icon_, &QSystemTrayIcon::activated, &menu_,
                   [open = std::move(actions.open)](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) open();
                   });
  draw(1.0);
  icon_.show();
}

void TrayItem::show(const StatusContent& content, mark::MenuBarPhase phase) {
  toggle_->setText(QString::fromStdString(content.toggleTitle));
  cancel_->setEnabled(content.canCancel);
  icon_.setToolTip(QString::fromStdString(content.tooltip));
  setPhase(phase);
}

void TrayItem::setPhase(mark::MenuBarPhase phase) {
  const bool wasRunning = phase_ != mark::MenuBarPhase::idle;
  const bool runs = phase != mark::MenuBarPhase::idle;
  phase_ = phase;
  if (runs == wasRunning) return;
  if (!runs) {
    pulse_.stop();
    draw(1.0);
    return;
  }
  pulseStart_ = main_.now();
  pulse_.start(main_, pulseInterval, [this] {
    draw(mark::pulseOpacity(std::chrono::duration<double>(main_.now() - pulseStart_).count()));
  });
}

void TrayItem::draw(double opacity) { icon_.setIcon(markIcon(opacity)); }

}  // namespace pell
