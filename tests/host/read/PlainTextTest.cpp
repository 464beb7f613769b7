#include "host/read/PlainText.h"

#include <rapidcheck.h>

#include "FrameFixture.h"
#include "TextOutcome.h"

namespace {

class PlainTextTest : public FrameFixture {
protected:
  bool IsPlain(const std::string& text, std::size_t columns) {
    return ScanPlainText(Write("x.csv", text), ',', std::vector<std::vector<std::string>>(columns), 2)
        .has_value();
  }
  std::string Outcome(const std::string& text, TextReader reader, const std::string& schema = "") {
    return TextOutcome(fSession.Layer<WorkDatabase>(), Write("x.csv", text), FileKind::kCsv, schema, reader);
  }
  static std::string Records(int count, const std::string& record) {
    std::string text = "a,b\n";
    for (int i = 0; i < count; ++i) text += std::to_string(i) + ',' + record + std::to_string(i % 37) + '\n';
    return text;
  }
};

// Goal: what leaves nothing to judge is taken, with all that survey data usually has; and nothing else is.
TEST_F(PlainTextTest, TellsPlainTexts) {
  const std::string kPlain[] = {"a,b\n1,x\n",
                                "a,b",
                                "a,b\n,\n\"\",\"\"\n1,2",
                                "\xEF\xBB\xBF\"a\",b\n1,\xC3\xA4\n",
                                "a,b\r\n1,\"x\"\r\n\"y,z\",\r\n",
                                "a,b\n\"1\",\" \"\n"};
  for (const std::string& text : kPlain) {
    EXPECT_TRUE(IsPlain(text, 2)) << text;
    EXPECT_EQ(Outcome(text, TextReader::kFastest), Outcome(text, TextReader::kOwn)) << text;
  }
  const std::string kOdd[] = {"a,b\n1\n",
                              "a,b\n1,2,\n",
                              "a,b\n\n1,2\n",
                              "a,b\n1,2\n\n",
                              "a,b\n1,2\r\n",
                              "a,b\r\n1,2\n",
                              "a,b\n1,\r2\n",
                              "a,b\n1,5\"\n",
                              "a,b\n1,\"x\n",
                              "a,b\n1,\"x\"y\n",
                              "a,b\n1,\"x\"\"y\"\n",
                              "a,b\n1,\"x\ny\"\n",
                              "\na,b\n",
                              "a,b\n1,\xFF\n",
                              std::string("a,b\n1,\0\n", 8),
                              "a,b\n1,2\r",
                              "a,b\n1,\"\r\"\n",
                              "\"a,b\n1\",\"2\n3,4\n",
                              "a,b\n1," + std::string(PlainText::kMostRecordBytes, 'x') + "\n"};
  for (const std::string& text : kOdd) EXPECT_FALSE(IsPlain(text, 2)) << text.substr(0, 99);
  EXPECT_FALSE(IsPlain("a\n1\n", 1));
}

// Goal: both readers give the same dictionary, types, values, order and messages, whatever the text.
TEST_F(PlainTextTest, BothReadersGiveTheSame) {
  const std::string schema = Write(
      "s.json",
      R"({"fields":[{"name":"a","type":"number"},{"name":"b","type":"string"}],"missingValues":["NA"]})");
  const std::vector<std::string> usual = {
      "",           "1",          "-0",    "12345.67", "0.10",     "-32769", "3e2", "true", "\"a,b\"", "x y ",
      "2024-02-29", "2147483648", "\"7\"", "\"\"",     "\xC3\xA4", "NULL",   "#c",  "'",    "\\",      "NA"};
  const std::vector<std::string> odd = {
      "007", "9007199254740993", "1e999", "\"a\"\"b\"", "\"a\nb\"", "5\"", "\"a",
      "a,b", "\"a\"b",           "\xFF",  "\r",         "\n",       " 1",  "+1"};
  const std::vector<std::string> heads = {"a,b,c",   "a;b;c", "\xEF\xBB\xBF\"a\",b,c", "a,b,", "a,b,A",
                                          "\na,b,c", "a",     "sep=;\na;b;c"};
  rc::check("any text", [&] {
    const int oddness = *rc::gen::element(0, 0, 3);  // in a hundred fields
    const std::string end = *rc::gen::element<std::string>("\n", "\n", "\r\n", "\r");
    const std::string head =
        *rc::gen::weightedOneOf<std::string>({{3, rc::gen::just(heads[0])}, {1, rc::gen::elementOf(heads)}});
    const char delimiter = head.find(';') == std::string::npos ? ',' : ';';
    std::string text = head;
    // A few values for each column, so that it has a type.
    std::vector<std::vector<std::string>> values(3);
    for (auto& column : values)
      column = *rc::gen::container<std::vector<std::string>>(3, rc::gen::elementOf(usual));
    for (int row = *rc::gen::inRange(0, 12); row > 0; --row) {
      text += end;
      for (std::size_t i = 0; i < (head == "a" ? 1 : 3); ++i) {
        if (i > 0) text += delimiter;
        text +=
            *rc::gen::inRange(0, 100) < oddness ? *rc::gen::elementOf(odd) : *rc::gen::elementOf(values[i]);
      }
    }
    text += *rc::gen::element<std::string>("", end, end, end + end);
    const std::string rules = *rc::gen::element(std::string(), schema);
    const std::string own = Outcome(text, TextReader::kOwn, rules);
    RC_CLASSIFY(own.find('\n') != std::string::npos, "opened");
    RC_ASSERT(Outcome(text, TextReader::kFastest, rules) == own);
  });
}

// Goal: a large file is scanned and loaded in pieces on several threads. No record is lost or taken twice at their
// ends, the order stays, and a fault in any piece is found.
TEST_F(PlainTextTest, JoinsThePiecesOfALargeFile) {
  std::string text = Records(50'000, std::string(200, 'x'));
  ASSERT_TRUE(IsPlain(text, 2));
  EXPECT_TRUE(Outcome(text, TextReader::kFastest) == Outcome(text, TextReader::kOwn));
  for (const double share : {0.01, 0.5, 0.99}) {
    std::string odd = text;
    odd[static_cast<std::size_t>(share * static_cast<double>(text.size()))] = '"';
    EXPECT_FALSE(IsPlain(odd, 2)) << share;
  }
  // A line end exactly where a piece ends, one byte before and one behind.
  constexpr std::size_t kPiece = std::size_t{1} << 22;
  for (const std::size_t end : {kPiece - 2, kPiece - 1, kPiece, kPiece + 1}) {
    std::string shifted = text;
    shifted.insert(text.rfind('\n', end) - 1, end - text.rfind('\n', end), 'y');
    ASSERT_EQ(shifted[end], '\n');
    const auto found =
        ScanPlainText(Write("x.csv", shifted), ',', std::vector<std::vector<std::string>>(2), 2);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->rows, 50'000);
  }
}

}  // namespace
