// What a stratum would draw, for a preview. Request, bounds, sizes and probabilities are those of Select(), from
// the same functions.

#include <algorithm>
#include <cmath>
#include <vector>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVSFindings.h"
#include "backend/svselect/tabulation/SVSStratumData.h"
#include "host/numeric/Obs.h"

namespace {

using MCMV::gMissingValue;

constexpr double kCertain = 1.0 - 1e-12;  // a probability of 1 can be less by rounding
constexpr double kRounding = 1e-9;        // of a number of units, relative to it

void NameUnit(const SVKey& key, MCSV::SVSNamedUnits* units) {
  if (++units->count <= static_cast<std::int64_t>(MCSV::SVSNamedUnits::kMostNames))
    units->first.push_back(key);
}

}  // namespace

StratumOutlook SVSStratumData::Foresee(MCSV::SVSStratumPreview* row, SVSFindings* findings) {
  StratumOutlook outlook(fUnits, MethodOf(fSelectMethod).withReplacement);
  fStatus = PrepareDraw();
  if (!fStatus.IsError()) fStatus = fSelectSamples.Foresee(&outlook);
  if (!fStatus.IsError()) ForeseeProbs(row->key, &outlook, findings);
  if (!fStatus.IsError()) outlook.TakeApart();
  ForeseeRow(outlook, row);
  if (row->failure == 0 && row->possible > 0 && outlook.IsEmpty()) {
    findings->Note(FindingKind::kOtherCount, fStageInd,
                   {.stratum = row->key, .unit = {}, .value = 0.0, .other = 1.0 * row->possible});
  }
  fSelectSamples.ClearWork();
  return outlook;
}

// Where the draw only comes near the probabilities that it states, those that it really has. Beyond the cost of
// that, those stated remain.
void SVSStratumData::ForeseeProbs(const SVKey& key, StratumOutlook* outlook, SVSFindings* findings) const {
  const SVMethod& method = MethodOf(fSelectMethod);
  const bool anyFraction = method.statedProbs == StatedProbs::kMetByWholeSizes && AnySizeHasFraction();
  if (outlook->IsEmpty() || !OnlyApproaches(fSelectSamples.Requested(), fUnits.ListCount(), anyFraction))
    return;
  NoteStatedProbs(key, findings);
  std::int32_t position = 0;
  for (const SVSelectSamples::StatedProb& prob : fSelectSamples.StatedProbs()) {
    outlook->SetProb(position++, prob.drawn);
  }
}

void SVSStratumData::ForeseeRow(const StratumOutlook& outlook, MCSV::SVSStratumPreview* row) const {
  const SVMethod& method = MethodOf(fSelectMethod);
  const bool isFailed = fStatus.IsError();
  row->units = NumUnits();
  row->asked = fRequestSampleSize;
  row->askedRate = fRequestSampleRate;
  row->attempts = outlook.Attempts();
  row->failure = isFailed ? fStatus.code : 0;
  row->possible = method.withReplacement ? fRequestSampleSize : std::min(fRequestSampleSize, NumUnits());
  if (method.IsPps()) ForeseeSizes(row);
  if (fStatus.code == kStatusInvalidSize) NameTooLarge(row);
  if (isFailed || outlook.IsEmpty()) return;
  const bool takesAll = !method.withReplacement && row->possible == row->units;
  const std::int32_t different = outlook.IsSame() ? 1 : NumUnits();
  for (std::int32_t unit = 0; unit < different; ++unit) {
    const StratumOutlook::Unit& foreseen = outlook.Of(unit);
    if (!foreseen.CanBeTaken()) continue;
    row->drawn += foreseen.hits;
    row->probability.Add(foreseen.stated);
    row->weight.Add(foreseen.weight);
    if (foreseen.stated >= kCertain && !takesAll) NameUnit(fUnits.KeyOf(unit), &row->certain);
  }
  if (outlook.IsSame()) row->drawn *= NumUnits();
  const double most = fSelectSamples.Requested() + CertainCount();
  if (std::fabs(row->drawn - most) <= kRounding * most) row->drawn = most;
}

void SVSStratumData::ForeseeSizes(MCSV::SVSStratumPreview* row) const {
  row->totalSize = 0.0;
  for (std::int32_t unit = 0; unit < NumUnits(); ++unit) {
    const double size = fUnits.SizeOf(unit);
    if (!(size > 0.0)) ++row->withoutSize;
    if (size != gMissingValue) row->totalSize += size;
  }
}

// The largest units, as long as n x reaches the total of what is left: taking one for certain lowers n and the
// total, so that a further one may be too large.
void SVSStratumData::NameTooLarge(MCSV::SVSStratumPreview* row) const {
  std::vector<std::int32_t> units(static_cast<std::size_t>(NumUnits()));
  for (std::int32_t unit = 0; unit < NumUnits(); ++unit) units[static_cast<std::size_t>(unit)] = unit;
  std::stable_sort(units.begin(), units.end(),
                   [this](std::int32_t a, std::int32_t b) { return fUnits.SizeOf(a) > fUnits.SizeOf(b); });
  double left = row->totalSize;
  std::int64_t n = row->possible;
  for (const std::int32_t unit : units) {
    const double size = fUnits.SizeOf(unit);
    if (n == 0 || !(static_cast<double>(n) * size >= left)) return;
    NameUnit(fUnits.KeyOf(unit), &row->tooLarge);
    left -= size;
    --n;
  }
}
