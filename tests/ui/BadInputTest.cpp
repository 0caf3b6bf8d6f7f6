// SPDX-License-Identifier: MIT
#include <QElapsedTimer>

#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

// Untrusted input in an index. Each value has to be shown, highlighted and searched without a
// stall; the bound is far above what any of it takes, and far below what a person calls hanging.
constexpr int kStall = 2000;  // milliseconds, in builds that are slow on purpose too

std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  for (; times > 0; --times) result += text;
  return result;
}

struct Text {
  const char* name;
  std::string text;
};

void PrintTo(const Text& text, std::ostream* stream) {
  *stream << text.name;
}

const Text kTexts[] = {
    {"AMegabyteOfSentences", repeated("A sentence that comes again and again. ", 26'000)},
    {"AnEndlessWord", repeated("x", 1'000'000)},
    {"ManyLines", repeated("a line\n", 140'000)},
    {"ControlCharacters", repeated("\x01\x02\x1b[31m\t", 1000)},
    {"ANul", std::string("a\0b", 3)},
    {"RightToLeft", "\u202Eright to left\u202C and \u200Fmarks\u061C"},
    {"Emoji", "\U0001F9F0 \U0001F469\u200D\U0001F4BB"},
    {"Marks", repeated("e\u0301\u0302\u0303", 10'000)},
    {"NotUTF8", "\xff\xfe not UTF-8 \xc3"},
    {"Markup", "<h1>heading</h1><img src='file:///x'><!--"},
    {"NoWidth", repeated("\u200B", 100'000)},
    {"AMegabyteOfMarksThatTakeNoRoom", repeated("\u200F\u2060", 170'000)},
    {"Blanks", repeated(" ", 200'000)},
};

class BadInput : public Window, public testing::WithParamInterface<Text> {};

TEST_P(BadInput, IsShownHighlightedAndSearchedWithoutAStall) {
  const std::string& text = GetParam().text;
  show();
  QElapsedTimer timer;
  timer.start();
  load({makePackage({{"Package", "p"}, {"Description", text}}),
        makePackage({{"Package", text}, {"Name", text}, {"Version", text}, {"Section", text}})});
  EXPECT_FALSE(controller.grab().isNull());
  EXPECT_GE(controller.heightOfRow(0), 28);
  EXPECT_LE(controller.heightOfRow(0), 86);
  click(0, "displayName");
  EXPECT_FALSE(controller.grab().isNull());
  search("no package has this");
  search("");
  controller.appendConsoleMessage(text, "error");
  EXPECT_FALSE(controller.grab().isNull());
  EXPECT_LT(timer.restart(), kStall);
  controller.clearRepositoryStateWithStatus(text);
  EXPECT_FALSE(controller.grab().isNull());
  EXPECT_LT(timer.elapsed(), kStall);
}

INSTANTIATE_TEST_SUITE_P(Texts, BadInput, testing::ValuesIn(kTexts),
                         [](const auto& text) { return std::string(text.param.name); });

TEST_F(Window, EmptyNamesEverywhereAreShown) {
  loadAndShow(std::vector<PackageEntry>(100, makePackage({})));
  EXPECT_FALSE(controller.grab().isNull());
  EXPECT_EQ(stats(),
            "Shown: 100 / 100    Unique: 0    Architectures: 0    Selected: 0    "
            "Estimated size: Zero KB");
}

TEST_F(Window, SizesThatAreNoSizesAreShown) {
  load({makePackage({{"Size", "-12"}}), makePackage({{"Size", "1e9"}}),
        makePackage({{"Size", " 7 bytes"}}), makePackage({{"Size", "99999999999999999999999"}})});
  EXPECT_EQ(cell(0, "size"), "-12 bytes");
  EXPECT_EQ(cell(1, "size"), "1 byte");
  EXPECT_EQ(cell(2, "size"), "7 bytes");
  EXPECT_EQ(cell(3, "size"), "9223372 TB");
}

TEST_F(Window, MarkupIsDrawnAsPlainText) {
  loadAndShow({makePackage({{"Package", "p"}, {"Name", "<b>x</b>"}, {"Description", "<u>y</u>"}})});
  EXPECT_EQ(cell(0, "displayName"), "<b>x</b>");
  EXPECT_EQ(cell(0, "packageDescription"), "<u>y</u>");
  c.statusLabel->setText("<i>z</i>");
  EXPECT_EQ(c.statusLabel->textFormat(), Qt::PlainText);
}

}  // namespace
}  // namespace tolvane
