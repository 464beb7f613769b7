#pragma once

#include <array>
#include <cstdint>

// Codes of a status. A code says what happened; the severity of the status says whether it is an error or a
// warning, and some codes are raised as either. ShowStatus() of SVSProcedure turns a code into a text; codes
// without a text there can't be caused by a user of the program.
inline constexpr std::int32_t kStatusCancelled = 1;
inline constexpr std::int32_t kStatusUserError = 92000;      // steps called out of order, a failed output
inline constexpr std::int32_t kStatusNoRecords = 92001;      // no record at the start of a pass
inline constexpr std::int32_t kStatusIteratorError = 92002;  // no record though there should be one
inline constexpr std::int32_t kStatusInvalidRecord = 92003;  // no value array, or no positive weight
inline constexpr std::int32_t kStatusRecordTooShort = 92004;
inline constexpr std::int32_t kStatusUnequalSpec = 92005;  // rate or size not constant in a stratum
inline constexpr std::int32_t kStatusInvalidValue = 92006;
inline constexpr std::int32_t kStatusMissingSpec = 92008;  // missing rate or size of a stratum
inline constexpr std::int32_t kStatusPopulationTooSmall = 92009;
inline constexpr std::int32_t kStatusNoJointOutput = 92012;
inline constexpr std::int32_t kStatusNoStages = 92021;
inline constexpr std::int32_t kStatusFirstStageNumber = 92022;
inline constexpr std::int32_t kStatusLastStageNumber = 92023;
inline constexpr std::int32_t kStatusNoClusters = 92025;
inline constexpr std::int32_t kStatusLateEstimator = 92026;
inline constexpr std::int32_t kStatusEstimator = 92027;
inline constexpr std::int32_t kStatusNoSpec = 92028;
inline constexpr std::int32_t kStatusRateValue = 92029;
inline constexpr std::int32_t kStatusSizeValue = 92030;
inline constexpr std::int32_t kStatusMissingSize = 92031;  // a unit without measure of size
inline constexpr std::int32_t kStatusInvalidSize = 92032;  // a measure of size too large for the method
inline constexpr std::int32_t kStatusUnequalSize = 92033;  // measure of size differs within a unit
inline constexpr std::int32_t kStatusSizeAboveUnits = 92034;
inline constexpr std::int32_t kStatusRateAboveOne = 92035;
inline constexpr std::int32_t kStatusNoMemory = 92036;  // for the joint probabilities
inline constexpr std::int32_t kStatusReserveBeforeLast =
    92038;                                               // a further stage would draw in reserve units
inline constexpr std::int32_t kStatusNotStrict = 92037;  // a strict draw found what makes its results unclear

// SVStatus is how the computation reports an outcome: OK, a warning or an error, with a code and details.
//
// Use:        a function that can fail returns one by value; the caller tests IsError() and passes an error
//             up unchanged. A warning never stops anything: the caller goes on, and hands the status to the
//             run's collector (SVSOutSamples) so that the user sees it at the end.
// Ownership:  a plain value; copied freely.
// Failures:   nothing here throws, and nothing in the computation throws for an outcome that has a code.
//
// Details, by code:
//   ints    the stage, in the slot that StageSlot() names; for an invalid value, ints[1] is the index of the
//           variable in the record, and reals[1] the value. All other elements are carried and never set.
//
// Two statuses are equal if all of this is equal. The collector drops repeats by that comparison, so a status
// may be reported again on its way up, by every layer that sees it.
struct SVStatus {
  std::int32_t code = 0;
  std::int16_t severity = 0;  // negative: error; 0: OK; positive: warning
  std::array<std::int32_t, 3> ints{};
  std::array<double, 3> reals{};

  SVStatus() = default;
  SVStatus(std::int32_t statusCode, bool warning)
      : code(statusCode), severity(static_cast<std::int16_t>(warning ? 1 : -1)) {}

  bool IsError() const { return severity < 0; }
  bool IsOK() const { return severity == 0; }
  bool IsWarning() const { return severity > 0; }

  bool operator==(const SVStatus&) const = default;

  // The element of `ints` that holds the stage: ints[0] for the codes whose ints[1] is reserved for a record
  // index, ints[1] for all others. The collector stamps the stage there, and must not overwrite the index. Of
  // the reserved ones only kStatusInvalidValue sets an index; the rest are odd, but part of the interface.
  std::int32_t& StageSlot();
  std::int32_t StageSlot() const;
};

inline SVStatus ErrorStatus(std::int32_t code) {
  return SVStatus(code, false);
}
inline SVStatus WarningStatus(std::int32_t code) {
  return SVStatus(code, true);
}
