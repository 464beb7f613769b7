#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "backend/svcommon/design/Enumerations.h"

// The table of selection methods, one row for each, with everything that the rest of the system asks about a
// method. The plan reader, the parser, the computation, documents and messages read it, and the tests loop
// over it. The draw of each method is in a second table with the same rows in the same order,
// backend/svselect/selection/MethodFunctions.h, because the stages of a design know nothing of selection.
//
// Adding a method: CONTRIBUTING.md has the steps. A row that leaves out a text doesn't compile (see the
// assertion below); a property that it doesn't name is false. Write "what holds for the method" as a property
// here, and never compare a code with the code of a method elsewhere.
//
// Units:      everything is constant and known to the compiler; the texts live as long as the process.
// Texts:      they are in the output files and reports of all samples drawn so far, misspelt ones too. Don't
//             change them.

// The largest inclusion probability n p(i) that a method lets a unit have. A unit beyond it is refused.
enum class SizeLimit { kNone, kAtMostOne, kBelowOne };

// How well the plain draw keeps the inclusion probabilities that it states. --exact-design keeps them always.
enum class StatedProbs {
  kMet,
  kMetByWholeSizes,  // met unless measures of size have fractions
  kApproached,
};

struct SVMethod {
  // Every row has to name these.
  MethodType code;
  SamplingType type;           // in plan records
  std::string_view word;       // in plans; in capitals it is the method's name in messages
  std::string_view inWords;    // "Method: ..." of a plan that is shown in words
  std::string_view text;       // MethodTypeText()
  std::string_view title;      // "Selection Method: ..." in the documents of a sample
  std::string_view estimator;  // "Estimator Assumption: ..." there

  bool equalProbability = false;    // every unit has the size 1; the other methods draw by a measure of size
  bool withReplacement = false;     // a unit can be hit more than once, and the sample outnumber the units
  bool twoUnits = false;            // draws two units of each stratum, whatever the stage asks for
  bool ordersBySize = false;        // the units are sorted by SortBySize() before the draw
  bool namesUnits = false;          // lists its selected units one by one, in the order of selection
  bool hasJointProbs = false;       // has joint inclusion probabilities; REQUIRES: namesUnits
  bool writesJointUnasked = false;  // writes them even when the command names no file for them
  bool mayDrawForever = false;  // repeats until a sample is accepted; with many units that may take for ever
  SizeLimit limit = SizeLimit::kNone;
  StatedProbs statedProbs = StatedProbs::kMet;

  // Whether the method draws with probability proportional to a measure of size; false for kNoMethod.
  constexpr bool IsPps() const { return code != kMethodNone && !equalProbability; }
  // Whether large units can be taken for certain before the draw.
  constexpr bool TakesCertain() const { return IsPps() && !withReplacement; }
};

// The row for a code or a type that belongs to no method.
inline constexpr SVMethod kNoMethod = {.code = kMethodNone,
                                       .type = kSamplingNoValue,
                                       .word = "",
                                       .inWords = "none",
                                       .text = "method not defined",
                                       .title = "",
                                       .estimator = ""};

namespace MethodTexts {
inline constexpr std::string_view kEqualWor = "Equal probability sampling without replacement";
inline constexpr std::string_view kReplacement = "Sampling with replacement";
// "probabilitites" is in the documents of all samples drawn so far, and stays.
inline constexpr std::string_view kUnequalWor =
    "Unequal probability sampling without replacement(using joint inclusion probabilitites)";
}  // namespace MethodTexts

// In order of their codes, which count from 1.
inline constexpr SVMethod kMethods[] = {
    {.code = kMethodSimpleWor,
     .type = kSamplingSimpleWor,
     .word = "simple_wor",
     .inWords = "at random without replacement, each unit with the same probability",
     .text = "without replacement selection and equal probabilities",
     .title = "Simple random sampling without replacement",
     .estimator = MethodTexts::kEqualWor,
     .equalProbability = true},
    {.code = kMethodSimpleWr,
     .type = kSamplingSimpleWr,
     .word = "simple_wr",
     .inWords = "at random with replacement, each unit with the same probability",
     .text = "with replacement selection and equal probabilities",
     .title = "Simple random sampling with replacement",
     .estimator = MethodTexts::kReplacement,
     .equalProbability = true,
     .withReplacement = true},
    {.code = kMethodSimpleSystematic,
     .type = kSamplingSimpleSystematic,
     .word = "simple_systematic",
     .inWords = "systematic: at fixed intervals from a random start, each unit with the same probability",
     .text = "fixed interval selection and random starting point",
     .title = "Systematic sampling with equal probability",
     .estimator = MethodTexts::kReplacement,
     .equalProbability = true},
    {.code = kMethodSimpleChromy,
     .type = kSamplingSimpleChromy,
     .word = "simple_chromy",
     .inWords = "sequential, each unit with the same probability",
     .text = "without replacement sequential selection and equal probabilities",
     .title = "Chromy (sequential) sampling with equal probability",
     .estimator = MethodTexts::kReplacement,
     .equalProbability = true,
     .limit = SizeLimit::kAtMostOne},
    {.code = kMethodPpsWor,
     .type = kSamplingPpsWor,
     .word = "pps_wor",
     .inWords = "at random without replacement, in proportion to size",
     .text = "without replacement selection and probability proportional to size",
     .title = "PPS sampling without replacement",
     .estimator = MethodTexts::kUnequalWor,
     .ordersBySize = true,
     .namesUnits = true,
     .hasJointProbs = true,
     .writesJointUnasked = true,
     .limit = SizeLimit::kAtMostOne,
     .statedProbs = StatedProbs::kMetByWholeSizes},
    {.code = kMethodPpsWr,
     .type = kSamplingPpsWr,
     .word = "pps_wr",
     .inWords = "at random with replacement, in proportion to size",
     .text = "with replacement selection and probability proportional to size",
     .title = "PPS sampling with replacement",
     .estimator = MethodTexts::kReplacement,
     .withReplacement = true},
    {.code = kMethodPpsSystematic,
     .type = kSamplingPpsSystematic,
     .word = "pps_systematic",
     .inWords = "systematic: at fixed intervals from a random start, in proportion to size",
     .text = "without replacement systematic random selection and probability proportional to size",
     .title = "Systematic sampling with PPS",
     .estimator = MethodTexts::kReplacement,
     .limit = SizeLimit::kAtMostOne},
    {.code = kMethodPpsChromy,
     .type = kSamplingPpsChromy,
     .word = "pps_chromy",
     .inWords = "sequential, in proportion to size",
     .text = "without replacement sequential selection and probability proportional to size",
     .title = "Chromy (sequential) sampling with PPS",
     .estimator = MethodTexts::kReplacement,
     .limit = SizeLimit::kAtMostOne},
    {.code = kMethodPpsBrewer,
     .type = kSamplingPpsBrewer,
     .word = "pps_brewer",
     .inWords = "Brewer's, in proportion to size",
     .text = "Brewer selection of two units within each stratum and probability proportional to size",
     .title = "Brewer sampling with PPS",
     .estimator = MethodTexts::kUnequalWor,
     .twoUnits = true,
     .namesUnits = true,
     .hasJointProbs = true,
     .writesJointUnasked = true,
     .limit = SizeLimit::kBelowOne,
     .statedProbs = StatedProbs::kApproached},
    {.code = kMethodPpsMurthy,
     .type = kSamplingPpsMurthy,
     .word = "pps_murthy",
     .inWords = "Murthy's, in proportion to size",
     .text = "Murthy selection of two units within each stratum and probability proportional to size",
     .title = "Murthy sampling with PPS",
     .estimator = MethodTexts::kUnequalWor,
     .twoUnits = true,
     .namesUnits = true,
     .hasJointProbs = true,
     .writesJointUnasked = true},
    {.code = kMethodPpsSampford,
     .type = kSamplingPpsSampford,
     .word = "pps_sampford",
     .inWords = "Sampford's, in proportion to size",
     .text = "extention of Brewer's method selecting more than two units from each stratum",
     .title = "Sampford sampling with PPS",
     .estimator = MethodTexts::kUnequalWor,
     .namesUnits = true,
     .hasJointProbs = true,
     .writesJointUnasked = true,
     .mayDrawForever = true,
     .limit = SizeLimit::kBelowOne,
     .statedProbs = StatedProbs::kApproached},
};

static_assert(
    [] {
      for (const SVMethod& method : kMethods) {
        if (method.word.empty() || method.inWords.empty() || method.text.empty() || method.title.empty() ||
            method.estimator.empty()) {
          return false;
        }
      }
      return true;
    }(),
    "each method has all its texts");

// The method with this code; kNoMethod for any other code.
constexpr const SVMethod& MethodOf(std::int32_t code) {
  const std::size_t index = static_cast<std::uint32_t>(code) - 1U;
  return index < std::size(kMethods) ? kMethods[index] : kNoMethod;
}

// The method for a stage's selection type; kNoMethod for a type that isn't a method's.
constexpr const SVMethod& MethodOfType(std::int32_t samplingType) {
  for (const SVMethod& method : kMethods) {
    if (method.type == samplingType) return method;
  }
  return kNoMethod;
}

// The method's name in messages: "PPS_WOR".
std::string MethodName(const SVMethod& method);

// The names of the methods that have a property, in the order of the table: "PPS_WOR, PPS_BREWER and
// PPS_SAMPFORD". `between` separates two names, `last` the last two.
std::string MethodNames(bool (*hasProperty)(const SVMethod&), std::string_view between,
                        std::string_view last);

// The method in words: "fixed interval selection and random starting point".
std::string_view MethodTypeText(std::int32_t method);
