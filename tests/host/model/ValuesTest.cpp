#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "host/model/Values.h"
#include "host/numeric/Obs.h"

namespace {

std::string Shown(double number, std::uint16_t width, std::uint8_t decimals) {
  std::string buffer(width + std::size_t{2}, '#');
  const OBS cell{.number = number};
  EXPECT_EQ(ToString(&cell, {width, kFormatF, decimals}, buffer.data()), 0);
  EXPECT_EQ(buffer.back(), '#') << "beyond the buffer";
  return buffer.c_str();
}

// The cells of a text, with blanks behind it.
std::vector<OBS> Cells(const std::string& text, std::size_t cells) {
  std::vector<OBS> all(cells);
  std::memset(all.data(), ' ', cells * sizeof(OBS));
  std::memcpy(all.data(), text.data(), text.size());
  return all;
}

}  // namespace

TEST(Values, NumbersAreShownInTheirWidth) {
  struct Case {
    const char* aim;
    double number;
    std::uint16_t width;
    std::uint8_t decimals;
    const char* text;
  };
  const Case kCases[] = {
      {"the decimal character", 1.1, 3, 1, "1.1"},
      {"right-justified", -2.5, 8, 2, "   -2.50"},
      {"rounded", 0.126, 6, 2, "  0.13"},
      {"no sign of a zero", -0.001, 8, 2, "    0.00"},
      {"decimals give way", 123456.789, 8, 3, "123456.8"},
      {"the zero gives way", -0.25, 4, 2, "-.25"},
      {"an exponent, with all digits that fit", 1234567.0, 6, 0, "1.23e6"},
      {"a large number", -1.5e300, 8, 2, "-1.5e300"},
      {"a small number that its decimals would hide", 0.004, 4, 3, ".004"},
      {"no room at all", 1234567.0, 2, 0, "**"},
      {"system-missing", MCMV::gMissingValue, 4, 0, "   ."},
      {"a width of none", 5, 0, 0, ""},
  };
  for (const Case& c : kCases) EXPECT_EQ(Shown(c.number, c.width, c.decimals), c.text) << c.aim;
}

// Whatever is shown is the number to within half a unit of the last digit shown, and half a unit of what the
// reading rounds to.
RC_GTEST_PROP(Values, NeverAWrongNumber, (double number)) {
  RC_PRE(std::isfinite(number) && number != MCMV::gMissingValue);
  const auto width = *rc::gen::inRange<std::uint16_t>(1, 30);
  const std::string text = Shown(number, width, *rc::gen::inRange<std::uint8_t>(0, 5));
  double read = 0.0;
  if (text.find('*') != std::string::npos) return;
  RC_ASSERT(ParseNumber(text, &read));
  const std::size_t point = text.find('.');
  const std::size_t exponent = std::min(text.find('e'), text.size());
  const double decimals = point < exponent ? static_cast<double>(exponent - point - 1) : 0.0;
  const double tens = exponent < text.size() ? std::stod(text.substr(exponent + 1)) : 0.0;
  const double rounding = std::fabs(number) * std::numeric_limits<double>::epsilon();
  RC_ASSERT(std::fabs(read - number) <= 0.5000001 * std::pow(10.0, tens - decimals) + rounding);
}

RC_GTEST_PROP(Values, ShortestTextReadsBackTheSame, (double number)) {
  RC_PRE(std::isfinite(number));
  double read = 1.0;
  RC_ASSERT(ParseNumber(NumberText(number), &read));
  RC_ASSERT(read == number);
}

TEST(Values, TextsAndTheirReading) {
  char buffer[32];
  EXPECT_EQ(ToString(Cells("ab  ", 1).data(), {4, kFormatA, 0}, buffer), 0);
  EXPECT_STREQ(buffer, "ab");
  EXPECT_EQ(ToString(Cells("", 2).data(), {12, kFormatA, 0}, buffer), 0);
  EXPECT_STREQ(buffer, " ") << "at least one character";
  EXPECT_EQ(ToString(Cells("aK", 1).data(), {4, kFormatAHex, 0}, buffer), 0);
  EXPECT_STREQ(buffer, "614B");

  struct Case {
    const char* text;
    KORV_Format format;
    int answer;
    double number;
  };
  const double kMissing = MCMV::gMissingValue;
  const Case kCases[] = {
      {"  12.   ", {8, kFormatF, 2}, 0, 12},  {" -1.5e3 ", {8, kFormatF, 2}, 0, -1500},
      {"1e3.", {8, kFormatF, 2}, 0, 1000},    {"+7", {8, kFormatF, 0}, 0, 7},
      {"   ", {8, kFormatF, 0}, 0, kMissing}, {" . ", {8, kFormatF, 2}, 0, kMissing},
      {"1,5", {8, kFormatF, 2}, 1, 0},        {"1 2", {8, kFormatF, 0}, 1, 0},
      {"1e999", {8, kFormatF, 0}, 1, 0},      {"nan", {8, kFormatF, 0}, 1, 0},
      {"abcde", {4, kFormatA, 0}, 1, 0},      {"61zz", {4, kFormatAHex, 0}, 1, 0},
  };
  for (const Case& c : kCases) {
    OBS cell{.number = 0};
    EXPECT_EQ(FromString(c.text, c.format, &cell), c.answer) << c.text;
    EXPECT_EQ(cell.number, c.number) << c.text;
  }
  std::vector<OBS> cells(2);
  EXPECT_EQ(FromString("616263646566676869   ", {24, kFormatAHex, 0}, cells.data()), 0);
  EXPECT_EQ(std::string(cells[0].text, 16), "abcdefghi       ");
}

// A format that suits is used; otherwise a number is shown as F8.2 and a string in its whole width.
TEST(Values, FormatsSuitTypes) {
  constexpr std::uint8_t kUnknownType = 3;
  struct Case {
    int type;
    KORV_Format format;
    bool suits;
  };
  const Case kCases[] = {
      {0, {5, kFormatF, 0}, true},     {0, {0, kFormatF, 0}, false},     {0, {8, kFormatA, 0}, false},
      {0, {2, kFormatAHex, 0}, false}, {0, {8, kUnknownType, 0}, false}, {8, {8, kFormatF, 2}, false},
      {8, {0, kFormatA, 0}, false},    {8, {3, kFormatA, 0}, true},      {8, {9, kFormatA, 0}, false},
      {8, {16, kFormatAHex, 0}, true}, {8, {15, kFormatAHex, 0}, false}, {8, {18, kFormatAHex, 0}, false},
  };
  for (const auto& [type, format, suits] : kCases) {
    SCOPED_TRACE(testing::Message() << "type " << type << ", format " << +format.type << ", width "
                                    << format.width);
    EXPECT_EQ(FormatSuits(format, type), suits);
    KORV_Variable variable("v", type);
    variable.SetFormat(format.type, format.width, format.decimals);
    const KORV_Format byType = type == 0 ? KORV_Format{8, kFormatF, 2} : KORV_Format{8, kFormatA, 0};
    EXPECT_EQ(UsableFormat(variable), suits ? format : byType);
  }
}
