#pragma once

namespace SV_XML {

// What can be wrong with a plan file.
//
// The reader returns one code per plan, the first fault that it found, and the user gets one message without
// a place in the file. Codes rather than texts, so that a caller can decide whether and where to show them:
// the command shows the message and stops, while the program's view of a plan adds where the parser stopped.

// Codes of the plan reader; 0 is success. The texts are in PlanReadErrors.cpp.
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
inline constexpr int kPlanMinAboveMax = 19;  // bounds of the measure of size, or of the size a rate gives;
inline constexpr int kPlanBadBound = 20;     // the text of both speaks of the measure of size either way
inline constexpr int kPlanClusterMissing = 21;
inline constexpr int kPlanRepeatedInSampleDesign = 22;
inline constexpr int kPlanReplacementBeforeLast = 23;  // a method with replacement before the last stage
inline constexpr int kPlanIllegalSrsEstimator = 24;

// The largest number of stages in a plan.
inline constexpr int kMaxPlanStages = 3;

// PlanReadErrors shows the user what the plan reader found.
class PlanReadErrors {
public:
  // Issues the error message of a code; it raises the host's error flag. Codes outside 1 to 24 are ignored.
  void report(int code) const;
};

}  // namespace SV_XML
