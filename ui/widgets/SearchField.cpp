// SPDX-License-Identifier: MIT
#include "ui/widgets/SearchField.h"

#include <QAction>
#include <QEvent>
#include <QIcon>
#include <QKeyEvent>
#include <QPainter>
#include <QPixmap>
#include <QScopedValueRollback>

namespace tolvane {

SearchField::SearchField(QWidget* parent) : QLineEdit(parent) {
  setClearButtonEnabled(true);
  lens_ = addAction(QIcon(), LeadingPosition);
  lens_->setEnabled(false);
  drawLens();
  // Also what an input method or an assistive program changes counts, so it is not textEdited().
  connect(this, &QLineEdit::textChanged, this, [this] {
    if (!emptying_) emit searchRequested();
  });
  connect(this, &QLineEdit::returnPressed, this, &SearchField::searchRequested);
}

void SearchField::empty() {
  const QScopedValueRollback guard(emptying_, true);
  clear();
}

void SearchField::drawLens() {
  constexpr int kSide = 16;
  constexpr int kScale = 3;  // sharp on every screen
  QPixmap pixmap(kSide * kScale, kSide * kScale);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(kScale, kScale);
  painter.setPen(
      QPen(palette().color(QPalette::PlaceholderText), 1.5, Qt::SolidLine, Qt::RoundCap));
  painter.drawEllipse(QRectF(3, 3, 7, 7));
  painter.drawLine(QPointF(9.2, 9.2), QPointF(13, 13));
  painter.end();
  QIcon icon;
  icon.addPixmap(pixmap, QIcon::Normal);
  icon.addPixmap(pixmap, QIcon::Disabled);
  lens_->setIcon(icon);
}

void SearchField::changeEvent(QEvent* event) {
  QLineEdit::changeEvent(event);
  if (event->type() == QEvent::PaletteChange && lens_ != nullptr) drawLens();
}

void SearchField::focusInEvent(QFocusEvent* event) {
  QLineEdit::focusInEvent(event);
  emit focused();
}

void SearchField::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && !text().isEmpty()) {
    clear();
  } else {
    QLineEdit::keyPressEvent(event);
  }
}

}  // namespace tolvane
