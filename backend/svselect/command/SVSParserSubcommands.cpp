#include "backend/svcommon/SVPlanSpecs.h"
#include "backend/svselect/command/SVSParser.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "host/command/CommandSpec.h"
#include "host/files/CheckFileRef.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/model/KORV_DataSource.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/MCMathFun.h"
#include "host/text/VariableNames.h"

// The parameters of each subcommand: files, criteria, flags, and the lists of SAMPLEFILE.
//
// currentParameter is set before each parameter is read, since messages name it. A file is tested when it is
// read, so that a run doesn't start that can't write its results; the files that hold cases are also claimed
// for the run at that moment (see UserCaseFileSpec).

namespace {

using MCCommonMath::MCPower::gMachineMaxInt;

// What the host finds out about a path. Each is 0 or 1, except the status, which nobody needs.
struct TestedFile {
  int status = 0, exists = 0, valid = 0, readOnly = 0, inUse = 0;
};

// The name is passed with its length, and the results come back by reference: the host's interface is older
// than std::string.
TestedFile TestFile(const std::string& path, bool forWrite) {
  TestedFile flags;
  ValidateFileSpecification(path.c_str(), static_cast<int>(path.size()), forWrite, flags.status, flags.exists,
                            flags.valid, flags.readOnly, flags.inUse);
  return flags;
}

// A path that is claimed for one of the run's own outputs is in use, and can't be its plan as well.
bool CanRead(const std::string& path) {
  const TestedFile flags = TestFile(path, false);
  return flags.exists == 1 && flags.valid == 1 && flags.inUse == 0;
}

// The file need not exist.
bool CanWrite(const std::string& path) {
  const TestedFile flags = TestFile(path, true);
  return flags.valid == 1 && flags.readOnly == 0 && flags.inUse == 0;
}

}  // namespace

// --- files -----------------------------------------------------------------------------------------------

// For a subcommand whose only parameter is `keyword`, a file. The keyword is tested before the number of
// parameters. REQUIRES: there is a parameter; ReadSubcommand() has tested it.
bool SVSParser::ReadOnlyFile(const char* keyword, const char* subcommand, std::string& value,
                             bool& isLiteral) {
  const ParamObj* parameter = currentSubcommand->getParamObj(0);
  currentParameter = parameter->getParamName();
  if (currentParameter != keyword) {
    messages.OnlyParameter(keyword, subcommand);
    return false;
  }
  if (currentSubcommand->getParamObj(1) != nullptr) {
    messages.TooManyParameters(subcommand, 1);
    return false;
  }
  return ReadFileValue(*parameter, subcommand, value, isLiteral);
}

// A file's name: a quoted text, taken as it is, or a single word.
bool SVSParser::ReadFileValue(const ParamObj& parameter, const char* subcommand, std::string& value,
                              bool& isLiteral) {
  isLiteral = parameter.getLiteral(value);
  if (isLiteral || parameter.getStringGeneric(value)) return true;
  messages.ParameterValueType(currentParameter.c_str(), subcommand);
  return false;
}

// As ReadOnlyFile(), and the name is resolved to a path, which has to pass `canUse`. `file` is set only on
// success.
bool SVSParser::ReadResolvedFile(const char* keyword, const char* subcommand,
                                 bool (*canUse)(const std::string&), std::string& file) {
  std::string value;
  bool isLiteral = false;
  if (!ReadOnlyFile(keyword, subcommand, value, isLiteral)) return false;
  const std::string resolved = CheckFileRef(value, !isLiteral, false).Name();
  if (!canUse(resolved)) {
    messages.FileAccess(resolved.c_str());
    return false;
  }
  file = resolved;
  return true;
}

// The plan is opened later, by the plan reader; here it only has to be readable.
bool SVSParser::ReadPlan() {
  if (!ReadResolvedFile("FILE", "PLAN", CanRead, planFile)) return false;
  specs->SetPlanFile(planFile);
  return true;
}

bool SVSParser::ClaimTables() {
  for (const std::string& table : plan->tableFiles) {
    if (CanRead(table)) continue;
    messages.FileAccess(table.c_str());
    return false;
  }
  return true;
}

// The rule file is a text file: its name is tested, but not claimed.
bool SVSParser::ReadSelectRule() {
  if (!ReadResolvedFile("OUTFILE", "SELECTRULE", CanWrite, selectRuleFile)) return false;
  specs->SetSelectRuleFile(selectRuleFile);
  return true;
}

// The specification resolves the name itself, and claims the path.
bool SVSParser::ReadJointProb() {
  std::string value;
  bool isLiteral = false;
  if (!ReadOnlyFile("OUTFILE", "JOINTPROB", value, isLiteral)) return false;
  specs->SetJointProbFile(value, isLiteral);
  jointProbFile = value;
  return TestCaseFile(specs->JointProbFile(), value);
}

// Shows the name as the user wrote it, not the path that it was resolved to.
bool SVSParser::TestCaseFile(const UserCaseFileSpec& file, const std::string& value) {
  if (file.IsValid() && !file.IsInUse() && !file.IsReadOnly()) return true;
  messages.FileAccess(value.c_str());
  return false;
}

// --- criteria and flags ----------------------------------------------------------------------------------

bool SVSParser::ReadCriteria() {
  for (std::size_t i = 0; i < currentSubcommand->getParamListSize(); ++i) {
    const ParamObj& parameter = *currentSubcommand->getParamObj(i);
    currentParameter = parameter.getParamName();
    if (currentParameter == "STAGES") {
      if (!ReadStages(parameter)) return false;
    } else if (currentParameter == "SEED") {
      if (!ReadSeed(parameter)) return false;
    } else {
      messages.ParameterInvalid(currentParameter.c_str(), "CRITERIA");
      return false;
    }
  }
  return true;
}

// A list of consecutive whole numbers from 1 or more, such as 2 3. The numbers before a bad one stay in
// selectStages, which doesn't matter, as the run ends.
bool SVSParser::ReadStages(const ParamObj& parameter) {
  if (seenStages > 0) {
    messages.ParameterRepeated("STAGES", "CRITERIA");
    return false;
  }
  std::vector<double> values;
  // `previous` starts one below the first number, so that the loop treats all numbers alike.
  bool isGood = parameter.getNumberList(values) && !values.empty() && IsValidInteger(values.front() - 1);
  double previous = isGood ? values.front() - 1 : 0.0;
  for (std::size_t i = 0; isGood && i < values.size(); ++i) {
    isGood = values[i] > 0 && values[i] == previous + 1 && IsValidInteger(values[i]);
    if (isGood) selectStages.push_back(TruncateToInt32(values[i]));
    previous = values[i];
  }
  if (!isGood) {
    messages.InvalidIntegerList("STAGES", "CRITERIA");
    return false;
  }
  specs->SetSelectStages(&selectStages);
  ++seenStages;
  return true;
}

// A whole number from 1 to 2^31 - 1, or the word RANDOM. A word that isn't RANDOM has a message of its own.
bool SVSParser::ReadSeed(const ParamObj& parameter) {
  if (seenSeed > 0) {
    messages.ParameterRepeated("SEED", "CRITERIA");
    return false;
  }
  std::string word;
  double number = 0.0;
  if (parameter.getUpStringGeneric(word)) {
    if (word != "RANDOM") {
      messages.ParameterValue("SEED", "CRITERIA", word.c_str());
      return false;
    }
    specs->SetSeed(-1);
  } else if (parameter.getNumberValue(number) && number > 0 && number <= gMachineMaxInt &&
             static_cast<double>(TruncateToInt32(number)) == number) {
    specs->SetSeed(TruncateToInt32(number));
  } else {
    messages.ParameterValueType("SEED", "CRITERIA");
    return false;
  }
  ++seenSeed;
  return true;
}

// SELECTION=1 isn't SELECTION.
bool SVSParser::IsBareKeyword(const ParamObj& parameter) {
  if (parameter.isLeadingToken()) return true;
  messages.KeywordHasValue(currentParameter.c_str());
  return false;
}

// As ReadFlags(), except that the two keywords exclude each other. The test for a repeat comes first.
bool SVSParser::ReadClassMissing() {
  for (std::size_t i = 0; i < currentSubcommand->getParamListSize(); ++i) {
    const ParamObj& parameter = *currentSubcommand->getParamObj(i);
    currentParameter = parameter.getParamName();
    const bool isExclude = currentParameter == "EXCLUDE";
    if (!isExclude && currentParameter != "INCLUDE") {
      messages.ParameterInvalid(currentParameter.c_str(), "CLASSMISSING");
      return false;
    }
    std::int64_t& seenThis = isExclude ? seenExclude : seenInclude;
    if (seenThis > 0) {
      messages.ParameterRepeated(currentParameter.c_str(), "CLASSMISSING");
      return false;
    }
    if ((isExclude ? seenInclude : seenExclude) > 0) {
      messages.ParameterExcluded(currentParameter.c_str(), isExclude ? "INCLUDE" : "EXCLUDE", "CLASSMISSING");
      return false;
    }
    if (!IsBareKeyword(parameter)) return false;
    ++seenThis;
  }
  specs->SetClassMissingExclude(seenExclude > 0);
  return true;
}

// A subcommand with two keywords, which may each come once and take no value.
bool SVSParser::ReadFlags(const char* subcommand, const char* first, std::int64_t& seenFirst,
                          const char* second, std::int64_t& seenSecond) {
  for (std::size_t i = 0; i < currentSubcommand->getParamListSize(); ++i) {
    const ParamObj& parameter = *currentSubcommand->getParamObj(i);
    currentParameter = parameter.getParamName();
    if (currentParameter != first && currentParameter != second) {
      messages.ParameterInvalid(currentParameter.c_str(), subcommand);
      return false;
    }
    std::int64_t& seen = currentParameter == first ? seenFirst : seenSecond;
    if (seen > 0) {
      messages.ParameterRepeated(currentParameter.c_str(), subcommand);
      return false;
    }
    if (!IsBareKeyword(parameter)) return false;
    ++seen;
  }
  return true;
}

// PRESORTED is accepted and carried, and changes nothing: the tabulation takes records in any order.
bool SVSParser::ReadData() {
  if (!ReadFlags("DATA", "RENAMEVARS", seenRenameVars, "PRESORTED", seenPresorted)) return false;
  specs->SetDataOptions(seenRenameVars > 0, seenPresorted > 0);
  return true;
}

// CPS is the case processing summary.
bool SVSParser::ReadPrint() {
  if (!ReadFlags("PRINT", "SELECTION", seenSelection, "CPS", seenCps)) return false;
  specs->SetPrintOptions(seenSelection > 0, seenCps > 0);
  return true;
}

// --- SAMPLEFILE ------------------------------------------------------------------------------------------
//
// OUTFILE is required. KEEP lists the variables to copy, in the order in which they are to appear; without it
// all are copied in the order of the active file. DROP takes variables away from that; DROP=ALL copies none,
// so that the sample has only the variables that the plan asks for. Both lists together are odd but allowed,
// as long as they agree.

// A file that can't be used, or a bad name in a list, is reported, and the parameters after it are still
// read. The result is that of the last parameter, so a good one hides a bad one from the caller; the error
// flag has been raised.
bool SVSParser::ReadSampleFile() {
  Step step = Step::kGood;
  for (std::size_t i = 0; i < currentSubcommand->getParamListSize(); ++i) {
    const ParamObj& parameter = *currentSubcommand->getParamObj(i);
    currentParameter = parameter.getParamName();
    step = ReadSampleFileParameter(parameter);
    if (step == Step::kFailedStop) return false;
  }
  if (step == Step::kGood && seenOutFile == 0) {
    messages.ParameterRequired("OUTFILE", "SAMPLEFILE");
    return false;
  }
  return step == Step::kGood;
}

// A parameter that failed isn't counted as seen, except OUTFILE, so it may be given again.
SVSParser::Step SVSParser::ReadSampleFileParameter(const ParamObj& parameter) {
  struct Reader {
    const char* name;
    std::int64_t SVSParser::*seen;
    Step (SVSParser::*read)(const ParamObj&);
  };
  static constexpr Reader kReaders[] = {
      {"OUTFILE", &SVSParser::seenOutFile, &SVSParser::ReadOutFile},
      {"KEEP", &SVSParser::seenKeep, &SVSParser::ReadKeep},
      {"DROP", &SVSParser::seenDrop, &SVSParser::ReadDrop},
  };
  for (const Reader& reader : kReaders) {
    if (currentParameter != reader.name) continue;
    if (this->*reader.seen > 0) {
      messages.ParameterRepeated(currentParameter.c_str(), "SAMPLEFILE");
      return Step::kFailedStop;
    }
    return (this->*reader.read)(parameter);
  }
  messages.ParameterInvalid(currentParameter.c_str(), "SAMPLEFILE");
  return Step::kFailedStop;
}

// OUTFILE counts as seen even if the file can't be used: a second one is still a repeat.
SVSParser::Step SVSParser::ReadOutFile(const ParamObj& parameter) {
  std::string value;
  bool isLiteral = false;
  if (!ReadFileValue(parameter, "SAMPLEFILE", value, isLiteral)) return Step::kFailedStop;
  ++seenOutFile;
  specs->SetSampleFile(value, isLiteral);
  sampleFile = value;
  return TestCaseFile(specs->SampleFile(), value) ? Step::kGood : Step::kFailedGoOn;
}

// The list stays in this object; the specifications point to it.
SVSParser::Step SVSParser::ReadKeep(const ParamObj& parameter) {
  std::vector<KorvVarName> names;
  if (!parameter.getVarList(names)) {
    messages.InvalidVariableList(currentParameter.c_str(), "SAMPLEFILE");
    return Step::kFailedStop;
  }
  if (!CheckKeep(names)) return Step::kFailedGoOn;
  specs->SetKeepList(&keepIndices);
  ++seenKeep;
  return Step::kGood;
}

// A list of variables or the word ALL, which the host doesn't accept as a name. ALL with further words is no
// valid list.
SVSParser::Step SVSParser::ReadDrop(const ParamObj& parameter) {
  std::vector<KorvVarName> names;
  if (!parameter.getVarList(names)) {
    std::vector<TokenInfoObj> words;
    names.clear();  // with ALL there are no names
    if (!parameter.getTokenList(words) || words.size() != 1 ||
        words.front().getOperatorCode() != kOperatorAll) {
      messages.InvalidVariableList(currentParameter.c_str(), "SAMPLEFILE");
      return Step::kFailedStop;
    }
    dropAll = true;
  }
  if (!CheckDrop(names)) return Step::kFailedGoOn;
  if (dropAll) {
    specs->SetDropAll(true);
  } else {
    specs->SetDropList(&dropIndices);
  }
  ++seenDrop;
  return Step::kGood;
}

// Checks every name of a list, whatever was wrong with those before it, and keeps the index of every variable
// that exists. `isRefused` shows a message if a name isn't allowed here because of the other list; names that
// are allowed are added to `accepted`, against which the other list is checked.
template <class IsRefused>
bool SVSParser::CheckNames(const std::vector<KorvVarName>& names, std::set<std::string>& accepted,
                           std::vector<std::int32_t>& indices, const IsRefused& isRefused) {
  bool isGood = true;
  std::set<std::string> inThisList;
  for (const KorvVarName& name : names) {
    const std::string upper = GetUpperVarName(name.Text());
    // A repeated name is still examined further: it may have more faults.
    if (!inThisList.insert(upper).second) {
      messages.VariableRepeated(name.Text().c_str(), currentParameter.c_str(), "SAMPLEFILE");
      isGood = false;
    }
    if (isRefused(upper, name.Text().c_str())) {
      isGood = false;
    } else {
      accepted.insert(upper);
    }
    const std::int32_t index = FindVariable(name.Text(), false);
    if (index >= 0) {
      indices.push_back(index);
    } else {
      isGood = false;
    }
  }
  return isGood;
}

// The list that comes second is checked against the first. After DROP, a name of KEEP may not be in it. After
// KEEP, a name of DROP has to be in it, since there is nothing else to drop from.
bool SVSParser::CheckKeep(const std::vector<KorvVarName>& names) {
  return CheckNames(names, keepNames, keepIndices, [&](const std::string& upper, const char* name) {
    if (!dropAll && !dropNames.contains(upper)) return false;
    messages.VariableNotFor(name, currentParameter.c_str(), "DROP");
    return true;
  });
}

// Without KEEP, any variable may be dropped. With KEEP=... DROP=ALL there are no names to check.
bool SVSParser::CheckDrop(const std::vector<KorvVarName>& names) {
  return CheckNames(names, dropNames, dropIndices, [&](const std::string& upper, const char* name) {
    if (seenKeep == 0 || keepNames.contains(upper)) return false;
    messages.VariableMustAlsoBe(name, currentParameter.c_str(), "KEEP");
    return true;
  });
}

// The message names the subcommand while the command is read, and only the parameter while the plan is
// checked.
std::int32_t SVSParser::FindVariable(const std::string& name, bool isOptional) {
  if (ValidateKORVName(name) != 0) {
    messages.VariableNameInvalid(name.c_str(), currentParameter.c_str(), SubcommandForMessage());
    return -1;
  }
  const int index = dataSource->FindVarIndex(name, 0);
  if (index < 0 && !isOptional) {
    messages.VariableNotFound(name.c_str(), currentParameter.c_str(), SubcommandForMessage());
  }
  return index;
}
