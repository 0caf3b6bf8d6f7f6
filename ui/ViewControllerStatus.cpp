// SPDX-License-Identifier: MIT
#include "ui/RepositoryTitles.h"
#include "ui/Strings.h"
#include "ui/ViewController.h"

// What every workflow says and reads.
namespace tolvane {

void ViewController::setStatus(std::string_view text) {
  controls_.statusLabel->setText(toQString(text));
}

void ViewController::report(std::string_view text, std::string_view type) {
  setStatus(text);
  appendConsoleMessage(text, type);
}

std::optional<std::string> ViewController::selectedRepositoryType() const {
  if (controls_.repositoryTypePopup->currentIndex() < 0) return std::nullopt;
  return toText(controls_.repositoryTypePopup->currentText());
}

RepositoryKind ViewController::selectedRepositoryKind() const {
  return kindOfTitle(selectedRepositoryType().value_or(""));
}

}  // namespace tolvane
