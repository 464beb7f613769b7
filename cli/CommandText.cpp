#include "cli/CommandText.h"

#include <algorithm>

#include "host/text/VariableNames.h"

namespace {

// A file name as a string of the command: in quotes, a quote within doubled.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    quoted += c;
    if (c == '\'') quoted += c;
  }
  return quoted + "'";
}

std::string Words(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

// A subcommand on a line of its own, its parameters added one by one.
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

std::string CommandText(const CommandOptions& options) {
  Subcommand plan("PLAN");
  plan.Add("FILE=" + Quoted(options.plan));

  Subcommand criteria("CRITERIA");
  criteria.AddIf(!options.stages.empty(), "STAGES=" + Words(options.stages));
  criteria.AddIf(!options.seed.empty(), "SEED=" + GetUpperString(options.seed));

  Subcommand classMissing("CLASSMISSING");
  classMissing.AddIf(options.includeUserMissing, "INCLUDE");

  Subcommand data("DATA");
  data.AddIf(options.rename, "RENAMEVARS");
  data.AddIf(options.presorted, "PRESORTED");

  Subcommand sample("SAMPLEFILE");
  sample.AddIf(!options.sample.empty(), "OUTFILE=" + Quoted(options.sample));
  sample.AddIf(!options.keep.empty(), "KEEP=" + Words(options.keep));
  sample.AddIf(!options.drop.empty(), "DROP=" + Words(options.drop));

  Subcommand joint("JOINTPROB");
  joint.AddIf(!options.joint.empty(), "OUTFILE=" + Quoted(options.joint));

  Subcommand rule("SELECTRULE");
  rule.AddIf(!options.rule.empty(), "OUTFILE=" + Quoted(options.rule));

  Subcommand print("PRINT");
  for (const std::string& word : options.print) print.Add(GetUpperString(word));

  return "SVSELECT" + plan.Text() + criteria.Text() + classMissing.Text() + data.Text() + sample.Text() +
         joint.Text() + rule.Text() + print.Text() + ".";
}
