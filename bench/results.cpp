// Writing: the last pass of a draw of 1 % from a frame with 10 columns, Parquet to Parquet, beside the time
// in which the same columns are drained through DuckDB's C API on one thread; and a joint file of one
// stratum.
//
//   bench_results [cases [units]]

#include <duckdb.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backend/svselect/command/SVSParser.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/results/SVSJointProbOutFile.h"
#include "backend/svselect/results/SVSSampleFile.h"
#include "backend/svselect/run/SVSProcedure.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/engine/ActiveFile.h"
#include "host/engine/DuckDb.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostSession.h"
#include "host/files/SessionFiles.h"
#include "host/output/OutputDocument.h"
#include "host/read/OpenFrame.h"

namespace {

double Seconds(const std::function<void()>& step) {
  const auto start = std::chrono::steady_clock::now();
  step();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// One percent of the cases of each region, as towns or as cases.
std::string Plan(bool ofTowns) {
  const std::string units = ofTowns ? "<ClusterVarList><Variable name='town'/></ClusterVarList>" : "";
  return "<KORVSurveyPlans><SampleDesign><SampleStage selectionMethod='simple_wor'>"
         "<StrataVarList><Variable name='region'/></StrataVarList>" +
         units +
         "<InputSampleRate><SingleValue value='0.01'/></InputSampleRate>"
         "<IncProb><Variable name='p'/></IncProb></SampleStage>"
         "<Weight><Variable name='w'/></Weight></SampleDesign></KORVSurveyPlans>";
}

void Generate(const std::string& path, const std::string& cases) {
  HostSession::Current().Layer<WorkDatabase>().Connect().Run(
      "COPY (SELECT i % 100 AS region, i AS id, lpad(i::VARCHAR, 12, '0') AS name, random() * 100 AS a, "
      "random() AS "
      "b, random() AS c, (random() * 100)::INTEGER AS d, (random() * 9)::INTEGER AS e, 'town ' || (i % "
      "10000) "
      "AS town, "
      "random() AS g FROM range(" +
      cases + ") t(i)) TO " + QuoteLiteral(path));
}

void Drain(const std::string& path) {
  DuckConnection connection = HostSession::Current().Layer<WorkDatabase>().Connect();
  DuckResult result = connection.Stream("SELECT * FROM read_parquet(" + QuoteLiteral(path) + ")");
  while (const DuckChunk chunk = result.Fetch()) {
    if (chunk.Rows() == 0) break;
  }
}

// A draw as far as its specifications, and the procedure over them.
struct Draw {
  Draw(const std::string& folder, const std::string& plan, const std::string& command) {
    std::ofstream(folder + "/plan.xml") << plan;
    HostSession::Current().Layer<SessionCommand>().SetCommand("SVSELECT /PLAN FILE='" + folder +
                                                              "/plan.xml' " + command);
    tokens = std::make_unique<KORV_TokenSequence>(true);
    parser = std::make_unique<SVSParser>(*tokens, &specs, &source);
    if (!parser->Parse()) {
      std::fprintf(stderr, "bench_results: %s\n", OutputDocument::Current().Messages().back().text.c_str());
      std::exit(1);
    }
    specs.Validate();
    procedure = std::make_unique<SVSProcedure>(&specs, &source);
  }

  ProcedureDataSource source;
  SVSValidSpecs specs;
  std::unique_ptr<KORV_TokenSequence> tokens;
  std::unique_ptr<SVSParser> parser;
  std::unique_ptr<SVSProcedure> procedure;
};

void TimeSample(const std::string& folder, bool ofTowns) {
  const std::string path = folder + "/frame.parquet";
  OpenFrame(HostSession::Current(), {.path = path});
  Draw draw(
      folder, Plan(ofTowns),
      "/CRITERIA SEED=1 /SAMPLEFILE OUTFILE='" + folder + (ofTowns ? "/towns.parquet'" : "/cases.parquet'"));
  const double stage = Seconds([&] { draw.procedure->Run(); });
  const double last = Seconds([&] {
    SVSSampleFile file(&draw.specs, &draw.source, draw.procedure->GetInputAdapter());
    file.Write(*draw.procedure->GetComponent(), *draw.procedure->GetMultiPassIter());
  });
  Drain(path);
  const double drained = Seconds([&] { Drain(path); });
  std::printf("units are %s\n", ofTowns ? "towns" : "cases");
  std::printf("pass of the stage        %.3f s\n", stage);
  std::printf("last pass, with its file %.3f s\n", last);
  std::printf("query drained            %.3f s\n", drained);
  std::printf("ratio                    %.2f (at most 4)\n", last / drained);
}

void TimeJoint(const std::string& folder, int units) {
  for (const char* name : {"joint.parquet", "joint.csv", "joint.sav"}) {
    Draw draw(folder, Plan(true), "/CRITERIA SEED=1");
    draw.specs.SetJointProbFile(folder + "/" + name, true);  // the command refuses it for the method
    const std::vector<double> row(static_cast<std::size_t>(units), 0.123456789);
    const double seconds = Seconds([&] {
      SVSJointProbOutFile file(&draw.specs, draw.procedure->GetInputAdapter(), &draw.source);
      file.Open(units);
      file.StartStratum(units, {1});
      for (int i = 0; i < units; ++i) file.WriteRow({1}, row);
      if (file.Close() != MCSV::kJointClosed) std::exit(1);
    });
    std::printf("%d by %d to %-13s %.3f s (under 2)\n", units, units, name, seconds);
  }
}

}  // namespace

int main(int count, char** arguments) {
  HostSettings settings;
  settings.threads = 1;
  const HostSession session(settings);
  const TemporaryFolder folder;
  OutputDocument::Current();
  Generate(folder.Path() + "/frame.parquet", count > 1 ? arguments[1] : "10000000");
  TimeSample(folder.Path(), true);
  TimeSample(folder.Path(), false);
  TimeJoint(folder.Path(), count > 2 ? std::atoi(arguments[2]) : 1000);
  return 0;
}
