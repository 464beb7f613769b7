#include "FrameFixture.h"

// Goal: a text is found to be in another form than UTF-8 by its contents, and gives the same cases; what is no
// text, or was damaged, is still refused. The bytes were made by another program's converters.

using namespace std::string_literals;

class TextFormTest : public FrameFixture {
protected:
  static std::string Utf16(const std::string& ascii, bool isBig) {
    std::string bytes;
    for (const char c : ascii) bytes += isBig ? "\0"s + c : c + "\0"s;
    return bytes;
  }
};

const std::string kZip =
    "\x1F\x8B\x08\x00\x00\x00\x00\x00\x02\x03\xCB\xD3\x29\xE6\x32\xD4\x39\xBC\x8D\x0B\x00\xD8\x99\x6C\x17\x09\x00\x00\x00"s;

TEST_F(TextFormTest, ReadsOtherForms) {
  const std::string other =
      " isn't UTF-8, and is read as Windows-1252 (Latin-1); see that its letters are right";
  const std::string zip = "the file is compressed by gzip";
  const std::string wide = "the text is in UTF-16";
  // An Ä and 𝄞, a pair, in the header and at the end.
  const std::string little = "\xC4\0\x0A\0\x31\0\x0A\0\x34\xD8\x1E\xDD"s;
  const std::string big = "\0\xC4\0\x0A\0\x31\0\x0A\xD8\x34\xDD\x1E"s;
  const std::string pair = "1;\xF0\x9D\x84\x9E";
  const struct Case {
    const char* aim;
    std::string bytes;
    std::string cases;
    std::string remark;
    const char* name = "x.csv";
  } kCases[] = {
      {"UTF-8 needs no word", "n,s\n1,\xC3\xB6\n", "1|\xC3\xB6", ""},
      {"Windows-1252", "n,s\n1,\xF6\x80\n", "1|\xC3\xB6\xE2\x82\xAC", "the text" + other},
      {"right in UTF-8 by chance", "s\n\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xC9\xBB\n",
       Replace("1111111111\xC3\x89\xC2\xBB", "1", "\xC3\xA9"), "the text" + other},
      {"UTF-16 with a mark", "\xFF\xFE" + little, pair, wide},
      {"its other order", "\xFE\xFF" + big, pair, wide},
      {"without a mark", little, pair, wide},
      {"without a mark, the other order", big, pair, wide},
      {"JSON", "[{\"s\":\"\xF6\"}]", "\xC3\xB6", "the text" + other, "x.json"},
      {"JSON in UTF-16", Utf16("[{\"s\":1}]", true), "1", wide, "x.json"},
      {"gzip", kZip, "1|\xC3\xB6", zip, "x.csv.gz"},
      {"gzip by no name", kZip, "1|\xC3\xB6", zip},
      {"gzip in two parts", kZip + kZip, "1|\xC3\xB6;n|s;1|\xC3\xB6", zip},
      {"a name and no gzip", "n\n1\n", "1", "", "x.tsv.gz"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    OpenFrame({.path = Write(c.name, c.bytes)});
    EXPECT_EQ(ShowCases(), c.cases);
    EXPECT_EQ(WithoutFolder(ActiveFile::Current().Remark()),
              c.remark.empty() ? "" : c.name + ": "s + c.remark);
  }
  // A character in two blocks of the file, and a wrong byte only in the second one.
  for (const std::size_t length : {262'140, 262'141, 262'142, 262'143}) {
    const std::string zeros(length, '0');
    for (const std::string& bytes : {Utf16(zeros, false), zeros}) {
      const bool isWide = bytes.size() != zeros.size();
      OpenFrame({.path = Write("long.csv", (isWide ? "s\0\n\0"s : "s\n") + bytes +
                                               (isWide ? little.substr(8) : "\xF6"))});
      EXPECT_TRUE(ShowCases() == zeros + (isWide ? pair.substr(2) : "\xC3\xB6")) << length;
    }
  }
}

TEST_F(TextFormTest, RefusesWhatIsNoTextOrDamaged) {
  const std::pair<std::string, const char*> kCases[] = {
      {"s\n\xF6\0\n"s, "x.csv, line 2: invalid UTF-8"},          // a control character
      {"s\n\xF6\x81\n", "x.csv, line 2: invalid UTF-8"},         // not in Windows-1252
      {"s\n\xC3\xB6\n\xF6", "x.csv, line 3: invalid UTF-8"},     // as much UTF-8 as not
      {"\xFF\xFE\0\0s\0\0\0"s, "x.csv, line 1: invalid UTF-8"},  // UTF-32
      {"\xFF\xFEs\0\n\0\x34\xD8s\0"s, "x.csv, line 2: invalid UTF-16"},
      {"\xFF\xFEs\0\n\0s"s, "x.csv, line 2: invalid UTF-16"},
      {kZip.substr(0, kZip.size() - 1), "x.csv: the compressed data ends early"},
      {kZip.substr(0, kZip.size() - 8) + kZip.substr(kZip.size() - 4) + "1234",
       "x.csv: the compressed data is damaged"},
      {kZip + "x1234567890", "x.csv: the compressed data is damaged"},
  };
  for (const auto& [bytes, message] : kCases) {
    EXPECT_EQ(ErrorOf({.path = Write("x.csv", bytes)}), message);
  }
}

TEST_F(TextFormTest, TakesTheDelimiterFromAFirstLine) {
  const std::pair<std::string, const char*> kCases[] = {
      {"sep=;\na,b;c\n1;2\n", "1|2"},
      {"\xEF\xBB\xBF\"SEP=,\"\r\n\r\na;b,c\r\n1,2\r\n", "1|2"},
      {"sep=\t\na\tb\n1\t2", "1|2"},
      {"sep=|", ""},
      {"sep=x\n1\n", "1"},  // a header
      {"sep=;x\n1;2\n", "1|2"},
      {"\nsep=,\n1,2\n", "1|2"},
  };
  for (const auto& [bytes, cases] : kCases) {
    OpenFrame({.path = Write("x.csv", bytes)});
    EXPECT_EQ(ShowCases(), cases) << bytes;
  }
  EXPECT_EQ(ErrorOf({.path = Write("x.csv", "sep=;\na;b\n1\n")}), "x.csv, line 3: 1 field, expected 2");
  OpenFrame({.path = Write("x.tsv", "sep=;\na;b\n1;2\n")});
  EXPECT_EQ(ShowDictionary(), "a F8.0 BIGINT, b F8.0 BIGINT");
}
