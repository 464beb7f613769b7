#pragma once

#include <string>
#include <vector>

#include "session/Inspect.h"

class HostSession;

// The form that a plan is written in, by the end of the name of its file: .json or .xml, in either case.
enum class PlanForm { kUnknown, kJson, kXml };
PlanForm FormOfPlan(const std::string& path);

// Writes a plan that was read to another file, in the form of that file's name, and makes sure that it reads
// back as the same plan. The file appears whole or not at all, and replaces an older one; it can't be the plan
// itself, nor one of its tables.
//
// What the other form can't hold is a problem, and nothing is written: members that XML doesn't have; of an
// XML plan what a JSON plan refuses, such as two rows of a table for the same categories, and numbers that
// can be misread. Comments aren't part of a plan.
//
// Errors: in the list, empty if the file was written. REQUIRES: reading.status is kOk; FormOfPlan(target)
// isn't kUnknown.
std::vector<std::string> ConvertPlan(HostSession& session, const PlanReading& reading,
                                     const std::string& target);
