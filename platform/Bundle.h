// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// What a program is installed with.
class Bundle {
 public:
  explicit Bundle(std::string_view programPath);

  // That of this process.
  static Bundle mainBundle();

  // The information property list: Info.plist in the folder above for a program in a folder
  // "Contents/MacOS", else beside the program. It need not exist. "" where the program's own path
  // is unknown or not absolute; such a bundle says nothing.
  const std::string& infoPath() const { return infoPath_; }

  // Whether it does: a program without one is no bundle.
  bool hasInfo() const;

  // What that list says under a key, in its text form; "" where it says nothing.
  std::string infoText(std::string_view key) const;

 private:
  std::string infoPath_;
};

}  // namespace tolvane
