#pragma once

#include "cli/CommandLine.h"
#include "cli/PlanningLine.h"
#include "cli/PreviewLine.h"

// The subcommands. Each makes a session of the host, calls the library in session/, shows the result and
// returns the exit status. The options have passed UsageError().

// Exit statuses; the help pages and the manual list them.
inline constexpr int kExitOk = 0;
inline constexpr int kExitError = 1;  // an error was raised, or a file that was named can't be used
inline constexpr int kExitUsage = 2;  // the program was called wrongly
inline constexpr int kExitInterrupted = 130;

// `svselect run`: draws a sample. Tables and notes go to standard output, messages and remarks to standard
// error; reports and data files are the library's work. Standard output that can't be written is an error
// even if the sample was drawn.
int RunSample(const RunOptions& options);

// `svselect run --explain`: prints the command that the options make.
int ExplainCommand(const RunOptions& options);

// `svselect plan`: prints the plan in words. With a frame, reports what keeps the plan from being drawn from
// it, and what a run would remark.
int TellPlan(const PlanOptions& options);

// `svselect preview`: shows what a run by the plan would do to a frame, as tables or JSON, and writes it to reports.
int TellPreview(const PreviewOptions& options);

// `svselect describe`: prints the dictionary, the documents and the number of cases of a data file or a
// query, and what the cases have in each variable. Messages come last, so that they aren't lost above a long
// dictionary.
int DescribeFile(const DescribeOptions& options);

// `svselect design`: makes a plan from options. With --out writes it, and prints it in words, with the table of
// its allocation; else prints it as JSON.
int MakePlan(const DesignOptions& options);

// `svselect size`: tells how many units a precision needs, as a table or JSON.
int TellSize(const SizeOptions& options);
