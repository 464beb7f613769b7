#include "backend/svselect/results/SVSSelectRuleFile.h"

#include <algorithm>

#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "host/model/KORV_DataSource.h"
#include "host/model/Values.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"

namespace {

constexpr int kOpenForOutput = 2;

}  // namespace

SVSSelectRuleFile::SVSSelectRuleFile(const SVSValidSpecs* validSpecs, const KORV_DataSource* dataSource,
                                     SVSInputAdapter* inputAdapter)
    : fpValidSpecs(validSpecs),
      fpDataSource(dataSource),
      fpInputAdapter(inputAdapter),
      fKeyVars(validSpecs->DesignVars()) {
  if (!fKeyVars.empty()) return;
  fState = kFailed;
  BpError(BpString("No SELECTRULE without stratification and cluster variables ...", true), kShowInMessage,
          kWarningLevel);
}

SVSSelectRuleFile::~SVSSelectRuleFile() {
  if (IsGood()) Finish();
}

std::int32_t SVSSelectRuleFile::Open() {
  if (fState != kCreated || fpValidSpecs->SelectRuleFile().empty()) return fState = kFailed;
  fpStream = std::make_unique<ExtOutputStream>();
  ExtNameStr name;
  name.SetGeneric(fpValidSpecs->SelectRuleFile());
  // The result isn't needed: the host reports a failure, and a stream that isn't open swallows the text.
  name.Open(*fpStream, kOpenForOutput);
  return fState = kOpened;
}

// The key is made of category codes, not of values. A value that has no code yet gets one: a selected case's
// values have codes, so this happens only to values outside the draw's own records.
std::int32_t SVSSelectRuleFile::AddCase(KORV_InputCaseIterator& caseIterator, KeySet& keys, SVKey& key) {
  if (!IsGood()) return fState = kFailed;
  for (std::int32_t i = 0; i < KeyLength(); ++i) {
    const std::int32_t variable = fKeyVars[static_cast<std::size_t>(i)];
    key[i] = fpInputAdapter->CodeOfObs(variable, caseIterator.BindColumn(variable));
  }
  key.ComputeHash();
  fState = kWriting;
  if (keys.Insert(key, 1) != nullptr) WriteClause(caseIterator);
  return fState;
}

// All lines of the clause but the last are written now; the last one waits in fPendingLine for OR or the end.
void SVSSelectRuleFile::WriteClause(KORV_InputCaseIterator& caseIterator) {
  if (!fPendingLine.empty()) {
    *fpStream << fPendingLine << " OR\n";
    ++fClauseCount;
  }
  for (const std::int32_t& variable : fKeyVars) {
    fPendingLine.assign(1, &variable == &fKeyVars.front() ? '(' : ' ');
    fPendingLine.append(" ( ").append(fpDataSource->GetVariable(variable).GetName()).append(" EQ ");
    fPendingLine.append(ValueText(caseIterator, variable)).append(" ) ");
    if (&variable == &fKeyVars.back()) {
      fPendingLine += ")";
    } else {
      *fpStream << fPendingLine << "AND\n";
    }
  }
}

// The value in its print format, without leading blanks. Of a value that is all blank, one blank remains. A
// text isn't quoted, though a reader of the rule would need it: that is the format.
std::string SVSSelectRuleFile::ValueText(KORV_InputCaseIterator& caseIterator, std::int32_t variable) const {
  const KORV_Format format = UsableFormat(fpDataSource->GetVariable(variable));
  std::string text(format.width + 1U, '\0');
  ToString(caseIterator.BindColumn(variable), format, text.data());
  text.back() = '\0';
  text.resize(text.find('\0'));
  const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
  return start < text.size() || text.empty() ? text.substr(start) : " ";
}

// Without any clause the file stays empty, and its count stays unset.
std::int32_t SVSSelectRuleFile::Finish() {
  if (!IsGood()) return fState = kFailed;
  if (!fPendingLine.empty()) {
    *fpStream << fPendingLine << '\n';
    fpStream->SetCount(fClauseCount + 1);
  }
  fpStream->close();
  return fState = kClosed;
}
