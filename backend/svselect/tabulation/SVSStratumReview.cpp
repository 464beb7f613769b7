// What a statistician should know about a stratum beyond its statuses, before the draw and after it. Nothing
// here changes a digit of the sample.

#include <algorithm>
#include <cmath>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSFindings.h"
#include "backend/svselect/selection/CertainUnits.h"
#include "backend/svselect/tabulation/SVSStratumData.h"
#include "host/numeric/Obs.h"

namespace {

using MCMV::gMissingValue;

bool HasFraction(double size) {
  return size > 0.0 && std::trunc(size) != size;
}

}  // namespace

void SVSStratumData::Review(const SVKey& key, SVSFindings* findings) const {
  const SVMethod& method = MethodOf(fSelectMethod);
  const Request request = FindRequest();
  if (request.status.code == kStatusMissingSpec) {
    findings->Note(FindingKind::kMissingSpec, fStageInd, {.stratum = key, .unit = {}});
    return;
  }
  if (request.status.code == kStatusRateAboveOne) {
    findings->Note(FindingKind::kRateAboveOne, fStageInd,
                   {.stratum = key, .unit = {}, .value = request.rate});
  } else if (request.size == 0 && request.rate > 0.0) {
    findings->Note(FindingKind::kRoundsToNone, fStageInd,
                   {.stratum = key, .unit = {}, .value = request.rate, .other = 1.0 * NumUnits()});
  } else if (!method.withReplacement && request.size > NumUnits()) {
    const bool isByBound = fInclProbType == kRateValue || fInclProbType == kRateVariable;
    findings->Note(isByBound ? FindingKind::kFewerThanLeast : FindingKind::kTooFewUnits, fStageInd,
                   {.stratum = key, .unit = {}, .value = request.asked, .other = 1.0 * NumUnits()});
  }
  const std::int32_t n = method.withReplacement ? request.size : std::min(request.size, NumUnits());
  if (method.IsPps() && n > 0) ReviewSizes(key, n, findings);
}

void SVSStratumData::ReviewSizes(const SVKey& key, std::int32_t requested, SVSFindings* findings) const {
  const SVMethod& method = MethodOf(fSelectMethod);
  const SizeBounds bounds = fbUseMOSVar ? Bounds() : SizeBounds();
  double total = 0.0;
  double largest = 0.0;
  bool anyFraction = false;
  std::vector<double> sizes;
  for (std::int32_t unit = 0; unit < NumUnits(); ++unit) {
    const double size = bounds.Apply(fUnits.SizeOf(unit));
    if (!(size > 0.0)) {
      const FindingKind kind = size == gMissingValue ? FindingKind::kMissingSize
                               : size < 0.0          ? FindingKind::kNegativeSize
                                                     : FindingKind::kZeroSize;
      findings->Note(kind, fStageInd, {.stratum = key, .unit = fUnits.KeyOf(unit), .value = size});
      if (size == gMissingValue) continue;
    }
    total += size;
    largest = std::max(largest, size);
    if (TakesCertain()) sizes.push_back(size);
    anyFraction = anyFraction || HasFraction(size);
  }
  if (TakesCertain() && total > 0.0) {
    const CertainUnits certain = FindCertainUnits(sizes, requested, fCertaintyShare);
    ReviewCertain(key, certain, requested, findings);
    if (OnlyApproaches(certain.left, NumUnits() - certain.count, anyFraction))
      findings->Count(FindingKind::kStatedProbs, fStageInd);
    return;
  }
  // Where all units of equal sizes are taken, each has the limit as its size, and that is allowed.
  const double limit = total / requested;
  const bool isCensus = requested == NumUnits() && largest * NumUnits() == total;
  const bool isBeyond = method.limit == SizeLimit::kBelowOne ? largest >= limit : largest > limit;
  const bool isRefused = method.limit != SizeLimit::kNone && isBeyond && !isCensus;
  if (!(total > 0.0)) {
    findings->Note(FindingKind::kNoTotalSize, fStageInd,
                   {.stratum = key, .unit = {}, .value = total, .other = isRefused ? 1.0 : 0.0});
  } else if (isRefused) {
    ReviewLargeSizes(key, limit, findings);
  }
  if (total > 0.0 && OnlyApproaches(requested, NumUnits(), anyFraction))
    findings->Count(FindingKind::kStatedProbs, fStageInd);
}

// Units that aren't certain must have a chance, and as many as are left to be drawn a size.
void SVSStratumData::ReviewCertain(const SVKey& key, const CertainUnits& certain, std::int32_t requested,
                                   SVSFindings* findings) const {
  if (!certain.LeavesOut() && !certain.LacksUnits()) return;
  const FindingKind kind = certain.LacksUnits() ? FindingKind::kOtherCount : FindingKind::kCertainTakeAll;
  findings->Note(kind, fStageInd,
                 {.stratum = key, .unit = {}, .value = 1.0 * certain.count, .other = 1.0 * requested});
}

// A stratum whose units are all taken has the probabilities that it states, and so has the one draw that is left
// behind certain units.
bool SVSStratumData::OnlyApproaches(std::int32_t drawn, std::int32_t units, bool anyFraction) const {
  const StatedProbs stated = MethodOf(fSelectMethod).statedProbs;
  if (fpSettings->ExactDesign() || drawn == units) return false;
  if (TakesCertain() && drawn <= 1) return false;
  return stated == StatedProbs::kApproached || (stated == StatedProbs::kMetByWholeSizes && anyFraction);
}

// Only a draw that fails reports these: its sums are in another order than these, so a size at the very
// limit can be beyond it here and not there.
void SVSStratumData::ReviewLargeSizes(const SVKey& key, double limit, SVSFindings* findings) const {
  const SizeBounds bounds = fbUseMOSVar ? Bounds() : SizeBounds();
  const bool hitsLimit = MethodOf(fSelectMethod).limit == SizeLimit::kBelowOne;
  for (std::int32_t unit = 0; unit < NumUnits(); ++unit) {
    const double size = bounds.Apply(fUnits.SizeOf(unit));
    if (size > limit || (hitsLimit && size == limit)) {
      findings->Note(FindingKind::kSizeAboveLimit, fStageInd,
                     {.stratum = key, .unit = fUnits.KeyOf(unit), .value = size, .other = limit});
    }
  }
}

void SVSStratumData::ReviewDraw(const SVKey& key, bool notesHits, SVSFindings* findings) const {
  const SVMethod& method = MethodOf(fSelectMethod);
  const std::int32_t asked =
      method.withReplacement ? fRequestSampleSize : std::min(fRequestSampleSize, NumUnits());
  if (GetNumSelected() != asked) {
    findings->Note(FindingKind::kOtherCount, fStageInd,
                   {.stratum = key, .unit = {}, .value = 1.0 * GetNumSelected(), .other = 1.0 * asked});
  }
  const bool anyFraction = method.statedProbs == StatedProbs::kMetByWholeSizes && AnySizeHasFraction();
  if (OnlyApproaches(asked - CertainCount(), fUnits.ListCount(), anyFraction))
    ReviewStatedProbs(key, findings);
  if (notesHits) ReviewHits(key, findings);
}

bool SVSStratumData::AnySizeHasFraction() const {
  for (std::int32_t unit = 0; unit < NumUnits(); ++unit) {
    if (HasFraction(fUnits.SizeOf(unit))) return true;
  }
  return false;
}

void SVSStratumData::ReviewStatedProbs(const SVKey& key, SVSFindings* findings) const {
  if (GetNumSelected() > 0) NoteStatedProbs(key, findings);  // else another finding
}

void SVSStratumData::NoteStatedProbs(const SVKey& key, SVSFindings* findings) const {
  const std::vector<SVSelectSamples::StatedProb> probs = fSelectSamples.StatedProbs();
  if (probs.empty()) findings->CountUnknown(fStageInd);
  std::int32_t position = 0;
  for (const SVSelectSamples::StatedProb& prob : probs) {
    findings->KeepWorst(fStageInd, {.stratum = key,
                                    .unit = fUnits.KeyOf(fUnits.UnitAt(position++)),
                                    .value = prob.stated,
                                    .other = prob.drawn});
  }
}

void SVSStratumData::ReviewHits(const SVKey& key, SVSFindings* findings) const {
  for (const SVSUnits::Result& result : fUnits.Results()) {
    if (result.hits > 1.0) {
      findings->Note(FindingKind::kHitsNotKept, fStageInd,
                     {.stratum = key, .unit = fUnits.KeyOf(result.unit), .value = result.hits});
    }
  }
}
