#include "FrameFixture.h"
#include "host/environment/HostErrors.h"
#include "host/files/ExtNameStr.h"
#include "host/files/SessionFiles.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/model/KORV_Case.h"
#include "host/write/IndependentDataStore.h"
#include "host/write/SaveActiveFile.h"
#include "host/write/UserOutputCaseFile.h"

namespace {

class Store : public FrameFixture {
protected:
  std::string Read(const std::string& name) const { return fFolder.Text(name); }
  std::string Names() const { return fFolder.Names(); }
  void SaveAs(const std::string& name) {
    UserCaseFileSpec spec(FileRole::kSaved);
    spec.Init(Path(name), true, true);
    ASSERT_TRUE(SaveActiveFile(spec) && CommitFiles()) << fMessages;
  }
  // Writes a number column with the values 1 to `cases` and leaves it uncommitted; what AddCase() threw.
  std::string WriteNumbers(const std::string& path, int cases, FileRole role = FileRole::kSample) {
    UserCaseFileSpec spec(role);
    spec.Init(path, true, true);
    const UserOutputCaseFile out(spec);
    if (out.DataSource() == nullptr) return "not opened";
    int index = 0;
    out.DataSource()->MakeVariable(0, index).SetName("n");
    if (fbPlants) PlantFiles();
    out.DataSource()->FinishDictionary();
    OBS cell;
    KORV_Case values(*out.DataSource(), &cell);
    try {
      for (int i = 1; i <= cases; ++i) {
        values.SetColumnValue(0, i + 0.125);
        out.DataSource()->AddCase(values);
      }
    } catch (const ErrorText& error) {
      return error.message;
    }
    out.DataSource()->CloseStore();
    return "";
  }
  std::string WriteRule(int lines) {
    ExtNameStr name;
    ExtOutputStream rule;
    name.SetGeneric(Path("rule.txt"));
    EXPECT_TRUE(name.Open(rule, 2));
    for (int i = 0; i < lines; ++i) rule << "( A EQ " << 1 << " )\n";
    rule.SetCount(lines);
    rule.close();
    return rule.good() ? "" : "failed; ";
  }
  // Makes the files that are going to be written, so that they can't be.
  void PlantFiles() const {
    for (const auto& entry : std::filesystem::directory_iterator(fFolder.path))
      if (entry.is_directory()) std::ofstream(entry.path() / "new.csv") << "planted";
  }

  bool fbPlants = false;
};

// A dictionary with everything that one can hold.
void Embellish(Dictionary* dictionary) {
  KORV_Variable& pay = dictionary->variables[0];
  pay.SetLabel("Pay, \"gross\" 'n' net", 20);
  pay.SetFormat(kFormatF, 12, 3);
  pay.SetWriteFormat(kFormatF, 9, 1);
  pay.SetMeasurementLevel(kLevelOrdinal);
  pay.SetValueLabels({{{0.1, ""}, "a tenth"}, {{-5, ""}, ""}});
  pay.SetMissingValues({{0.1 + 0.2, ""}, {-9, ""}});
  dictionary->variables[5].SetValueLabels({{{0, ""}, "no"}, {{1, ""}, "yes"}});
  KORV_Variable& text = dictionary->variables.back();
  text.SetFormat(kFormatA, 4, 0);
  text.SetValueLabels({{{0, "it's"}, "ÄÖ\n"}});
  text.SetMissingValues({{0, "NA"}});
  dictionary->documents = {{}, {"one", "", "  \"third\" line"}, {"two"}};
}

constexpr const char* kEveryType =
    "SELECT * FROM (VALUES (12.5::DOUBLE, 7::BIGINT, 9007199254740993::BIGINT, 1.10::DECIMAL(6,2), "
    "0.07::DECIMAL(38,20), true, DATE '2024-02-29', TIMESTAMP '2024-01-02 03:04:05', '007', "
    "'a,\"b\";' || chr(10) || 'c'), (NULL, NULL, 5, NULL, NULL, NULL, NULL, NULL, NULL, NULL), "
    "(1e300, -3, -1, -0.05, -12345678.123, false, DATE '1969-12-31', TIMESTAMP '1999-12-31 23:59:59.5', "
    "'01', ' it''s ')) t(pay, b, big, d, dl, t, day, ts, code, \"odd name\")";

// Every type, dictionary entry and document of a frame comes back from each kind of file.
TEST_F(Store, RoundTripThroughEveryKind) {
  const std::string types =
      "DOUBLE BIGINT BIGINT DECIMAL(6,2) DECIMAL(38,20) BOOLEAN DATE TIMESTAMP VARCHAR VARCHAR";
  // Of a text file a number is a DOUBLE, or a BIGINT where all are whole, and with more digits than a double
  // keeps a text.
  const std::string textTypes = "DOUBLE BIGINT VARCHAR DOUBLE VARCHAR BOOLEAN DATE TIMESTAMP VARCHAR VARCHAR";
  for (const std::string kind : {".sav", ".parquet", ".csv", ".tsv"}) {
    SCOPED_TRACE(kind);
    OpenFrame({.sql = kEveryType});
    Embellish(ActiveFile::Current().SharedDictionary().get());
    const Dictionary before = *ActiveFile::Current().SharedDictionary();
    const std::string cases = ShowCases();
    SaveAs("out" + kind);
    OpenFrame({.path = Path("out" + kind)});
    const Dictionary& after = *ActiveFile::Current().SharedDictionary();
    EXPECT_EQ(ShowCases(), cases);
    EXPECT_EQ(after.documents, before.documents);
    ASSERT_EQ(after.variables.size(), before.variables.size());
    std::string found;
    for (std::size_t i = 0; i < after.variables.size(); ++i) {
      const auto parts = [](const KORV_Variable& v) {
        return std::tuple(v.GetName(), v.GetType(), v.GetFormat(), v.GetWriteFormat(),
                          v.GetMeasurementLevel(), v.GetLabel(), v.ValueLabels(), v.MissingValues());
      };
      EXPECT_TRUE(parts(after.variables[i]) == parts(before.variables[i])) << before.variables[i].GetName();
      found += (i > 0 ? " " : "") + after.variables[i].ColumnType();
    }
    if (kind == ".csv") {
      EXPECT_EQ(Read("out.csv"),
                "pay,b,big,d,dl,t,day,ts,code,odd name\n"
                "12.5,7,9007199254740993,1.1,0.07000000000000000000,true,2024-02-29,2024-01-02 "
                "03:04:05,007,\"a,\"\"b\"\";\nc\"\n"
                ",,5,,,,,,,\n"
                "1e+300,-3,-1,-0.05,-12345678.12300000000000000000,false,1969-12-31,1999-12-31 "
                "23:59:59.5,01, it's\n");
      EXPECT_EQ(SessionFiles::Current().CommittedFiles().at(0).cases, 3);
      for (const char* value : {"\"value\": -5,", "\"value\": false,", "\"value\": true,"})
        EXPECT_NE(Read("out.schema.json").find(value), std::string::npos) << value;
    }
    EXPECT_EQ(found, kind == ".csv" || kind == ".tsv" ? textTypes : types);
    ActiveFile::Current().SharedDictionary()->documents.clear();
  }
}

// Parquet has no whole numbers of 128 bits; DuckDB would write doubles.
TEST_F(Store, HugeNumbersInParquet) {
  OpenFrame({.sql = "SELECT 170141183460469231731687303715884105727::HUGEINT AS h, 7::HUGEINT AS i"});
  SaveAs("out.parquet");
  OpenFrame({.path = Path("out.parquet")});
  EXPECT_EQ(ShowDictionary(), "h A39 VARCHAR, i F8.0 DOUBLE");
  EXPECT_EQ(ShowCases(), "170141183460469231731687303715884105727|7");
}

TEST_F(Store, OddNames) {
  OpenFrame({.path = Write("odd.csv", "COLUMN2,,\"a \"\"b\"\"\",select\n1,2,3,4\n")});
  SaveAs("out.parquet");
  OpenFrame({.path = Path("out.parquet")});
  EXPECT_EQ(ShowDictionary(),
            "COLUMN2 F8.0 BIGINT, column2_ F8.0 BIGINT, a \"b\" F8.0 BIGINT, select F8.0 BIGINT");
}

TEST_F(Store, FilesOfARunAppearTogetherOrNotAtAll) {
  Write("a.csv", "old a");
  Write("rule.txt", "old rule");
  for (const bool fails : {true, false}) {
    ASSERT_EQ(WriteNumbers(Path("a.csv"), 2), "");
    ASSERT_EQ(WriteNumbers(Path("b.sav"), 2, FileRole::kJoint), "");
    ASSERT_EQ(WriteRule(1), "");
    EXPECT_EQ(Read("a.csv"), "old a");
    if (fails) std::filesystem::create_directory(Path("b.sav"));
    EXPECT_EQ(CommitFiles(), !fails);
    if (fails) {
      EXPECT_EQ(WithoutFolder(fMessages), "b.sav can't be written: Is a directory\n");
      EXPECT_EQ(Read("a.csv") + Read("rule.txt"), "old aold rule");
      EXPECT_EQ(Names(), "a.csv b.sav rule.txt");
      EXPECT_EQ(SessionFiles::Current().MissingFiles().size(), 2U);
      std::filesystem::remove(Path("b.sav"));
    }
  }
  EXPECT_EQ(Read("a.csv") + Read("rule.txt"), "n\n1.125\n2.125\n( A EQ 1 )\n");
  std::string written;
  for (const OutputFile& file : SessionFiles::Current().CommittedFiles())
    written += fmt::format("{} {} {};", RoleName(file.role), WithoutFolder(file.path), file.cases);
  EXPECT_EQ(written, "sample a.csv 2;joint b.sav 2;rule rule.txt 1;");
  ASSERT_EQ(WriteNumbers(Path("c.csv"), 2), "");
  DiscardFiles();
  EXPECT_EQ(Names(), "a.csv a.schema.json b.sav rule.txt");
  ASSERT_EQ(SessionFiles::Current().MissingFiles().size(), 1U);
  EXPECT_EQ(SessionFiles::Current().MissingFiles().front().path, Path("c.csv"));
}

// A store that was opened in vain doesn't count; one that was left unfinished takes the whole run with it.
TEST_F(Store, DestroyedWithoutClosing) {
  for (const bool isBegun : {false, true}) {
    {
      UserCaseFileSpec spec;
      spec.Init(Path("a.csv"), true, true);
      const UserOutputCaseFile out(spec);
      int index = 0;
      if (isBegun) out.DataSource()->MakeVariable(0, index);
    }
    EXPECT_EQ(SessionFiles::Current().IsBroken(), isBegun);
    EXPECT_EQ(CommitFiles(), !isBegun);
    EXPECT_EQ(Names() + fMessages, "");
  }
}

// A file that can't be started is reported once, by the next call.
TEST_F(Store, CannotBegin) {
  fbPlants = true;
  EXPECT_EQ(WithoutFolder(WriteNumbers(Path("a.csv"), 1)), "a.csv can't be written: File exists");
  EXPECT_EQ(fMessages, "");
  EXPECT_EQ(WriteNumbers(Path("a.csv"), 0), "");
  EXPECT_EQ(WithoutFolder(fMessages), "a.csv can't be written: File exists\n");
}

}  // namespace
