#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "backend/svselect/selection/SVSStratumView.h"
#include "backend/svselect/selection/SVSUnits.h"
#include "host/numeric/Obs.h"
#include "model_components/surveyplans/common/SVStatus.h"

class DesignStage;
class SVCancelInfo;
class SVSCompSettings;
class SVSJointWork;
struct MethodFunctions;
class SVSOutSamples;
class sfMutex;
namespace MCCommonMath {
class MCRandomTwister;
}

// SVSelectSamples draws the sample of one stratum in one stage, and holds what its joint inclusion
// probabilities are computed from.
//
// Use:        SetRandom(), Prepare(), SelectSamples(), once each; then, only where joint probabilities are
//             written, JointProbs() or PrepareThreads(), JointProbsRange() per range and FinishThreads();
//             then ClearWork(). The results are in the units and in GetStageValues().
// Ownership:  owns its arrays. Borrows everything that it points to: settings, stage and cancel view for its
//             own life, the rest from SetRandom() and Prepare() on.
// Threads:    the thread of the run; JointProbsRange() of different ranges may run in parallel.
// Notation:   that of SVSStratumView.h, units 1..N being those of the list given to Prepare(), by position.
//             Positions kept here are 1-based.
// Errors:     the status stays in the engine, and once it is an error nothing changes it and nothing more is
//             computed: 1 when cancelled, 92031 a size is missing, 92032 a size is too large for the method,
//             92036 no memory for the joint probabilities.
//
// Units that are set apart from the list are taken for certain: they are part of the sample, with probability
// and weight 1, and behind the drawn ones in order of selection. Their joint probability with another unit is
// that one's own.
//
// What differs between the methods isn't here: MethodFunctions.h has the draw of each one, a function over a
// SVSStratumView, and where its joint probabilities come from.
class SVSelectSamples {
public:
  SVSelectSamples(const SVSCompSettings* settings, std::int32_t stageNumber, SVCancelInfo* cancelInfo);
  ~SVSelectSamples();
  SVSelectSamples(const SVSelectSamples&) = delete;
  SVSelectSamples& operator=(const SVSelectSamples&) = delete;

  void SetRandom(MCCommonMath::MCRandomTwister* generator) { fpRandom = generator; }

  // Takes the units of the stratum and what is asked of those in the list, and forms the measures of size. `selected` is filled
  // by SelectSamples(), in order of selection.
  SVStatus Prepare(SVSUnits* units, std::vector<std::int32_t>* selected, SVSOutSamples* outSamples,
                   std::int32_t requestSize, double requestRate);

  // Draws the sample and writes the results into the units.
  SVStatus SelectSamples();

  // In place of SelectSamples(): what it would do to each unit, and the error that it would end with.
  SVStatus Foresee(SVSForeseenUnits* units);

  // How many are drawn from the list of those that are asked for, once one of the two was called.
  std::int32_t Requested() const { return fNRequestSamples; }

  // Units or, for some methods with replacement, hits.
  std::int32_t GetNumSelected() const { return fNSelectSamples; }

  // The inclusion probability that the draw states for a unit, n p(i), and that which it really has, by the
  // position of the unit in the list.
  struct StatedProb {
    double stated = 0.0;
    double drawn = 0.0;
  };
  // All of them, where they may differ and are cheap to compute; else empty.
  // REQUIRES: units were selected, or Foresee() has succeeded with a request above 0; ClearWork() wasn't
  // called.
  std::vector<StatedProb> StatedProbs() const;

  // Missing until something was selected.
  void GetStageValues(double* popSize, double* sampleSize, double* rate) const;

  // Releases the lists that only joint probabilities need.
  void ClearWork();

  // --- joint inclusion probabilities of the selected units, after SelectSamples() ---
  // Decides how many threads share the work, and for two or more makes everything ready for them.
  SVStatus PrepareThreads(std::int32_t* threadCount);
  // The whole matrix, on the calling thread. `*matrix` is row by row in the order of selection, or null; it
  // lives until ClearWork().
  SVStatus JointProbs(const std::vector<double>** matrix);
  // The share of one thread. REQUIRES: index is below the count that PrepareThreads() gave.
  void JointProbsRange(std::int32_t index);
  // Ends what PrepareThreads() began.
  SVStatus FinishThreads(const std::vector<double>** matrix);

private:
  // Empties a list and gives its memory back.
  template <class T>
  static void Release(std::vector<T>* list) {
    std::vector<T>().swap(*list);
  }

  void FormSizes();
  void LimitRequest();
  void ClearSizes();
  const MethodFunctions& Functions() const;
  void Draw();
  void TakeApart();
  SVSStratumView View() const;  // of the lists as they are
  void Fail(std::int32_t code);
  void SetStageValues();

  // Joint probabilities.
  std::int32_t SharedItems() const;
  void StartJointWork(std::int32_t ranges);
  void FormJointMatrix();
  void SplitItems(std::int32_t items, std::int32_t ranges);
  std::unique_ptr<SVSJointWork> MakeJointWork();
  void RunJointWork(std::int32_t range);
  void EndJointWork();
  void AddApartToMatrix();

  const SVSCompSettings* fpSettings;                // borrowed
  const DesignStage* fpStage;                       // borrowed; read at construction only
  SVSOutSamples* fpOutSamples = nullptr;            // borrowed
  SVSUnits* fpUnits = nullptr;                      // borrowed; all units
  std::vector<std::int32_t>* fpSelected = nullptr;  // borrowed; units, of methods that name them
  std::vector<std::int32_t> fSelectSampleInds;      // positions from 1, parallel to fpSelected
  std::int32_t fSelectMethod;                       // MethodType
  std::int32_t fStageInd;                           // from 1
  std::vector<double> fAllSampleSizes;              // s(i); the method's SizeLists are formed, no others
  std::vector<double> fCumSampleSizes;              // S(i)
  double fTotalSampleSize = 0.0;                    // M
  std::vector<double> fProbPropSize;                // p(i); 0 where M isn't positive
  std::vector<double> fCumProbPropSize;             // c(i)
  std::int32_t fNAllSamples = 0;                    // N, of the list
  std::int32_t fNRequestSamples = 0;                // n, at most N without replacement
  std::int32_t fNSelectSamples = 0;                 // selected so far
  double fRequestSampleRate = 0.0;                  // at most 1 without replacement
  double fOutPopSize = MCMV::gMissingValue;         // results of the stratum
  double fOutSampleSize = MCMV::gMissingValue;
  double fOutSampleRate = MCMV::gMissingValue;
  std::vector<double> fJointProbs;  // square, row by row, in order of selection
  std::vector<std::pair<std::int32_t, std::int32_t>> fThreadRanges;  // 1-based, inclusive
  std::unique_ptr<SVSJointWork> fpJointWork;  // the computation of fJointProbs, while it runs
  SVCancelInfo* fpCancelInfo;                 // borrowed
  SVStatus fStatus;
  std::unique_ptr<sfMutex> fpMutex;                   // while threads compute
  MCCommonMath::MCRandomTwister* fpRandom = nullptr;  // borrowed; the run's one generator
};
