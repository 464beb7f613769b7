#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "backend/svselect/design/SVSFindings.h"

// LateNotes hands on the findings about records with the delay that they have always had. Records once waited
// in a queue of 16 before they entered their units; records that were left out didn't. So the order of the
// remarks about the two, and what a pass that fails has remarked before, shows that queue, and must go on to.
class LateNotes {
public:
  // A finding about the record that came in as number `record`, from 0.
  void Note(std::int64_t record, FindingKind kind, SVSFinding::Example example) {
    fvNotes.push_back({record, kind, std::move(example)});
  }

  // Hands on what isn't late any more once `count` records have come in.
  void PassOn(std::int64_t count, std::int32_t stage, SVSFindings* findings) {
    auto note = fvNotes.begin();
    for (; note != fvNotes.end() && note->record + kWaiting <= count; ++note) {
      findings->Note(note->kind, stage, std::move(note->example));
    }
    fvNotes.erase(fvNotes.begin(), note);
  }
  // At the end of a pass: all.
  void PassOnAll(std::int64_t count, std::int32_t stage, SVSFindings* findings) {
    PassOn(count + kWaiting, stage, findings);
  }

private:
  static constexpr std::int64_t kWaiting = 16;

  struct LateNote {
    std::int64_t record;
    FindingKind kind;
    SVSFinding::Example example;
  };
  std::vector<LateNote> fvNotes;
};
