#pragma once

#include <cstdint>
#include <string_view>

// The vocabulary of a sampling design. The values are fixed: they travel in plan records, settings and files.
// Fields hold them as 32-bit integers, because a plan can carry a code that has no name here.

// What a plan is for.
enum PlanMode : std::int32_t { kNoMode = 0, kSampleMode = 1, kAnalysisMode = 2, kViewMode = 3 };

// One list for three fields: the selection type of a stage (the methods, and 15), the estimation setting of a
// plan (14 and 15) and the SRS estimator of a plan (15 and 16).
enum SamplingType : std::int32_t {
  kSamplingNoValue = 0,
  kSamplingSimpleWor = 1,
  kSamplingSimpleWr = 2,
  kSamplingSimpleSystematic = 3,
  kSamplingSimpleChromy = 4,
  kSamplingPpsWor = 5,
  kSamplingPpsWr = 6,
  kSamplingPpsSystematic = 7,
  kSamplingPpsBrewer = 8,
  kSamplingPpsMurthy = 9,
  kSamplingPpsSampford = 10,
  kSamplingPpsChromy = 11,
  kSamplingEqualWor = 12,  // stages of analysis plans, as the next one
  kSamplingUnequalWor = 13,
  kSamplingDefault = 14,
  kSamplingWr = 15,
  kSamplingWor = 16,
};

// Which of its four quantities a plan's stage gives, and how.
enum ParamKind : std::int32_t {
  kParamNone = 0,
  kParamSize = 1,
  kParamRate = 2,
  kParamPopSize = 3,
  kParamInclProb = 4,
};
enum ParamSource : std::int32_t {
  kParamNotGiven = 0,
  kParamByValue = 1,
  kParamByVarName = 2,
  kParamByVarCatList = 3,  // by a table with one number for each combination of categories
};

enum PrintOption : std::int32_t { kPrintPlan = 0, kPrintMatrix = 1, kPrintBoth = 2 };

// How the units of a stage are selected; MethodTable.h has the facts. Not numbered as SamplingType: the
// sequential PPS method comes before Brewer's, Murthy's and Sampford's.
enum MethodType : std::int32_t {
  kMethodNone = 0,
  kMethodSimpleWor = 1,
  kMethodSimpleWr = 2,
  kMethodSimpleSystematic = 3,
  kMethodSimpleChromy = 4,
  kMethodPpsWor = 5,
  kMethodPpsWr = 6,
  kMethodPpsSystematic = 7,
  kMethodPpsChromy = 8,
  kMethodPpsBrewer = 9,
  kMethodPpsMurthy = 10,
  kMethodPpsSampford = 11,
};

enum EstimatorType : std::int32_t {
  kEstimatorNone = 0,
  kEstimatorWr = 1,
  kEstimatorEqualWor = 2,  // known to plans, never drawn with; as the next one
  kEstimatorUnequalWor = 3,
};

// The tag that says which quantity a stage carries, and in which form. A draw uses 0 and 7 to 12.
enum InclusionType : std::int32_t {
  kInclProbTypeNone = 0,
  kInclProbValue = 1,
  kInclProbVariable = 2,
  kInclProbMatrix = 3,
  kPopSizeValue = 4,
  kPopSizeVariable = 5,
  kPopSizeMatrix = 6,
  kRateValue = 7,
  kRateVariable = 8,
  kRateMatrix = 9,
  kSizeValue = 10,
  kSizeVariable = 11,
  kSizeMatrix = 12,
};

// The results of a stage for one case, also the indices of a vector that holds them.
enum OutputKind : std::int32_t {
  kOutInclProb = 0,
  kOutCumWeight = 1,
  kOutIndex = 2,
  kOutPopSize = 3,
  kOutSampSize = 4,
  kOutRate = 5,
  kOutWeight = 6,
  kOutCertain = 7,  // 1 for a unit that is taken for certain, else 0
};
inline constexpr int kOutputKinds = 8;

// The name of a kind in plans and messages: "INCLPROB". REQUIRES: 0 <= kind < kOutputKinds.
std::string_view OutputKindName(std::int32_t kind);

// What a record index holds, and so which values are fit for it.
enum VariableType : std::int32_t {
  kVarUnspecified = 0,
  kVarCategorical = 1,  // strata and cluster variables: whole category codes of 1 or more
  kVarRate = 2,
  kVarSize = 3,
  kVarWeight = 4,
};

enum VariableRole : std::int32_t { kRoleStrata = 0, kRoleCluster = 1 };
