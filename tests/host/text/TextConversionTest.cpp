#include "host/text/TextConversion.h"

// Generic text there and back: what is no text comes back as U+FFFD, never as something shorter.
TEST(TextConversion, ConvertsAnything) {
  struct Case {
    std::string text;
    std::u16string wide;
    std::string back;
  };
  const Case kCases[] = {
      {"a\u00e9\u20ac\U0001F600", u"a\u00e9\u20ac\U0001F600", "a\u00e9\u20ac\U0001F600"},
      {"x\xc3", u"x\ufffd", "x\ufffd"},
      {"\xc0\xaf", u"\ufffd\ufffd", "\ufffd\ufffd"},
      {std::string("a\0b", 3), std::u16string(u"a\0b", 3), std::string("a\0b", 3)},
  };
  KORVMBConverter* const converter = KORVMBConverterNew_A(0);
  for (const auto& c : kCases) {
    std::u16string wide;
    std::string back;
    EXPECT_EQ(KORVMBGenericToU16(converter, wide, c.text), 0);
    EXPECT_EQ(wide, c.wide);
    EXPECT_EQ(KORVMBU16ToGeneric(converter, back, wide), 0);
    EXPECT_EQ(back, c.back);
  }
  std::string lone;
  KORVMBU16ToGeneric(converter, lone, {char16_t{'a'}, char16_t{0xD800}, char16_t{'b'}});
  EXPECT_EQ(lone, "a\ufffdb");
  KORVMBConverterDelete_A(converter);
}

TEST(TextConversion, FindsStartsOfCharacters) {
  const std::string text = std::string(9, 'x') + "\U0001F600\xff\x80\x80\x80\x80z";
  const std::size_t kStarts[] = {9, 9, 9, 9, 13, 14, 15, 16, 17, 18, 19};
  for (std::size_t i = 0; i < std::size(kStarts); ++i)
    EXPECT_EQ(KORVMBFindStart_A(text, 9 + i), kStarts[i]) << i;
  EXPECT_EQ(KORVMBFindStart_A(text, 99), text.size());
}
