#include "host/text/DisplayText.h"

// Widths as the terminal's own tables have them, and lines that keep every character but blanks at their
// ends.
TEST(DisplayText, WidthsPrintableFormsAndLines) {
  struct Case {
    std::string aim, text;
    int width;
    const char* printable;
    std::vector<std::string> lines;  // at 6 columns
  };
  const Case kCases[] = {
      {"empty", "", 0, "", {""}},
      {"fits, with its blanks", "a  b", 4, "a  b", {"a  b"}},
      {"broken at blanks", "one two  three", 14, "one two  three", {"one", "two", "three"}},
      {"words joined again", "a b c d e", 9, "a b c d e", {"a b c", "d e"}},
      {"a word longer than a line", "abcdefghijklm n", 15, "abcdefghijklm n", {"abcdef", "ghijkl", "m n"}},
      {"accents of one and of two code points", "é e\u0301", 3, "é e\u0301", {"é e\u0301"}},
      {"wide characters", "東京都港区", 10, "東京都港区", {"東京都", "港区"}},
      {"a wide character doesn't straddle", "a東京都", 7, "a東京都", {"a東京", "都"}},
      {"spelled-out Hangul", "\u1112\u1161\u11AB", 2, "\u1112\u1161\u11AB", {"\u1112\u1161\u11AB"}},
      {"line end and escape", "a\n\x1B[m", 3, "a  [m", {"a\n\x1B[m"}},
      {"turned around", "a\u202Ez", 3, "a\uFFFDz", {"a\u202Ez"}},
      {"no UTF-8", "a\xFFz", 3, "a\uFFFDz", {"a\xFFz"}},
      {"a character cut off", "a\xE6\x9D", 2, "a\uFFFD", {"a\xE6\x9D"}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    EXPECT_EQ(DisplayWidth(c.text), c.width);
    EXPECT_EQ(PrintableText(c.text), c.printable);
    EXPECT_EQ(WrapText(c.text, 6), c.lines);
  }
  EXPECT_EQ(WrapText("東京", 1), (std::vector<std::string>{"東", "京"}));
}
