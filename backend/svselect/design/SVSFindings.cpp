#include "backend/svselect/design/SVSFindings.h"

#include <algorithm>
#include <cmath>
#include <utility>

void SVSFindings::Note(FindingKind kind, std::int32_t stage, SVSFinding::Example example) {
  SVSFinding& finding = Find(kind, stage);
  ++finding.count;
  if (finding.examples.size() == kMaxExamples) return;
  const bool isKnown =
      std::any_of(finding.examples.begin(), finding.examples.end(), [&](const SVSFinding::Example& known) {
        return known.unit == example.unit && known.stratum == example.stratum;
      });
  if (!isKnown) finding.examples.push_back(std::move(example));
}

void SVSFindings::KeepWorst(std::int32_t stage, const SVSFinding::Example& example) {
  const auto difference = [](const SVSFinding::Example& e) { return std::fabs(e.value - e.other); };
  std::vector<SVSFinding::Example>& examples = Find(FindingKind::kStatedProbs, stage).examples;
  if (examples.empty()) examples.push_back(example);
  if (difference(example) > difference(examples.front())) examples.front() = example;
}

bool SVSFindings::AnyRefused(Strictness strictness) const {
  return std::any_of(fvFindings.begin(), fvFindings.end(),
                     [=](const SVSFinding& finding) { return IsRefused(finding.kind, strictness); });
}

std::int64_t SVSFindings::RefusedCount(std::int32_t stage, Strictness strictness) const {
  std::int64_t count = 0;
  for (const SVSFinding& finding : fvFindings) {
    if (finding.stage == stage && IsRefused(finding.kind, strictness)) count += finding.count;
  }
  return count;
}

SVSFinding& SVSFindings::Find(FindingKind kind, std::int32_t stage) {
  for (SVSFinding& finding : fvFindings) {
    if (finding.kind == kind && finding.stage == stage) return finding;
  }
  fvFindings.push_back({.kind = kind, .stage = stage});
  return fvFindings.back();
}
