#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

class OutputTable;

struct OutputMessage {
  int level = 0;  // kWarningLevel or kErrorLevel
  std::string text;
  std::string group;         // the part of the command it is about, such as "Plan stage 2..."; may be empty
  std::int64_t repeats = 0;  // on the first message of a kind: how many more came than were kept
};

// The cases of the frame, as a procedure counted them in a whole pass.
struct FrameCases {
  std::int64_t read = 0;
  std::int64_t leftOut = 0;  // of these; for lack of a value
};

struct OutputNote {
  int group = 0;  // notes are shown by ascending group
  std::string label;
  std::string text;
};

// OutputDocument collects all output of a session as data: messages, remarks, notes and tables. Remarks are
// whole sentences beside the messages, each on one cause, about what a user should know; they set no flag. It
// knows nothing of
// how they are displayed; the renderers in host/render read it when the run is over.
//
// Limits. A frame of ten million cases can give ten million messages, and the document is in memory. So there
// are two limits, and what exceeds them is counted, not lost silently:
//
//   - Of messages of the same kind (equal level, group and text) the first kMaxOfOneKind are kept. The first
//     of them counts the others in `repeats`. People are shown one message of each kind, with its number.
//   - Of all messages the first kMaxMessages are kept. FurtherMessages() counts the rest, of whatever kind.
//
// The first limit is checked first, so a kind that is full doesn't use up the second. The host's error flag
// doesn't depend on either: every error sets it. Notes and tables have no limit.
//
// Use:        a session layer. Create it before the first file is opened: the constructor makes it the
//             session's ErrorSink, and messages issued before that only go to standard error.
// Ownership:  owns everything; shares tables with the handles of their builders.
// Threads:    the session's thread.
class OutputDocument {
public:
  static constexpr std::int64_t kMaxOfOneKind = 100;
  static constexpr std::size_t kMaxMessages = 10000;

  OutputDocument();
  ~OutputDocument();
  OutputDocument(const OutputDocument&) = delete;
  OutputDocument& operator=(const OutputDocument&) = delete;

  // The current session's document. For the functions of the procedure's interface, which have no other way
  // to it; everybody else takes a document as an argument.
  static OutputDocument& Current();

  void SetProcedure(const std::string& title) { fProcedure = title; }
  // `level` is kWarningLevel or kErrorLevel. An error sets the host's error flag even if it is only counted.
  void AddMessage(int level, const std::string& text, const std::string& group);
  // Removes the errors; those that were only counted stay counted, as warnings. For a cancelled run, whose
  // errors are only consequences of the cancellation. REQUIRES: no AddMessage() afterwards.
  void DropErrors();
  void AddRemark(std::string text) { fvRemarks.push_back(std::move(text)); }
  void SetCases(const FrameCases& cases) { fCases = cases; }
  // Removes the tables of a kind.
  void DropTables(const std::string& kind);
  void AddNote(OutputNote note) { fvNotes.push_back(std::move(note)); }
  // Closes the table, and keeps it if it has a cell or a note.
  void AddTable(std::shared_ptr<OutputTable> table);

  const std::string& Procedure() const { return fProcedure; }
  const std::vector<OutputMessage>& Messages() const { return fvMessages; }
  const std::vector<std::string>& Remarks() const { return fvRemarks; }
  // Empty while no procedure has read the whole frame.
  const std::optional<FrameCases>& Cases() const { return fCases; }
  const std::vector<OutputNote>& Notes() const { return fvNotes; }
  const std::vector<std::shared_ptr<OutputTable>>& Tables() const { return fvTables; }

  // Number of messages beyond kMaxMessages, and the sentence about them.
  std::int64_t FurtherMessages() const { return fFurther; }
  std::string FurtherText() const { return "... and " + std::to_string(fFurther) + " more messages"; }
  // Messages(), followed by one message with FurtherText() if any were only counted.
  std::vector<OutputMessage> AllMessages() const;
  // The same with one message of each kind, in the order of the first ones; `repeats` is how many more there
  // were, kept or not. For people: a hundred equal messages say no more than one.
  std::vector<OutputMessage> MessagesByKind() const;

private:
  static std::string KindOf(const OutputMessage& message);

  // What is known about a kind of message.
  struct Kept {
    std::size_t first = 0;   // its first message's index in fvMessages
    std::int64_t count = 0;  // messages kept
  };

  std::string fProcedure;
  std::vector<OutputMessage> fvMessages;
  std::vector<std::string> fvRemarks;
  std::optional<FrameCases> fCases;
  std::vector<OutputNote> fvNotes;
  std::vector<std::shared_ptr<OutputTable>> fvTables;
  std::unordered_map<std::string, Kept> fKeptOfKind;  // by level, group and text
  std::int64_t fFurther = 0;
  int fFurtherLevel = 0;  // highest level among those counted in fFurther
};
