#include <sys/stat.h>

#include <fstream>

#include "FrameFixture.h"

namespace {

class DataFileTest : public FrameFixture {};

// Goal: every kind of text becomes the variable that the rules for files without a dictionary give it, and no
// value changes on the way. A schema overrules what the file says, and its missing values mean what they
// should.
TEST_F(DataFileTest, TypesTextFilesOverAllRows) {
  struct Case {
    std::string aim, bytes, dictionary, cases, schema = "", name = "x.csv";
  };
  const Case kCases[] = {
      {"numbers and texts", "id,size,name\n1,-1.5e3,ab\n2,,\"c,\"\"d\"\"\"\n",
       "id F8.0 BIGINT, size F8.2 DOUBLE, name A5 VARCHAR", "1|-1500|ab;2|.~|c,\"d\""},
      {"leading zeros in the last row", "id,x\n1,0\n01611190130229,-0\n", "id A14 VARCHAR, x F8.0 BIGINT",
       "1|0;01611190130229|0"},
      {"digits of a double", "a,b,c\n9007199254740992,0.10000000000000001,1000000000000000000\n",
       "a F16.0 BIGINT, b F8.2 DOUBLE, c F19.0 DOUBLE", "9007199254740992|0.1|1e+18"},
      {"more than it has", "a,b,c,d\n9007199254740993,0.1234567890123456789,123456789012345678,1e999\n",
       "a A16 VARCHAR, b A21 VARCHAR, c A18 VARCHAR, d A5 VARCHAR",
       "9007199254740993|0.1234567890123456789|123456789012345678|1e999"},
      {"a line end between two reads", "a\n" + std::string((1 << 18) - 3, 'x') + "\r\nab\r\n",
       "a A262141 VARCHAR", std::string((1 << 18) - 3, 'x') + ";ab"},
      {"dates, times, truth", "d,t,s,b\n0001-01-01,23:59:59.5,2024-01-01 00:00:00,true\n,,,false\n",
       "d A10 DATE, t A10 TIME, s A19 TIMESTAMP, b F8.0 BOOLEAN",
       "0001-01-01|23:59:59.5|2024-01-01 00:00:00|1;~|~|~|0"},
      {"mark, blank lines, semicolons, CRLF", "\xEF\xBB\xBF\n\r\n\"a\";b\r\n\"x\ny\";1,5\r\n",
       "a A3 VARCHAR, b A3 VARCHAR", "x\ny|1,5"},
      {"a blank line before one column", "\na\nx;y\n", "a A3 VARCHAR", "x;y"},
      {"tabs, blank lines, no end of line", "a\tb\n\n1\t\xC3\xA4\n\n2\t", "a F8.0 BIGINT, b A2 VARCHAR",
       "1|\xC3\xA4;2|~", "", "x.tsv"},
      {"a blank line of one column is a case", "a\n1\n\n3", "a F8.0 BIGINT", "1;.~;3"},
      {"odd names, nothing but nulls", "a b,,ALL,n\n1,2,3,\n",
       "a b F8.0 BIGINT,  F8.0 BIGINT, ALL F8.0 BIGINT, n A1 VARCHAR", "1|2|3|~"},
      {"no cases", "a,b", "a A1 VARCHAR, b A1 VARCHAR", ""},
      {"no bytes", "", "", ""},
      {"wide numbers", "a,b\n-1234567890,123456789.125\n", "a F11.0 BIGINT, b F12.2 DOUBLE",
       "-1234567890|123456789.125"},
      {"one object a line, late and lost keys", "{\"a\":1,\"s\":\"12\"}\n{\"b\":true,\"a\":2.50}\n",
       "a F8.2 DOUBLE, s A2 VARCHAR, b F8.0 BOOLEAN", "1|12|.~;2.5|~|1", "", "x.ndjson"},
      {"a list; numbers beyond a double", R"( [{"a":12345678901234567890, "b":null}, {"a":1e999}] )",
       "a A20 VARCHAR, b A1 VARCHAR", "12345678901234567890|~;1e999|~", "", "x.json"},
      {"characters of patterns in the name", "a\n1\n", "a F8.0 BIGINT", "1", "", "p[1]*.csv"},
      {"missing values of table and field", "a,b,s\n1,-9,NA\nNA,2,x\n",
       "a F8.0 BIGINT, b F8.0 BIGINT, s A2 VARCHAR", "1|-9~|NA~;.~|2|x",
       R"({"fields":[{"name":"B","missingValues":["-9"]}],"missingValues":["","NA"]})"},
      {"types", "a,b,c,y\n007,1,01,TRUE\n8,2,02,0\n",
       "a F8.0 BIGINT, b A5 VARCHAR, c A2 VARCHAR, y F8.0 BOOLEAN", "7|1|01|1;8|2|02|0",
       R"({"fields":[{"name":"a","type":"integer"},{"name":"b","type":"string","width":5},)"
       R"({"name":"c"},{"name":"y","type":"boolean"}]})"},
      {"a width that would cut texts", "s\nabc\n", "s A3 VARCHAR", "abc",
       R"({"fields":[{"name":"s","width":2}]})"},
      {"a format", "a\n1\n", "a F12.3 BIGINT", "1", R"({"fields":[{"name":"a","printFormat":"F12.3"}]})"},
      {"dates with a missing one keep it", "d\n2024-01-01\nnone\n", "d A10 VARCHAR", "2024-01-01;none~",
       R"({"fields":[{"name":"d","type":"date","missingValues":["none"]}]})"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    std::filesystem::remove(Path("x.schema.json"));
    if (!c.schema.empty()) Write("x.schema.json", c.schema);
    OpenFrame({.path = Write(c.name, c.bytes)});
    EXPECT_EQ(ShowDictionary(), c.dictionary);
    EXPECT_EQ(ShowCases(), c.cases);
    EXPECT_EQ(fMessages, "");
  }
}

// Goal: the published members of a schema and ours reach the dictionary, and others do no harm. Values have
// no trailing blanks, as the cases have none: else a label never finds its value.
TEST_F(DataFileTest, TakesTheDictionaryFromASchema) {
  Write("l.schema.json", R"({"fields": [{"name": "Ä", "type": "string", "title": "T", "level": 2, "width": 9,
      "categories": [{"value": "a ", "label": "A"}, {"value": " b", "label": "B"}, "no label"],
      "missingValues": ["", {"value": "x  ", "label": "none"}], "writeFormat": "A5", "constraints": {"x": [1]}}],
      "documents": [["a", "b"], []]})");
  OpenFrame({.path = Write("l.csv", "ä\na \n b\nx\n")});
  EXPECT_EQ(ShowCases(), "a; b;x~");
  EXPECT_EQ(ShowDictionary(), "ä A9 VARCHAR");
  const Dictionary& dictionary = *ActiveFile::Current().SharedDictionary();
  const KORV_Variable& variable = dictionary.variables[0];
  EXPECT_EQ(variable.ValueLabels(),
            (std::vector<ValueLabel>{{{0.0, "a"}, "A"}, {{0.0, " b"}, "B"}, {{0.0, "x"}, "none"}}));
  EXPECT_EQ(variable.GetLabel(), "T");
  EXPECT_EQ(variable.GetMeasurementLevel(), kLevelOrdinal);
  EXPECT_EQ(variable.GetWriteFormat(), (KORV_Format{5, kFormatA, 0}));
  EXPECT_EQ(dictionary.documents, (std::vector<DocumentLines>{{"a", "b"}, {}}));
}

TEST_F(DataFileTest, LeavesNestedValuesOutWithOneWarning) {
  OpenFrame({.path = Write("a.json", R"([{"a":1,"l":[1,{"a":2}]},{"o":{"a":3},"a":4,"l":5}])")});
  EXPECT_EQ(ShowDictionary(), "a F8.0 BIGINT");
  EXPECT_EQ(ShowCases(), "1;4");
  EXPECT_EQ(WithoutFolder(fMessages), "a.json: nested values and blobs can't be variables; left out: l, o\n");
}

// Goal: the table of column types, each with the value that decides it.
TEST_F(DataFileTest, MakesVariablesOfParquetColumns) {
  struct Case {
    std::string aim, columns, dictionary, cases;
  };
  const Case kCases[] = {
      {"integers that doubles hold", "9007199254740992::BIGINT a, 7::TINYINT b, 2147483648::UINTEGER c",
       "a F16.0 BIGINT, b F8.0 TINYINT, c F10.0 UINTEGER", "9007199254740992|7|2147483648"},
      {"integers that they don't",
       "-9007199254740993::BIGINT a, 18446744073709551615::UBIGINT b, 'b'::ENUM('a', 'b') c",
       "a A17 BIGINT, b A20 UBIGINT, c A1 VARCHAR", "-9007199254740993|18446744073709551615|b"},
      {"decimals", "1.50::DECIMAL(4,2) a, 1234567890123456.78::DECIMAL(30,2) b",
       "a F8.2 DECIMAL(4,2), b A19 DECIMAL(30,2)", "1.5|1234567890123456.78"},
      {"floating point", "-0.0::DOUBLE a, 'nan'::DOUBLE b, '-inf'::FLOAT c, 1e20::DOUBLE d",
       "a F8.2 DOUBLE, b F8.2 DOUBLE, c F8.2 FLOAT, d F24.2 DOUBLE", "0|.~|.~|1e+20"},
      {"texts", "'ab  ' a, DATE '2024-02-29' b, NULL::VARCHAR c, NULL::DOUBLE d, true e",
       "a A4 VARCHAR, b A10 DATE, c A1 VARCHAR, d F8.2 DOUBLE, e F8.0 BOOLEAN", "ab|2024-02-29|~|.~|1"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    std::filesystem::create_directories(Path("h=1"));
    Sql(fmt::format("COPY (SELECT {}) TO '$/h=1/x.parquet'", c.columns));
    OpenFrame({.path = Path("h=1/x.parquet")});
    EXPECT_EQ(ShowDictionary(), c.dictionary);
    EXPECT_EQ(ShowCases(), c.cases);
  }
  Sql("COPY (SELECT 1 a, [1] l, 'x'::BLOB b, {'a': 2} s) TO '$/nested.parquet'");
  OpenFrame({.path = Path("nested.parquet")});
  EXPECT_EQ(ShowDictionary(), "a F8.0 INTEGER");
  EXPECT_NE(fMessages.find("left out: l, b, s\n"), std::string::npos) << fMessages;
}

// Goal: what the metadata of a Parquet file says of its row groups leads to the dictionary that a scan of the cases
// gives, as it is made of a query; and nothing but the metadata is read where that is enough.
TEST_F(DataFileTest, BelievesMetadataAsFarAsItGoes) {
  const std::pair<const char*, const char*> kColumns[] = {
      // of case i, of which each row group has 2,048
      {"numbers", "i - 70000000000 AS a, (i / 8)::DECIMAL(9,3) AS b, i::INTEGER AS c, -i::DOUBLE * 1e9 AS d"},
      {"beyond a double", "i + 9007199254740980 AS a, (i + 0.123)::DECIMAL(18,3) AS b, i::UBIGINT AS c"},
      {"unsigned", "(4294967295 - i)::UINTEGER AS a, (18446744073709551615 - i)::UBIGINT AS b"},
      {"nulls in a row group, and in all", "CASE WHEN i > 5000 THEN i * 1000000 END AS a, NULL::BIGINT AS b"},
      {"not numbers",
       "(CASE WHEN i = 3000 THEN 'nan' ELSE i * 1e7 END)::DOUBLE AS a, "
       "(CASE WHEN i > 5000 THEN 'nan' ELSE '-3.3e8' END)::FLOAT AS b"},
      {"infinities",
       "(CASE WHEN i = 9 THEN '-inf' ELSE -1e9 END)::DOUBLE AS a, (CASE i WHEN 1 THEN 'inf' END)::FLOAT b"},
      {"dates",
       "DATE '2024-02-29' + i::INTEGER AS a, DATE '9999-12-01' + i::INTEGER AS b, "
       "DATE '0001-01-09' - i::INTEGER AS c, NULL::DATE AS d, (CASE i WHEN 3 THEN 'infinity' END)::DATE AS "
       "e"},
      {"texts",
       "repeat('x', i // 1000) AS a, '2024-02-29' AS b, TIMESTAMP '2024-02-29' + to_milliseconds(i) AS c"},
      {"paths like another column's", "{'b': i} AS a, i * 1000000 AS \"a, b\", i AS c"},
  };
  for (const auto& [aim, columns] : kColumns) {
    SCOPED_TRACE(aim);
    Sql(fmt::format("COPY (SELECT {} FROM range(6000) t(i)) TO '$/m.parquet' (ROW_GROUP_SIZE 2048)",
                    columns));
    OpenFrame({.sql = fmt::format("FROM '{}'", Path("m.parquet"))});
    const std::string scanned = ShowDictionary();
    OpenFrame({.path = Path("m.parquet")});
    EXPECT_EQ(ShowDictionary(), scanned);
  }
  Sql("COPY (SELECT i AS a, i / 8 AS b, DATE '2024-02-29' AS c FROM range(9999) t(i)) TO "
      "'$/damaged.parquet'");
  std::fstream(Path("damaged.parquet"), std::ios::in | std::ios::out | std::ios::binary).seekp(4)
      << "damaged";
  EXPECT_EQ(ErrorOf({.path = Path("damaged.parquet")}), "opened");
}

// Goal: a native file keeps its form for ever. A database that only looks like one neither crashes the reader
// nor makes it ask for more memory than its texts need.
TEST_F(DataFileTest, ReadsNativeFiles) {
  struct Case {
    const char* aim;
    const char* text;     // SQL of each text of the dictionary
    int width;            // of the string variable
    const char* version;  // SQL
    const char* refusal = "";
    int length = 1;  // of the longest text
  };
  const Case kCases[] = {
      {"our own", "'7'", 4, "'1'"},
      {"numbers for texts", "7::BIGINT", 1, "1::BIGINT"},
      {"categories for texts", "'7'::ENUM('8', '7')", 1, "'1'::ENUM('1')"},
      {"another version", "'7'", 1, "2.5::DOUBLE", "format version \"2.5\", expected 1"},
      {"a width beyond memory", "'7'", 2147483647, "'1'",
       "variable \"7\" is 2147483647 bytes wide, expected at most 16777216"},
      {"a width as of its text", "'7'", 16777217, "'1'", "", 16777217},
      {"a name twice", "'8'", 4, "'1'", "two columns are named \"8\" and \"8\""},
      {"a negative width", "'7'", -1, "'1'", "a variable of a negative width"},
  };
  int number = 0;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const std::string name = fmt::format("x{}", ++number);
    Sql(fmt::format(
        "ATTACH '$/{4}.sav' AS x; CREATE TABLE x.cases AS SELECT repeat('y', {3}) AS s, unnest([1, -9]) AS n;"
        "CREATE TABLE x.variables AS SELECT * FROM (VALUES (0, {0}, {1}, 4, 1, 0, 4, 1, 0, 1, {0}), "
        "(1, '8', 0, 5, 9, 0, 5, 12, 1, 2, '8')) t(position, name, type, print_type, print_width, "
        "print_decimals, write_type, write_width, write_decimals, level, label);"
        "CREATE TABLE x.value_labels AS SELECT 0 AS position, 0 AS ordinal, NULL AS number, {5} AS text, "
        "{0} AS label;"
        "CREATE TABLE x.missing_values AS SELECT * FROM (VALUES (0, 0, NULL::DOUBLE, {5}), "
        "(1, 0, -9, NULL)) t(position, ordinal, number, text);"
        "CREATE TABLE x.documents AS SELECT 0 AS document, 0 AS line, {0} AS text;"
        "CREATE TABLE x.file_info AS SELECT 'format_version' AS key, {2} AS value; DETACH x",
        c.text, c.width, c.version, c.length, name, number == 1 ? "'7 '" : c.text));  // a blank doesn't count
    const bool isRefused = *c.refusal != '\0';
    EXPECT_EQ(ErrorOf({.path = Path(name)}),  // .sav is understood
              isRefused ? fmt::format("{}.sav: no native data file ({})", name, c.refusal) : "opened");
    if (isRefused) continue;
    const Dictionary& dictionary = *ActiveFile::Current().SharedDictionary();
    ASSERT_EQ(dictionary.variables.size(), 2U);
    const KORV_Variable& variable = dictionary.variables[0];
    EXPECT_EQ(variable.GetType(), c.width);
    EXPECT_EQ(variable.GetName() + variable.GetLabel(), "77");
    EXPECT_EQ(variable.ValueLabels(), (std::vector<ValueLabel>{{{0.0, "7"}, "7"}}));
    EXPECT_EQ(variable.MissingValues(), (std::vector<DictionaryValue>{{0.0, "7"}}));
    EXPECT_EQ(dictionary.documents, (std::vector<DocumentLines>{{"7"}}));
    EXPECT_EQ(dictionary.variables[1].GetFormat(), (KORV_Format{9, kFormatF, 0}));
    EXPECT_EQ(dictionary.variables[1].GetWriteFormat(), (KORV_Format{12, kFormatF, 1}));
    EXPECT_EQ(dictionary.variables[1].GetMeasurementLevel(), kLevelOrdinal);
    EXPECT_EQ(ActiveFile::Current().Engine().CountCases(), 2);
    const std::string y(c.length, 'y');
    EXPECT_EQ(ShowCases(), y + "|1;" + y + "|-9~");
  }
}

TEST_F(DataFileTest, AppliesASchemaToParquet) {
  const std::string numbers =
      Write("n.json", R"({"fields":[{"name":"t","type":"number","missingValues":["x"]}]})");
  Sql("COPY (SELECT unnest(['01.5','x','']) AS t, 2 AS u) TO '$/t.parquet'");
  OpenFrame({.path = Path("t.parquet"), .schema = numbers});
  EXPECT_EQ(ShowCases(), "1.5|2;.~|2;.~|2");
}

// Goal: the dictionary in a Parquet file is believed without a scan, but never at the cost of a value.
TEST_F(DataFileTest, TrustsTheDictionaryOfParquetUpToTheValues) {
  struct Case {
    std::string values, field, cases, message;
  };
  const Case kCases[] = {
      {"'abc', 'abcd'", R"("type":"string","width":6)", "abc;abcd", ""},
      {"'abc', 'abcd'", R"("type":"string","width":3)", "", "a text of 4 bytes where the dictionary has 3"},
      {"9007199254740992, 9007199254740993", R"("type":"integer","printFormat":"F8","writeFormat":"F8")", "",
       "9007199254740993 has more digits than a number keeps"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.field);
    fMessages.clear();
    Sql(
        fmt::format("COPY (SELECT unnest([{}]) AS s) TO '$/d.parquet' (KV_METADATA {{dictionary: "
                    "'{{\"fields\":[{{\"name\":\"s\",{}}}]}}'}})",
                    c.values, c.field));
    OpenFrame({.path = Path("d.parquet")});
    EXPECT_EQ(ShowCases(), c.cases);
    const std::string why = fmt::format("d.parquet, case 2: {}, in column \"s\"\n", c.message);
    EXPECT_EQ(WithoutFolder(fMessages), c.message.empty() ? "" : why);
  }
}

TEST_F(DataFileTest, NamesWhatIsWrongWithAFile) {
  struct Case {
    std::string name, bytes, message;
  };
  const Case kCases[] = {
      {"a.csv", "a,b\n1,2\n\n1\n", "a.csv, line 4: 1 field, expected 2"},
      {"b.csv", "a,b\n1,\"x\ny\",3\n", "b.csv, line 2: 3 fields, expected 2"},
      {"b2.csv", "a,b\n\"\"\n", "b2.csv, line 2: 1 field, expected 2"},
      {"c.csv", "a\n1\n\"x\ny", "c.csv, line 3: a quote isn't closed"},
      {"d.csv", "a\n\"x\"y\n", "d.csv, line 2: text behind a closing quote"},
      {"e.csv", "a\nb\nx\x81y\n", "e.csv, line 3: invalid UTF-8"},
      {"f.csv", "Ab,aB\n1,2\n", "f.csv, line 1: two columns are named \"Ab\" and \"aB\""},
      {"g.json", "[{\"a\":1},\n{\"a\":]}", "g.json, line 2: the text is no JSON"},
      {"h.json", "[{\"a\":1}, 2]", "h.json, object 2: a single value where an object is expected"},
      {"i.ndjson", "{\"a\":1}\n{\"a\":1,\"a\":2}", "i.ndjson, object 2: \"a\" stands twice"},
      {"i2.json", "[[1]]", "i2.json, object 1: a list where an object is expected"},
      {"i3.json", "[]{\"a\":{\"b\":1}}",
       "i3.json, object 1: an object where the end of the file is expected"},
      {"i5.json", "{\"a\":1}[]", "i5.json, object 2: a list where an object is expected"},
      {"i6.json", "{\"a\":1}\n{\"a\":1e9999}", "i6.json, line 2: a number is beyond 1e4932"},
      {"j.parquet", "PAR1 and no more", "j.parquet: "},
      {"k.sav", "no database", "k.sav: no native data file"},
      {"l.xlsx", "x", "l.xlsx: no data file by its extension"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const std::string error = ErrorOf({.path = Write(c.name, c.bytes)});
    EXPECT_EQ(error.substr(0, std::string(c.message).size()), c.message);
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
  }
  EXPECT_EQ(ErrorOf({.path = Path("none")}), "none.sav: there is no such file");
  std::filesystem::create_directory(Path("folder.csv"));
  EXPECT_EQ(ErrorOf({.path = Path("folder.csv")}), "folder.csv: a folder, expected a file");
  ASSERT_EQ(mkfifo(Path("pipe.csv").c_str(), 0600), 0);
  EXPECT_EQ(ErrorOf({.path = Path("pipe.csv")}), "pipe.csv: a pipe or device, expected a file");
  Sql("ATTACH '$/plain.sav' AS p; CREATE TABLE p.t(a INT); DETACH p");
  EXPECT_EQ(ErrorOf({.path = Path("plain.sav")}).substr(0, 30), "plain.sav: no native data file");
  EXPECT_FALSE(ActiveFile::Current().IsOpen());
}

TEST_F(DataFileTest, NamesWhatIsWrongWithASchema) {
  const std::string data = Write("a.csv", "a,b\n1,x\n12345678901234567890,\n");
  const std::pair<std::string, std::string> kCases[] = {
      {R"({"fields":[{"name":"c"}]})", "s.json: a.csv has no column \"c\""},
      {R"({"fields":[{"name":"b","type":"number"}]})", "a.csv, line 2: \"x\" in column \"b\" is no number"},
      {R"({"fields":[{"name":"a","type":"number"}]})",
       "a.csv, line 3: \"12345678901234567890\" in column \"a\" has more digits than a number keeps"},
      {R"({"fields":[{"name":"b","type":"boolean"}]})",
       "a.csv, line 2: \"x\" in column \"b\" is neither true nor false"},
  };
  for (const auto& [schema, message] : kCases)
    EXPECT_EQ(ErrorOf({.path = data, .schema = Write("s.json", schema)}), message);
  EXPECT_EQ(ErrorOf({.path = data, .schema = Path("t.json")}), "t.json: there is no such file");
  // A file that opens and then fails to be read.
  EXPECT_EQ(ErrorOf({.path = data, .schema = "/proc/self/mem"}), "/proc/self/mem: Input/output error");
}

TEST_F(DataFileTest, KeepsTheOrderOfQueriesAndSorts) {
  const std::string path = Write("a.csv", "k,s,n\n2,b,1\n1,,2\n,B,3\n2,a,4\n1,b ,5\n");
  const std::pair<FrameOptions, const char*> kCases[] = {
      {{.path = path, .sort = {"K"}}, ".~|B|3;1|~|2;1|b|5;2|b|1;2|a|4"},
      {{.path = path, .sort = {"s", "k"}}, "1|~|2;.~|B|3;2|a|4;1|b|5;2|b|1"},
      {{.path = path, .sort = {"-s", "-k"}}, "2|b|1;1|b|5;2|a|4;.~|B|3;1|~|2"},
      {{.path = path, .sort = {"k", "s"}, .serpentine = true}, ".~|B|3;1|b|5;1|~|2;2|a|4;2|b|1"},
      {{.sql = "SELECT unnest([1::DOUBLE, 'nan'::DOUBLE, -2, NULL]) AS x", .sort = {"x"}}, ".~;.~;-2;1"},
      {{.sql = "SELECT i, i / 2 AS h FROM range(3) t(i) ORDER BY i DESC; -- done"}, "2|1;1|0.5;0|0"},
  };
  for (const auto& [options, cases] : kCases) {
    OpenFrame(options);
    EXPECT_EQ(ShowCases(), cases);
  }
  const std::pair<FrameOptions, const char*> kFaults[] = {
      {{.sql = "DROP TABLE x"}, "query: "},
      {{.sql = "SELECT 1; SELECT 2"}, "query: "},
      {{.sql = "SELECT 1 AS a, 2 AS A"}, "query: two columns are named \"a\" and \"A\""},
      {{.path = path, .sort = {"k"}, .serpentine = true}, "a serpentine order needs two variables"},
      {{.path = path, .sort = {"z"}}, "a.csv: there is no variable \"z\" to sort by"},
      {{.path = path, .weight = "s"}, "a.csv: the weight \"s\" is no numeric variable"},
  };
  for (const auto& [options, error] : kFaults)
    EXPECT_EQ(ErrorOf(options).substr(0, std::string(error).size()), error);
}

}  // namespace
