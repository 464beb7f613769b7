#pragma once

#include <string>

#include "report/SampleScript.h"

class HostSession;
struct SurveyOutcome;

// What an R script in the file `script` says of the sample of a run. The names of variables are those of the
// sample's columns, whatever their case in the plan.
// REQUIRES: the outcome is complete, weights included, as that of any report for people.
// Errors: DataError when the plan, which says what the stages are, can't be read a second time.
SampleScript ScriptOf(HostSession& session, const SurveyOutcome& outcome, const std::string& script);
