// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include "app/VersionInfo.h"

namespace tolvane {

// The page of the product.
inline constexpr const char* kWebsite = "https://tolvane.example/";

// Shows what the program is, above other windows. Lives as long as the process.
class AboutWindow : public QWidget {
  Q_OBJECT

 public:
  AboutWindow(const QIcon& icon, const VersionInfo& version);

  // Centres the window and brings it to the front.
  void present();

 signals:
  void linkClicked();

 protected:
  void changeEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  QLabel* addText(const char* name, const QString& text, const QRect& frame, int size);
  void addIcon(const QIcon& icon);
  void addLink();
  void applyColors();

  QLabel* versionLabel_ = nullptr;
  QLabel* copyrightLabel_ = nullptr;
  QPushButton* linkButton_ = nullptr;
};

}  // namespace tolvane
