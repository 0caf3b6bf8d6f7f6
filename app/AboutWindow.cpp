// SPDX-License-Identifier: MIT
#include "app/AboutWindow.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>
#include <QScreen>
#include <QStyle>

#include "ui/Strings.h"
#include "ui/widgets/SystemColors.h"

namespace tolvane {

namespace {

constexpr QSize kContentSize(520, 390);
constexpr int kIconSide = 96;

const QString kDescription = QStringLiteral(
    "Tolvane is a simple native macOS utility for archiving and downloading packages from APT, "
    "Installer 3 & Installer 4 repositories developed by The Tolvane Authors");

const QString kCopyright = QStringLiteral(
    "Copyright © 2026 The Tolvane Authors\n"
    "Free software under the MIT License.\n\n"
    "It comes without warranty of any kind. Packages belong to those who made them.");

// Frames are measured from the bottom-left corner of the content.
QRect fromBottom(int x, int y, int width, int height) {
  return {x, kContentSize.height() - y - height, width, height};
}

// The icon, scaled to fit in proportion, in the resolution of the screen.
class IconView : public QWidget {
 public:
  IconView(const QIcon& icon, QWidget* parent) : QWidget(parent), icon_(icon) {}

 protected:
  void paintEvent(QPaintEvent*) override {
    const QPixmap pixmap = icon_.pixmap(size(), devicePixelRatioF());
    const QSize shown = pixmap.size().scaled(size(), Qt::KeepAspectRatio);
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, shown, rect()),
                       pixmap);
  }

 private:
  QIcon icon_;
};

}  // namespace

AboutWindow::AboutWindow(const QIcon& icon, const VersionInfo& version)
    : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                           Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint) {
  setObjectName(QStringLiteral("aboutWindow"));
  setWindowTitle(tr("About Tolvane"));
  setFixedSize(kContentSize);
  addIcon(icon);
  QLabel* const name =
      addText("aboutName", QStringLiteral("Tolvane"), fromBottom(150, 324, 330, 28), 24);
  QFont bold = name->font();
  bold.setBold(true);
  name->setFont(bold);
  versionLabel_ =
      addText("aboutVersion", toQString(versionLine(version)), fromBottom(152, 298, 330, 20), 13);
  QLabel* const description =
      addText("aboutDescription", kDescription, fromBottom(32, 185, 456, 70), 13);
  copyrightLabel_ = addText("aboutCopyright", kCopyright, fromBottom(32, 42, 456, 96), 12);
  for (QLabel* const paragraph : {description, copyrightLabel_}) {
    paragraph->setWordWrap(true);
    paragraph->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    paragraph->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  }
  addLink();
  applyColors();
}

QLabel* AboutWindow::addText(const char* name, const QString& text, const QRect& frame, int size) {
  auto* const label = new QLabel(this);
  label->setObjectName(QLatin1String(name));
  label->setTextFormat(Qt::PlainText);
  label->setText(text);
  label->setGeometry(frame);
  QFont font = QApplication::font();
  font.setPixelSize(size);
  label->setFont(font);
  return label;
}

void AboutWindow::addIcon(const QIcon& icon) {
  auto* const view = new IconView(icon, this);
  view->setObjectName(QStringLiteral("aboutIcon"));
  view->setGeometry(fromBottom(32, 268, kIconSide, kIconSide));
}

void AboutWindow::addLink() {
  linkButton_ = new QPushButton(QLatin1String(kWebsite), this);
  linkButton_->setObjectName(QStringLiteral("aboutLink"));
  linkButton_->setGeometry(fromBottom(28, 152, 300, 24));
  linkButton_->setFlat(true);
  linkButton_->setCursor(Qt::PointingHandCursor);
  connect(linkButton_, &QPushButton::clicked, this, &AboutWindow::linkClicked);
}

void AboutWindow::applyColors() {
  const QPalette window = QApplication::palette();
  QPalette secondary = window;
  secondary.setColor(QPalette::WindowText, secondaryLabelColor(window));
  versionLabel_->setPalette(secondary);
  copyrightLabel_->setPalette(secondary);
  // A flat button with the look of a link: its text starts at the left.
  linkButton_->setStyleSheet(
      QStringLiteral("QPushButton { border: none; text-align: left; padding: 0 4px; color: %1; }"
                     "QPushButton:focus { text-decoration: underline; }")
          .arg(window.color(QPalette::Link).name()));
}

void AboutWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::ApplicationPaletteChange && linkButton_ != nullptr) applyColors();
}

void AboutWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  linkButton_->setFocus();
}

void AboutWindow::present() {
  const QRect room = screen()->availableGeometry();
  setGeometry(QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, size(), room));
  show();
  raise();
  activateWindow();
}

}  // namespace tolvane
