#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>
#include <thread>

#include "ArrowFake.h"
#include "PlanText.h"
#include "bindings/c/svselect.h"

extern "C" const char* VersionFromC(void);

using testing::HasSubstr;

namespace {

using Json = nlohmann::json;
using Poll = std::function<int(const svs_progress&)>;

const std::string kPlan =
    Design(Stage("pps_sampford", StrataOf(Var("stratum")) + ClustersOf(Var("unit")) + Size("4") +
                                     "<MOS fromData='no'>" + Var("size") + "</MOS>" + Out("IncProb", "p")) +
           Out("Weight", "w"));
// Draws anew until no unit comes up twice, which is never.
const std::string kEndless =
    Design(Stage("pps_sampford", ClustersOf(Var("unit")) + Size("400") + "<MOS fromData='no'>" + Var("size") +
                                     "</MOS>" + Out("IncProb", "p")) +
           Out("Weight", "w"));

constexpr std::int64_t kUnits = 1000;

ArrowFake Units(std::vector<std::int64_t> batches = {kUnits}) {
  std::vector<std::int64_t> units(kUnits);
  std::iota(units.begin(), units.end(), 1);
  std::vector<double> sizes;
  std::vector<std::string> strata;
  for (const std::int64_t unit : units) {
    sizes.push_back(1.0 + 0.1 * static_cast<double>(unit % 7));
    strata.push_back(unit % 5 == 0 ? "a stratum of more than twelve bytes" : "b");
  }
  return {.columns = {{"unit", "l", units}, {"stratum", "u", strata}, {"size", "g", sizes}},
          .batches = std::move(batches)};
}

// A session with what a test opens in it; all is closed at the end.
struct Client {
  explicit Client(int threads = 1) { EXPECT_EQ(svs_open(threads, &session), SVS_OK); }
  ~Client() {
    svs_result_close(result);
    svs_frame_close(frame);
    svs_close(session);
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  int Take(ArrowFake& fake, Poll asked = nullptr) {
    ArrowArrayStream stream = fake.Stream();
    const int status = svs_frame_arrow(session, &stream, asked ? Ask : nullptr, &asked, &frame);
    EXPECT_EQ(stream.release, nullptr);
    return status;
  }
  int Draw(const std::string& plan = kPlan, const char* options = R"({"seed": 4711, "joint": true})",
           Poll asked = nullptr) {
    svs_result_close(result);
    result = nullptr;
    return svs_draw(session, plan.data(), plan.size(), frame, options, asked ? Ask : nullptr, &asked,
                    &result);
  }
  std::string Said() const { return svs_messages(session); }

  // The numbers of a table by column; texts are left out.
  std::map<std::string, std::vector<double>> Numbers(int table) const {
    std::map<std::string, std::vector<double>> numbers;
    ArrowArrayStream stream{};
    EXPECT_EQ(svs_result_table(session, result, table, &stream), SVS_OK) << Said();
    if (stream.release == nullptr) return numbers;
    ArrowSchema schema{};
    EXPECT_EQ(stream.get_schema(&stream, &schema), 0);
    for (ArrowArray batch{}; stream.get_next(&stream, &batch) == 0 && batch.release != nullptr;) {
      for (std::int64_t i = 0; i < schema.n_children; ++i)
        AddNumbers(schema.children[i], batch.children[i], &numbers);
      batch.release(&batch);
    }
    schema.release(&schema);
    stream.release(&stream);
    return numbers;
  }

  svs_session* session = nullptr;
  svs_frame* frame = nullptr;
  svs_result* result = nullptr;

private:
  static int Ask(void* asked, const svs_progress* progress) {
    return (*static_cast<Poll*>(asked))(*progress);
  }

  static void AddNumbers(const ArrowSchema* schema, const ArrowArray* array,
                         std::map<std::string, std::vector<double>>* numbers) {
    const std::string format = schema->format;
    for (std::int64_t row = 0; row < array->length; ++row) {
      const void* const values = array->buffers[1];
      if (format == "g") (*numbers)[schema->name].push_back(static_cast<const double*>(values)[row]);
      if (format == "l")
        (*numbers)[schema->name].push_back(
            static_cast<double>(static_cast<const std::int64_t*>(values)[row]));
      if (format == "i") (*numbers)[schema->name].push_back(static_cast<const std::int32_t*>(values)[row]);
    }
  }
};

// The columns of a CSV file that our program wrote, as numbers.
std::map<std::string, std::vector<double>> ReadCsv(const std::string& text) {
  std::map<std::string, std::vector<double>> columns;
  std::istringstream lines(text);
  std::vector<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> fields(1);
    for (const char c : line) c == ',' ? fields.emplace_back() : fields.back() += c;
    if (names.empty()) {
      names = fields;
      continue;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
      char* end = nullptr;
      const double number = std::strtod(fields[i].c_str(), &end);
      if (end != fields[i].c_str()) columns[names[i]].push_back(number);
    }
  }
  return columns;
}

}  // namespace

// Whatever the lengths and offsets of the arrays and the number of threads: the numbers that the program writes
// from a text file of the same cases. Everything handed out is released; a frame and a result serve many times.
TEST(Interface, DrawsWhatTheProgramDraws) {
  const TestFolder folder;
  ArrowFake units = Units();
  std::ostringstream csv;
  csv.precision(17);
  csv << "unit,stratum,size\n";
  for (std::size_t i = 0; i < kUnits; ++i) {
    csv << std::get<1>(units.columns[0].values)[i] << ',' << std::get<2>(units.columns[1].values)[i] << ','
        << std::get<0>(units.columns[2].values)[i] << '\n';
  }
  folder.Write("f.csv", csv.str());
  folder.Write("p.xml", kPlan);
  const std::string command = SV_PROGRAM " run --quiet --seed 4711 --data " + folder.Path("f.csv") +
                              " --plan " + folder.Path("p.xml") + " --sample " + folder.Path("s.csv") +
                              " --joint " + folder.Path("j.csv") + " 2>/dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const auto sample = ReadCsv(folder.Text("s.csv"));
  const auto joint = ReadCsv(folder.Text("j.csv"));
  ASSERT_EQ(sample.at("w").size(), 8);

  for (const auto& batches :
       std::vector<std::vector<std::int64_t>>{{1000}, {1, 0, 998, 1}, {333, 333, 334}}) {
    units.batches = batches;
    units.slices = batches.size() == 3;
    Client client(static_cast<int>(batches.size()));
    ASSERT_EQ(client.Take(units), SVS_OK) << client.Said();
    EXPECT_EQ(units.open, 0);
    for (int round = 0; round < 2; ++round) {
      ASSERT_EQ(client.Draw(), SVS_OK) << client.Said();
      EXPECT_EQ(client.Numbers(SVS_SAMPLE), sample);
      EXPECT_EQ(client.Numbers(SVS_JOINT), joint);
      EXPECT_EQ(client.Numbers(SVS_SAMPLE), sample);  // a table can be had again
      EXPECT_EQ(client.Numbers(SVS_STRATA)["requested"], std::vector<double>({4, 4}));
      EXPECT_EQ(client.Numbers(SVS_STRATA)["requested_rate"], std::vector<double>({4.0 / 200, 4.0 / 800}));
      EXPECT_EQ(Json::parse(svs_result_json(client.result))["status"], "ok");
    }
  }
  Client fromFile;
  ASSERT_EQ(svs_frame_file(fromFile.session, folder.Path("f.csv").c_str(), nullptr, &fromFile.frame), SVS_OK);
  ASSERT_EQ(fromFile.Draw(), SVS_OK) << fromFile.Said();
  EXPECT_EQ(fromFile.Numbers(SVS_SAMPLE), sample);
  EXPECT_EQ(folder.Names(), "f.csv j.csv j.schema.json p.xml s.csv s.schema.json");
}

// Each fault has its status and a message that names it, and leaves nothing unreleased.
TEST(Interface, RefusesFramesThatCannotBeDrawnFrom) {
  struct Case {
    const char* aim;
    std::function<void(ArrowFake*)> spoil;
    const char* said;
  };
  const auto retype = [](const char* format) {
    return [format](ArrowFake* fake) { fake->columns[2].format = format; };
  };
  const Case kCases[] = {
      {"nested", retype("+l"), "column 'size' is of a type that can't be a variable: list"},
      {"bytes", retype("Z"), "column 'size' is of a type that can't be a variable: binary"},
      {"zone", retype("tsu:Europe/Berlin"), "timestamp with a time zone"},
      {"large decimal", retype("d:76,2,256"), "decimal of more than 128 bits"},
      {"twice", [](ArrowFake* fake) { fake->columns[2].name = "UNIT"; }, "two columns are named"},
      {"no column", [](ArrowFake* fake) { fake->columns.clear(); }, "it has no column"},
      {"no schema", [](ArrowFake* fake) { fake->failsAtSchema = true; }, "the producer has its reasons"},
      {"middle", [](ArrowFake* fake) { fake->failsAt = 1; }, "the producer has its reasons"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    ArrowFake fake = Units({500, 500});
    c.spoil(&fake);
    Client client;
    EXPECT_EQ(client.Take(fake), SVS_ERROR_FRAME);
    EXPECT_EQ(client.frame, nullptr);
    EXPECT_EQ(fake.open, 0);
    EXPECT_THAT(client.Said(), HasSubstr(c.said));
  }
  ArrowFake none = Units({});
  Client client;
  ASSERT_EQ(client.Take(none), SVS_OK);
  EXPECT_EQ(client.Draw(), SVS_ERROR_FRAME);
  EXPECT_THAT(client.Said(), HasSubstr("no valid cases"));
}

TEST(Interface, SaysWhatIsWrongWithOptionsAndPlans) {
  struct Case {
    const char* plan;
    const char* options;
    int status;
    const char* said;
  };
  const std::string noVariable = Design(Wor(StrataOf(Var("stratus")) + Size("3")) + Out("Weight", "w"));
  const std::string tooMany =
      Design(Stage("pps_sampford",
                   ClustersOf(Var("unit")) + Size("1001") + "<MOS fromData='no'>" + Var("size") + "</MOS>") +
             Out("Weight", "w"));
  const Case kCases[] = {
      {kPlan.c_str(), R"({"sed": 1})", SVS_ERROR_ARGUMENT, "there is no option 'sed'; did you mean seed?"},
      {kPlan.c_str(), R"({"seed": 0})", SVS_ERROR_ARGUMENT, "option seed: '0' isn't a seed"},
      {kPlan.c_str(), R"({"seed": 2147483648})", SVS_ERROR_ARGUMENT, "isn't a seed"},
      {kPlan.c_str(), R"({"seed": 1, "seed": 2})", SVS_ERROR_ARGUMENT, "'seed' is given twice"},
      {kPlan.c_str(), R"({"stages": [4]})", SVS_ERROR_ARGUMENT, "a list of stages"},
      {kPlan.c_str(), R"({"strict": 1})", SVS_ERROR_ARGUMENT, "isn't true or false"},
      {kPlan.c_str(), R"({"keep": ["a) /PRINT"]})", SVS_ERROR_ARGUMENT,
       "isn't a name that a command can have"},
      {kPlan.c_str(), "[]", SVS_ERROR_ARGUMENT, "aren't a JSON object"},
      {kPlan.c_str(), "{", SVS_ERROR_ARGUMENT, "aren't JSON"},
      {kPlan.c_str(), R"({"keep": ["unti"]})", SVS_ERROR_PLAN, "unti"},
      {kPlan.c_str(), R"({"weight": "unti"})", SVS_ERROR_FRAME, "there is no variable"},
      {"no plan", "", SVS_ERROR_PLAN, "plan, line 1"},
      {"", "", SVS_ERROR_PLAN, "plan"},
      {noVariable.c_str(), "", SVS_ERROR_PLAN, "stratus"},
      {tooMany.c_str(), "", SVS_ERROR_DRAW, "Invalid measure of size value"},
  };
  ArrowFake units = Units();
  Client client;
  ASSERT_EQ(client.Take(units), SVS_OK);
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.said);
    EXPECT_EQ(client.Draw(c.plan, c.options), c.status);
    EXPECT_THAT(client.Said(), HasSubstr(c.said));
    EXPECT_THAT(client.Said(), testing::Not(HasSubstr("/tmp")));
  }
  svs_result_close(client.result);  // of the draw that failed
  client.result = nullptr;
  EXPECT_EQ(svs_check(client.session, noVariable.data(), noVariable.size(), client.frame, nullptr, nullptr,
                      nullptr, &client.result),
            SVS_ERROR_PLAN);
  EXPECT_THAT(svs_result_json(client.result), HasSubstr("frame has no variable stratus"));
  EXPECT_EQ(client.Draw(kPlan, R"({"keep": ["unit"]})"), SVS_OK);
  EXPECT_EQ(client.Numbers(SVS_SAMPLE).size(), 3);
  ArrowArrayStream stream{};
  EXPECT_EQ(svs_result_table(client.session, client.result, SVS_JOINT, &stream), SVS_ERROR_ARGUMENT);
}

TEST(Interface, ForeseesWhatADrawDoes) {
  ArrowFake units = Units();
  Client client;
  ASSERT_EQ(client.Take(units), SVS_OK);
  const auto foresee = [&](const std::string& plan, const char* options) {
    svs_result_close(client.result);
    client.result = nullptr;
    return svs_preview(client.session, plan.data(), plan.size(), client.frame, options, nullptr, nullptr,
                       &client.result);
  };
  ASSERT_EQ(foresee(kPlan, R"({"exact_design": true, "cost": [10, 2, 1]})"), SVS_OK);
  const Json preview = Json::parse(svs_result_json(client.result));
  EXPECT_EQ(preview["stages"][0]["strata"].size(), 2);
  EXPECT_NEAR(preview["sample"]["expected_cases"], 8.0, 1e-9);
  EXPECT_NEAR(preview["sample"]["cost"], 10.0 + 8.0 * 3.0, 1e-9);
  EXPECT_EQ(client.Draw(kPlan, R"({"seed": 1, "exact_design": true})"), SVS_OK);  // the frame is as it was
  EXPECT_EQ(foresee(kPlan, R"({"cost": [1, -2, 3]})"), SVS_ERROR_ARGUMENT);
  EXPECT_EQ(foresee("{}", nullptr), SVS_ERROR_PLAN);
  EXPECT_EQ(client.result, nullptr);
  EXPECT_THAT(client.Said(), HasSubstr("svselect_plan"));
}

// Polls come on the caller's thread; one that answers no ends an endless draw, and the session goes on as before.
TEST(Interface, IsPolledAndCancelled) {
  ArrowFake units = Units({500, 500});
  Client client;
  EXPECT_EQ(client.Take(units, [](const svs_progress&) { return 1; }), SVS_CANCELLED);
  EXPECT_EQ(units.open, 0);
  ASSERT_EQ(client.Take(units), SVS_OK);
  int asked = 0;
  int nested = SVS_OK;
  svs_progress last{};
  const std::thread::id own = std::this_thread::get_id();
  EXPECT_EQ(client.Draw(kEndless, nullptr,
                        [&](const svs_progress& progress) {
                          EXPECT_EQ(std::this_thread::get_id(), own);
                          const Client other;
                          svs_result* result = nullptr;
                          nested = svs_describe(other.session, client.frame, nullptr, nullptr, &result);
                          last = progress;
                          return ++asked == 5 ? 1 : 0;
                        }),
            SVS_CANCELLED);
  EXPECT_EQ(asked, 5);
  EXPECT_EQ(nested, SVS_ERROR_ARGUMENT);
  EXPECT_EQ(last.step, 1);
  EXPECT_EQ(last.total, kUnits);
  EXPECT_EQ(client.Draw(), SVS_OK) << client.Said();
}

// Draws of several threads take turns; one that waits for its turn can be cancelled too.
TEST(Interface, TakesTurns) {
  ArrowFake units = Units();
  Client first;
  Client second;
  ASSERT_EQ(first.Take(units), SVS_OK);
  ASSERT_EQ(second.Take(units), SVS_OK);
  std::atomic<bool> hasBegun = false;
  std::atomic<bool> isOver = false;
  std::thread endless([&] {
    first.Draw(kEndless, nullptr, [&](const svs_progress&) {
      hasBegun = true;
      return isOver ? 1 : 0;
    });
  });
  while (!hasBegun) std::this_thread::yield();
  EXPECT_EQ(second.Draw(kPlan, nullptr, [](const svs_progress&) { return 1; }), SVS_CANCELLED);
  // A process that is forked meanwhile can use neither the handles nor a session of its own.
  const pid_t child = fork();
  if (child == 0) {
    svs_session* own = nullptr;
    svs_result* result = nullptr;
    const bool isRefused =
        second.Draw() == SVS_ERROR_ARGUMENT && svs_open(1, &own) == SVS_OK &&
        svs_check(own, "x", 1, nullptr, nullptr, nullptr, nullptr, &result) == SVS_ERROR_ARGUMENT;
    _exit(isRefused ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  isOver = true;
  endless.join();
  EXPECT_EQ(second.Draw(), SVS_OK) << second.Said();
}

TEST(Interface, DescribesAndHasAVersion) {
  EXPECT_STREQ(VersionFromC(), svs_version());
  ArrowFake units = Units();
  Client client;
  ASSERT_EQ(client.Take(units), SVS_OK);
  ASSERT_EQ(svs_describe(client.session, client.frame, nullptr, nullptr, &client.result), SVS_OK);
  const Json described = Json::parse(svs_result_json(client.result));
  EXPECT_EQ(described["cases"], kUnits);
  EXPECT_EQ(described["variables"][0]["name"], "unit");
  EXPECT_EQ(described["variables"][0]["largest"], 1000);
  EXPECT_EQ(described["variables"][1]["type"], "string");
  EXPECT_EQ(described["variables"][1]["frequent"][0]["cases"], 800);
}
