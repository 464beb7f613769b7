#include "session/CommandText.h"

#include <algorithm>

#include "host/text/VariableNames.h"

// The command is text because the procedure takes nothing else, and because the user shall see it (--explain,
// reports) and be able to keep it in a file:
//
//   SVSELECT
//     /PLAN FILE='plan.xml'
//     /CRITERIA STAGES=1 2 SEED=4711
//     /SAMPLEFILE OUTFILE='sample.csv' KEEP=a b
//     /PRINT SELECTION.

namespace {

// Quotes a file name; a quote inside is doubled.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    quoted += c;
    if (c == '\'') quoted += c;
  }
  return quoted + "'";
}

// A list, separated by blanks.
std::string Words(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

// Names of variables. The word ALL is left as it is: it means all of them.
std::string Names(const std::vector<std::string>& names) {
  std::vector<std::string> words;
  for (const std::string& name : names) {
    const bool isWord = ValidateKORVName(name) == 0 || GetUpperString(name) == "ALL";
    words.push_back(isWord ? name : Quoted(name));
  }
  return Words(words);
}

// One subcommand on a line of its own. Without any parameter it is left out of the command, since an empty
// subcommand is an error there.
class Subcommand {
public:
  explicit Subcommand(const char* name) : fText(std::string("\n  /") + name) {}
  void Add(const std::string& parameter) {
    fText += " " + parameter;
    fbEmpty = false;
  }
  void AddIf(bool condition, const std::string& parameter) {
    if (condition) Add(parameter);
  }
  std::string Text() const { return fbEmpty ? "" : fText; }

private:
  std::string fText;
  bool fbEmpty = true;
};

}  // namespace

std::string CommandText(const CommandParts& parts) {
  Subcommand plan("PLAN");
  plan.Add("FILE=" + Quoted(parts.plan));

  Subcommand criteria("CRITERIA");
  criteria.AddIf(!parts.stages.empty(), "STAGES=" + Words(parts.stages));
  criteria.AddIf(!parts.seed.empty(), "SEED=" + GetUpperString(parts.seed));

  Subcommand classMissing("CLASSMISSING");
  classMissing.AddIf(parts.includeUserMissing, "INCLUDE");

  Subcommand data("DATA");
  data.AddIf(parts.rename, "RENAMEVARS");
  data.AddIf(parts.presorted, "PRESORTED");

  Subcommand sample("SAMPLEFILE");
  sample.AddIf(!parts.sample.empty(), "OUTFILE=" + Quoted(parts.sample));
  sample.AddIf(!parts.keep.empty(), "KEEP=" + Names(parts.keep));
  sample.AddIf(!parts.drop.empty(), "DROP=" + Names(parts.drop));

  Subcommand joint("JOINTPROB");
  joint.AddIf(!parts.joint.empty(), "OUTFILE=" + Quoted(parts.joint));

  Subcommand rule("SELECTRULE");
  rule.AddIf(!parts.rule.empty(), "OUTFILE=" + Quoted(parts.rule));

  Subcommand print("PRINT");
  for (const std::string& word : parts.print) print.Add(GetUpperString(word));

  return "SVSELECT" + plan.Text() + criteria.Text() + classMissing.Text() + data.Text() + sample.Text() +
         joint.Text() + rule.Text() + print.Text() + ".";
}
