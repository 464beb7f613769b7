#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class OutputTable;

struct OutputMessage {
  int level = 0;
  std::string text;
  std::string group;         // empty when none was in force
  std::int64_t repeats = 0;  // of the first of its kind: how many came beyond those that are kept
};

struct OutputNote {
  int group = 0;
  std::string label;
  std::string text;
};

// OutputDocument holds all output of a session as data: messages, notes and tables, each in the order in
// which it came. Renderers read it.
//
// Use:        HostSession::Current().Layer<OutputDocument>(), which is Current(). The first use makes it the
//             sink of the messages of the layers below, so the program makes it before it opens a file.
// Threads:    the thread of the session.
//
// Invariants: (1) at most kMaxOfOneKind messages have the same text, level and group; what came beyond is
//                 in `repeats` of the first of them.
//             (2) at most kMaxMessages messages are kept; FurtherMessages() counts the rest.
class OutputDocument {
public:
  static constexpr std::int64_t kMaxOfOneKind = 100;
  static constexpr std::size_t kMaxMessages = 10000;

  OutputDocument();
  ~OutputDocument();
  OutputDocument(const OutputDocument&) = delete;
  OutputDocument& operator=(const OutputDocument&) = delete;

  static OutputDocument& Current();

  void SetProcedure(const std::string& title) { fProcedure = title; }
  // An error raises the host's error flag, whether it is kept or only counted.
  void AddMessage(int level, const std::string& text, const std::string& group);
  // Leaves the errors out, since those of a run that was broken off speak of the break alone. What was only
  // counted stays counted. REQUIRES: no message follows.
  void DropErrors();
  void AddNote(OutputNote note) { fvNotes.push_back(std::move(note)); }
  // A table with neither a cell nor a note is left out.
  void AddTable(std::shared_ptr<OutputTable> table);

  const std::string& Procedure() const { return fProcedure; }
  const std::vector<OutputMessage>& Messages() const { return fvMessages; }
  const std::vector<OutputNote>& Notes() const { return fvNotes; }
  const std::vector<std::shared_ptr<OutputTable>>& Tables() const { return fvTables; }

  // Messages beyond kMaxMessages.
  std::int64_t FurtherMessages() const { return fFurther; }
  std::string FurtherText() const { return "... and " + std::to_string(fFurther) + " more messages"; }
  // The messages that are kept; what came beyond them stands as one message behind them.
  std::vector<OutputMessage> AllMessages() const;

private:
  struct Kept {
    std::size_t first = 0;  // index of the first message of a kind
    std::int64_t count = 0;
  };

  std::string fProcedure;
  std::vector<OutputMessage> fvMessages;
  std::vector<OutputNote> fvNotes;
  std::vector<std::shared_ptr<OutputTable>> fvTables;
  std::unordered_map<std::string, Kept> fKeptOfKind;
  std::int64_t fFurther = 0;
  int fFurtherLevel = 0;  // the highest among them
};
