#include "session/DrawOptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "host/environment/HostErrors.h"
#include "host/text/NearestWord.h"

namespace {

using Json = nlohmann::json;

constexpr std::int64_t kMaxSeed = 2147483647;  // 2^31 - 1, the largest that the command takes
constexpr std::int64_t kMostStages = 3;

// A value as a message shows it.
std::string Shown(const Json& value) {
  return QuotedWord(value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

[[noreturn]] void Refuse(const std::string& name, const Json& value, const char* expected) {
  throw DataError(fmt::format("option {}: {} isn't {}", name, Shown(value), expected));
}

bool IsBetween(const Json& value, std::int64_t least, std::int64_t most) {
  if (!value.is_number_integer()) return false;
  if (value.is_number_unsigned() && value.get<std::uint64_t>() > static_cast<std::uint64_t>(most))
    return false;
  return least <= value.get<std::int64_t>() && value.get<std::int64_t>() <= most;
}

bool Truth(const std::string& name, const Json& value) {
  if (!value.is_boolean()) Refuse(name, value, "true or false");
  return value.get<bool>();
}

std::string Seed(const std::string& name, const Json& value) {
  if (value == "random") return "random";
  if (!IsBetween(value, 1, kMaxSeed)) {
    Refuse(name, value, "a seed: a whole number from 1 to 2147483647, or \"random\"");
  }
  return std::to_string(value.get<std::int64_t>());
}

std::string Variable(const std::string& name, const Json& value) {
  if (!value.is_string() || value.get_ref<const std::string&>().empty()) {
    Refuse(name, value, "the name of a variable");
  }
  return value.get<std::string>();
}

std::vector<std::string> Variables(const std::string& name, const Json& value) {
  if (!value.is_array()) Refuse(name, value, "a list of names of variables");
  std::vector<std::string> variables;
  for (const Json& variable : value) variables.push_back(Variable(name, variable));
  return variables;
}

// These become words of the command, where some characters end a word.
std::vector<std::string> Words(const std::string& name, const Json& value) {
  std::vector<std::string> words = Variables(name, value);
  if (words.empty()) Refuse(name, value, "a list of at least one variable");
  for (const std::string& word : words) {
    if (word.find_first_of(" \t\r\n\f\v,=/()'\"") != std::string::npos) {
      Refuse(name, word, "a name that a command can have");
    }
  }
  return words;
}

std::vector<std::string> Stages(const std::string& name, const Json& value) {
  const auto isStage = [](const Json& stage) { return IsBetween(stage, 1, kMostStages); };
  if (!value.is_array() || value.empty() || !std::all_of(value.begin(), value.end(), isStage)) {
    Refuse(name, value, "a list of stages: 1, 2 or 3");
  }
  std::vector<std::string> stages;
  for (const Json& stage : value) stages.push_back(std::to_string(stage.get<std::int64_t>()));
  return stages;
}

SurveyCost Cost(const std::string& name, const Json& value) {
  const auto isCost = [](const Json& part) { return part.is_number() && part.get<double>() >= 0.0; };
  if (!value.is_array() || value.size() != 3 || !std::all_of(value.begin(), value.end(), isCost))
    Refuse(name, value, "a list of three numbers that aren't negative");
  return {.fixed = value[0], .unit = value[1], .each = value[2]};
}

using Member = std::function<void(const std::string& name, const Json& value, DrawOptions* options)>;

const std::vector<std::pair<std::string, Member>>& Members() {
  using Text = const std::string&;
  using Value = const Json&;
  static const std::vector<std::pair<std::string, Member>> kMembers = {
      {"seed", [](Text name, Value value, DrawOptions* o) { o->parts.seed = Seed(name, value); }},
      {"stages", [](Text name, Value value, DrawOptions* o) { o->parts.stages = Stages(name, value); }},
      {"exact_design",
       [](Text name, Value value, DrawOptions* o) { o->settings.exactDesign = Truth(name, value); }},
      {"strict", [](Text name, Value value, DrawOptions* o) { o->settings.strict = Truth(name, value); }},
      {"joint", [](Text name, Value value, DrawOptions* o) { o->joint = Truth(name, value); }},
      {"keep", [](Text name, Value value, DrawOptions* o) { o->parts.keep = Words(name, value); }},
      {"weight", [](Text name, Value value, DrawOptions* o) { o->weight = Variable(name, value); }},
      {"split", [](Text name, Value value, DrawOptions* o) { o->split = Variables(name, value); }},
      {"sort", [](Text name, Value value, DrawOptions* o) { o->sort = Variables(name, value); }},
      {"serpentine", [](Text name, Value value, DrawOptions* o) { o->serpentine = Truth(name, value); }},
      {"cost", [](Text name, Value value, DrawOptions* o) { o->cost = Cost(name, value); }},
  };
  return kMembers;
}

// The parser keeps the last of two members of one name and says nothing.
Json Parsed(const std::string& text) {
  std::set<std::string> names;
  const auto watch = [&](int depth, Json::parse_event_t event, const Json& parsed) {
    if (event == Json::parse_event_t::key && depth == 1 && !names.insert(parsed.get<std::string>()).second) {
      throw DataError(fmt::format("option {} is given twice", QuotedWord(parsed.get<std::string>())));
    }
    return true;
  };
  try {
    return Json::parse(text, watch);
  } catch (const Json::exception&) {
    throw DataError("the options aren't JSON: " + QuotedWord(text));
  }
}

}  // namespace

DrawOptions ReadDrawOptions(const std::string& json) {
  DrawOptions options;
  if (json.empty()) return options;
  const Json object = Parsed(json);
  if (!object.is_object()) throw DataError("the options aren't a JSON object: " + QuotedWord(json));
  std::vector<std::string> known;
  for (const auto& [name, member] : Members()) known.push_back(name);
  for (const auto& [name, value] : object.items()) {
    const auto member = std::find(known.begin(), known.end(), name);
    if (member == known.end()) {
      const std::string nearest = NearestWord(name, known);
      throw DataError(fmt::format("there is no option {}{}", QuotedWord(name),
                                  nearest.empty() ? "" : "; did you mean " + nearest + "?"));
    }
    Members()[static_cast<std::size_t>(member - known.begin())].second(name, value, &options);
  }
  return options;
}
