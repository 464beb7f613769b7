#pragma once

namespace SV_XML {

// Codes of the plan reader. 0 is success; the text of each stands in PlanReadErrors.cpp.
inline constexpr int kPlanInvalidFile = 1;
inline constexpr int kPlanInvalidVariable = 2;
inline constexpr int kPlanRepeatedVariable = 3;
inline constexpr int kPlanIllegalEstimation = 4;
inline constexpr int kPlanBadPopulationSize = 5;
inline constexpr int kPlanBadInclusionProbability = 6;
inline constexpr int kPlanClustersRequired = 7;
inline constexpr int kPlanBadMatrixVariable = 8;
inline constexpr int kPlanBadCategoryList = 9;
inline constexpr int kPlanTooManyStages = 10;
inline constexpr int kPlanNoAnalysisDesign = 11;
inline constexpr int kPlanBadSampleSize = 12;
inline constexpr int kPlanBadSampleRate = 13;
inline constexpr int kPlanNoSampleDesign = 14;
inline constexpr int kPlanIllegalMethod = 15;
inline constexpr int kPlanNoSizeOrRate = 16;
inline constexpr int kPlanNoMos = 17;
inline constexpr int kPlanNoMosSource = 18;
inline constexpr int kPlanMinAboveMax = 19;  // of the measure of size, and of the size that a rate gives
inline constexpr int kPlanBadBound = 20;     // likewise
inline constexpr int kPlanClusterMissing = 21;
inline constexpr int kPlanRepeatedInSampleDesign = 22;
inline constexpr int kPlanReplacementBeforeLast = 23;  // a method with replacement, and stages behind it
inline constexpr int kPlanIllegalSrsEstimator = 24;

// Most stages of a plan.
inline constexpr int kMaxPlanStages = 3;

// PlanReadErrors tells the user what the plan reader found.
class PlanReadErrors {
public:
  // Issues the error message of a code. A code outside 1 to 24 does nothing.
  void report(int code) const;
};

}  // namespace SV_XML
