// Any design, on a small frame with every kind of odd value, drawn to the end: the run ends, and either says
// why there is no sample or leaves one whose probabilities and weights are such.

#include <fuzzer/FuzzedDataProvider.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "DrawSession.h"
#include "Require.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/environment/HostErrors.h"
#include "host/environment/MCStopProcessor.h"

namespace {

// Ends a draw that goes on for long: a rejective one may never end.
void StartPatience() {
  static std::atomic<int> seconds;  // that the draw has taken
  static const std::jthread kWatch([](const std::stop_token& end) {
    for (; !end.stop_requested(); std::this_thread::sleep_for(std::chrono::seconds(1))) {
      if (++seconds == 20) RequestStop();
    }
  });
  seconds = 0;
  ClearStopRequest();
}

using Words = std::vector<const char*>;

// What stands first is what makes a good design.
const Words kVariables = {"s", "t", "g", "c", "d", "e", "m", "n", "r", "w", "no", "Weight1", "2bad"};
const Words kStrata = {"s", "t", "g"};
const Words kClusters = {"c", "d", "e"};
const Words kAnyStage = {"simple_wor", "simple_systematic", "simple_chromy"};
const Words kFirstStage = [] {
  Words words;
  for (const SVMethod& method : kMethods) words.push_back(method.word.data());  // ends in a zero
  words.push_back("other");
  return words;
}();
const Words kSizes = {"1", "2", "3", "4", "2147483647"};
const Words kRates = {"0.5", "0.1", "0.9", "1", "1e-300"};
const Words kNumbers = {"1",      "0.5",        "1.5", "0", "-1",    "2.5",
                        "1e-300", "2147483648", "nan", "",  "1e300", "40"};
const Words kTexts = {"a", "b", "", "\xC3\xA9t\xC3\xA9", "a b"};
const Words kKeys = {"1", "2", "3", "4", "5", "", "-0", "0.5", "1e17"};
const Words kMeasures = {"1", "2", "7", "7.5", "100", "99", "12.25", "1e6", "", "0", "-3", "1e300", "1e-300"};
const Words kOutputs = {"Index",  "IncProb",         "PopulationSize", "OutputSampleSize", "OutputSampleRate",
                        "Weight", "CumulativeWeight"};
// At most one of each row.
const std::vector<Words> kParts = {
    {" /SAMPLEFILE OUTFILE='@/s.csv'", " /SAMPLEFILE OUTFILE='@/s.csv' KEEP=s n",
     " /SAMPLEFILE OUTFILE='@/s.csv' DROP=ALL"},
    {" /JOINTPROB OUTFILE='@/j.csv'"},
    {" /SELECTRULE OUTFILE='@/r.txt'"},
    {" /PRINT SELECTION CPS"},
    {" /CLASSMISSING INCLUDE"},
    {" /DATA RENAMEVARS", " /DATA PRESORTED", " /DATA RENAMEVARS PRESORTED"},
    {" /CRITERIA SEED=7", " /CRITERIA SEED=RANDOM", " /CRITERIA STAGES=1"}};

// A design and its frame, each choice a byte of the input.
class Chooser {
public:
  Chooser(const std::uint8_t* data, std::size_t size) : fBytes(data, size) {}

  std::string Frame() {
    std::string csv = "s,t,g,c,d,e,m,n,r,w\n";
    for (int rows = UpTo(40); rows > 0; --rows) {
      for (const Words* words :
           {&kTexts, &kKeys, &kKeys, &kKeys, &kTexts, &kKeys, &kMeasures, &kSizes, &kRates, &kMeasures}) {
        csv += std::string(Pick(*words)) + ',';
      }
      csv.back() = '\n';
    }
    return csv;
  }

  std::string Design() {
    std::string stages;
    const int count = UpTo(2) + 1;
    for (int number = 1; number <= count; ++number) stages += OneStage(number, number == count);
    if (UpTo(3) == 3) stages += Out("PreviousWeight", "w");
    return UpTo(60) == 7 ? stages : stages + Out("Weight", "final");
  }

  std::string Command() {
    std::string command;
    for (const Words& parts : kParts) {
      if (UpTo(2) != 2) command += Pick(parts);
    }
    return UpTo(60) == 7 ? command + fBytes.ConsumeRandomLengthString(40) : command;
  }

private:
  int UpTo(int most) { return fBytes.ConsumeIntegralInRange(0, most); }
  const char* Pick(const Words& words) {
    return words[fBytes.ConsumeIntegralInRange<std::size_t>(0, words.size() - 1)];
  }
  // Now and then anything, else what makes sense.
  const char* PickOrAny(const Words& good, const Words& any) { return Pick(UpTo(60) == 7 ? any : good); }

  std::string Value(const Words& good) {
    return std::string("<SingleValue value='") + PickOrAny(good, kNumbers) + "'/>";
  }
  std::string Extremes() {
    return (UpTo(3) == 3 ? In("MinSize", Value({"1", "2"})) : "") +
           (UpTo(3) == 3 ? In("MaxSize", Value({"3", "1000"})) : "");
  }
  std::string Holder(const Words& good, const char* variable, const std::string& stratum) {
    const int kind = UpTo(stratum == "s" ? 1 : 2);
    if (kind == 0) return Value(good);
    if (kind == 1) return Var(PickOrAny({variable}, kVariables));
    const std::size_t rows = UpTo(60) == 7 ? 2 : kKeys.size();
    std::string table = In("MatrixVarList", Var(stratum));  // of numbers: a text may be too long
    for (std::size_t row = 0; row < rows; ++row) table += Row(PickOrAny(good, kNumbers), {kKeys[row]});
    return "<Matrix numberOfValues='" + std::to_string(rows) + "'>" + table + "</Matrix>";
  }
  std::string OneStage(int number, bool isLast) {
    const auto place = static_cast<std::size_t>(number - 1);
    const std::string stratum = PickOrAny({kStrata[place]}, kVariables);
    std::string inner;
    if (UpTo(3) != 3) inner += StrataOf(Var(stratum));
    if (!isLast || UpTo(1) == 1) inner += ClustersOf(Var(PickOrAny({kClusters[place]}, kVariables)));
    inner += UpTo(1) == 1 ? In("InputSampleSize", Holder(kSizes, "n", stratum))
                          : In("InputSampleRate", Holder(kRates, "r", stratum) + Extremes());
    const std::string measure = UpTo(1) == 1 ? "'yes'>" : "'no'>" + Var(PickOrAny({"m"}, kVariables));
    inner += "<MOS fromData=" + measure + Extremes() + "</MOS>";
    for (const char* output : kOutputs) {
      if (UpTo(1) == 1) inner += Out(output, output + std::to_string(number));
    }
    return Stage(PickOrAny(number == 1 ? kFirstStage : kAnyStage, kFirstStage), inner);
  }

  FuzzedDataProvider fBytes;
};

constexpr double kRounding = 1e-12;

Texts Fields(const std::string& line) {
  Texts fields;
  std::istringstream rest(line + ',');
  for (std::string field; std::getline(rest, field, ',');) fields.push_back(field);
  return fields;
}

// Numbers are numbers, probabilities lie in (0, 1] but for rounding.
void CheckSample(const Texts& lines) {
  const Texts names = Fields(lines.front());
  for (std::size_t row = 1; row < lines.size(); ++row) {
    const Texts cells = Fields(lines[row]);
    Require(cells.size() == names.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (!names[i].starts_with("IncProb") || cells[i] == ".") continue;
      const double probability = std::stod(cells[i]);
      Require(0.0 < probability && probability <= 1.0 + kRounding);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Chooser choose(data, size);
  const std::string design = choose.Design();
  const std::string command = choose.Command();
  const std::string frame = choose.Frame();
  StartPatience();
  try {
    const DrawSession draw(frame, design, command);
    if (StopRequested()) return 0;
    if (draw.isCommitted && draw.Exists("s.csv")) CheckSample(draw.Cases("s.csv"));
    if (!draw.isCommitted) Require(!draw.Exists("s.csv") && !draw.Exists("j.csv") && !draw.Exists("r.txt"));
  } catch (const DataError&) {
    Require(StopRequested());  // while the frame was opened
  }
  return 0;
}
