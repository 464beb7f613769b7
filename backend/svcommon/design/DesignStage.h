#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "backend/svcommon/design/Enumerations.h"

// DesignStage holds one stage of a design as a run needs it. Its variables are dictionary indices in the
// validated specifications and record indices in the computational settings. What is absent is -1 or -1.0.
//
// One tag, inclusionType(), says which quantity the stage carries. Setting a value or a variable moves the
// tag to it; what the tag doesn't name keeps what an earlier setter gave it, and isn't looked at. The bounds
// of the size that a rate asks for carry no tag: only a positive one bounds.
class DesignStage {
public:
  // A variable that the units of a stratum are ordered by before the draw.
  struct OrderKey {
    std::int32_t variable = -1;
    bool isDescending = false;
    bool isText = false;  // its values are codes in the record
  };

  explicit DesignStage(std::int32_t stageNumber = 0) : fStageNumber(stageNumber) {}

  // Back to the initial values, with number 0.
  void reset() { *this = DesignStage(); }

  std::int32_t stageNumber() const { return fStageNumber; }  // from 1
  const std::vector<std::int32_t>& strataVariables() const { return fStrataVariables; }
  const std::vector<std::int32_t>& clusterVariables() const { return fClusterVariables; }
  int strataCount() const { return static_cast<int>(fStrataVariables.size()); }
  int clusterCount() const { return static_cast<int>(fClusterVariables.size()); }

  // The output variables that the stage asks for: kinds in the order of request, and a name for each kind,
  // empty for a kind that wasn't asked for or doesn't exist.
  const std::vector<std::int32_t>& requestedOutputs() const { return fRequestedOutputs; }
  int requestedCount() const { return static_cast<int>(fRequestedOutputs.size()); }
  std::string outputName(std::int32_t kind) const;

  std::int32_t estimatorType() const { return fEstimatorType; }
  std::int32_t methodType() const { return fMethodType; }
  std::int32_t inclusionType() const { return fInclusionType; }
  double inclProbValue() const { return fInclProbValue; }
  std::int32_t inclProbVariable() const { return fInclProbVariable; }
  double popSizeValue() const { return fPopSizeValue; }
  std::int32_t popSizeVariable() const { return fPopSizeVariable; }
  double rateValue() const { return fRateValue; }
  std::int32_t rateVariable() const { return fRateVariable; }
  double rateMinSize() const { return fRateMinSize; }
  double rateMaxSize() const { return fRateMaxSize; }
  // Units with n x >= c X are taken for certain, c being this share; 0 where none are.
  double certaintyShare() const { return fCertaintyShare; }
  const std::vector<OrderKey>& order() const { return fOrder; }
  bool isSerpentine() const { return fbSerpentine; }
  double sizeValue() const { return fSizeValue; }
  std::int32_t sizeVariable() const { return fSizeVariable; }

  void setStrata(std::vector<std::int32_t> variables) { fStrataVariables = std::move(variables); }
  void setClusters(std::vector<std::int32_t> variables) { fClusterVariables = std::move(variables); }
  void addStrataVariable(std::int32_t index) { fStrataVariables.push_back(index); }
  void addClusterVariable(std::int32_t index) { fClusterVariables.push_back(index); }

  void setEstimatorType(std::int32_t code) { fEstimatorType = code; }
  void setMethodType(std::int32_t code) { fMethodType = code; }
  void setInclusionType(std::int32_t code) { fInclusionType = code; }

  // These move the tag.
  void setInclProbValue(double value) { Carry(kInclProbValue, &fInclProbValue, value); }
  void setInclProbVariable(std::int32_t index) { Carry(kInclProbVariable, &fInclProbVariable, index); }
  void setPopSizeValue(double value) { Carry(kPopSizeValue, &fPopSizeValue, value); }
  void setPopSizeVariable(std::int32_t index) { Carry(kPopSizeVariable, &fPopSizeVariable, index); }
  void setRateValue(double value) { Carry(kRateValue, &fRateValue, value); }
  void setRateVariable(std::int32_t index) { Carry(kRateVariable, &fRateVariable, index); }
  void setSizeValue(double value) { Carry(kSizeValue, &fSizeValue, value); }
  void setSizeVariable(std::int32_t index) { Carry(kSizeVariable, &fSizeVariable, index); }

  void setCertaintyShare(double share) { fCertaintyShare = share; }
  void setOrder(std::vector<OrderKey> keys, bool isSerpentine) {
    fOrder = std::move(keys);
    fbSerpentine = isSerpentine;
  }
  void setRateMinSize(double value) { fRateMinSize = value; }
  void setRateMaxSize(double value) { fRateMaxSize = value; }

  // Asks for an output variable. A kind that doesn't exist or an empty name changes nothing.
  void requestOutput(std::int32_t kind, const std::string& name);

private:
  template <typename T>
  void Carry(InclusionType tag, T* field, T value) {
    *field = value;
    fInclusionType = tag;
  }

  std::int32_t fStageNumber;
  std::vector<std::int32_t> fStrataVariables;
  std::vector<std::int32_t> fClusterVariables;
  std::array<std::string, kOutputKinds> fOutputNames;
  std::vector<std::int32_t> fRequestedOutputs;
  std::int32_t fEstimatorType = kEstimatorNone;
  std::int32_t fMethodType = kMethodNone;
  std::int32_t fInclusionType = kInclProbTypeNone;
  double fInclProbValue = -1.0;
  std::int32_t fInclProbVariable = -1;
  double fPopSizeValue = -1.0;
  std::int32_t fPopSizeVariable = -1;
  double fRateValue = -1.0;
  std::int32_t fRateVariable = -1;
  double fRateMinSize = -1.0;
  double fRateMaxSize = -1.0;
  double fSizeValue = -1.0;
  std::int32_t fSizeVariable = -1;
  double fCertaintyShare = 0.0;
  std::vector<OrderKey> fOrder;
  bool fbSerpentine = false;  // every second run is reversed
};
