#include "report/FinalWeights.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

#include "host/engine/ActiveFile.h"
#include "host/environment/HostSession.h"
#include "host/files/SessionFiles.h"
#include "host/read/DataFile.h"

namespace {

using OpenCursor = std::function<std::unique_ptr<CaseCursor>(const std::vector<int>& columns)>;

// Cases of the active file with the variables that the run added, which are only in memory.
class ActiveCursor : public CaseCursor {
public:
  ActiveCursor(ActiveFile& file, const std::vector<int>& columns) {
    std::vector<int> served;
    for (const int column : columns) {
      const bool isServed = column < file.ServedColumns();
      fvColumns.push_back(
          {.served = served.size(), .added = isServed ? nullptr : &file.Added(column), .numbers = {}});
      if (isServed) served.push_back(column);
    }
    fpServed = file.Engine().Open(served, 0);
  }

  std::size_t NextBlock() override {
    fFirst += static_cast<std::int64_t>(fRows);
    return fRows = fpServed->NextBlock();
  }

  const double* Numbers(std::size_t place) override {
    Column& column = fvColumns[place];
    if (column.added == nullptr) return fpServed->Numbers(column.served);
    column.numbers.resize(fRows);
    for (std::size_t i = 0; i < fRows; ++i)
      column.numbers[i] = column.added->Get(fFirst + static_cast<std::int64_t>(i));
    return column.numbers.data();
  }

  const std::string_view* Texts(std::size_t place) override {
    return fpServed->Texts(fvColumns[place].served);
  }

private:
  struct Column {
    std::size_t served;           // its place in the engine's cursor
    const AddedValues* added;     // borrowed; null if the engine serves it
    std::vector<double> numbers;  // of the block, if it was added
  };
  std::vector<Column> fvColumns;
  std::unique_ptr<CaseCursor> fpServed;
  std::int64_t fFirst = 0;  // row of the file that the block begins with
  std::size_t fRows = 0;    // of the block
};

// The first pass reads what the stages need as well; the second, for the weights alone, doesn't.
FinalWeights Review(const OpenCursor& open, SampleReviewer reviewer) {
  bool isFirst = true;
  const WeightPass pass = [&](const std::function<void(double)>& take) {
    std::vector<int> columns = reviewer.Columns();
    if (!isFirst) columns.resize(1);
    const std::unique_ptr<CaseCursor> cursor = open(columns);
    while (const std::size_t rows = cursor->NextBlock()) {
      const double* const weights = cursor->Numbers(0);
      std::for_each(weights, weights + rows, take);
      if (isFirst) reviewer.Take(*cursor, rows);
    }
    isFirst = false;
  };
  FinalWeights weights;
  weights.summary = SummarizeWeights(pass);
  weights.stages = reviewer.Reviews();
  return weights;
}

bool IsNumber(const Dictionary& dictionary, int column) {
  return column >= 0 && dictionary.variables[static_cast<std::size_t>(column)].GetType() == 0;
}

// Opens the sample as any reader would, but before the commit: what is summed up is what was really written.
DataFrame OpenFinished(HostSession& session, const OutputFile& file) {
  const bool hasSchema = file.parts.size() > 1;
  return OpenDataFile(session, file.parts.back()->TemporaryPath(),
                      {.schema = hasSchema ? file.parts.front()->TemporaryPath() : ""});
}

// Messages about the sample name it as the user did.
std::optional<FinalWeights> OfSampleFile(HostSession& session, const OutputFile& file,
                                         const Dictionary& ofFrame, const std::string& variable,
                                         const std::vector<StageVariables>& stages) {
  try {
    const DataFrame frame = OpenFinished(session, file);
    if (!IsNumber(frame.dictionary, frame.dictionary.Find(variable))) return std::nullopt;
    FinalWeights weights =
        Review([&](const std::vector<int>& columns) { return frame.engine->Open(columns, 0); },
               SampleReviewer(frame.dictionary, ofFrame, variable, stages));
    weights.file = file.path;
    for (const KORV_Variable& column : frame.dictionary.variables)
      weights.columns.push_back({column.GetName(), column.GetType() > 0});
    return weights;
  } catch (const DataError& error) {
    throw DataError(fmt::format("{} can't be read back: {}", file.path, error.what()));
  }
}

}  // namespace

// Without a sample file the weights are in a variable behind those that the frame has itself.
std::optional<FinalWeights> ReadFinalWeights(HostSession& session, const std::string& variable,
                                             const std::vector<StageVariables>& stages) {
  ActiveFile& active = session.Layer<ActiveFile>();
  if (!active.IsOpen() || !active.IsLastPass()) return std::nullopt;
  const Dictionary& ofFrame = *active.SharedDictionary();
  const std::vector<const OutputFile*> files = session.Layer<SessionFiles>().FinishedFiles();
  const auto sample = std::find_if(files.begin(), files.end(),
                                   [](const OutputFile* file) { return file->role == FileRole::kSample; });
  std::optional<FinalWeights> weights;
  if (sample != files.end()) {
    weights = OfSampleFile(session, **sample, ofFrame, variable, stages);
  } else if (ofFrame.Find(variable) >= active.ServedColumns()) {
    weights = Review(
        [&](const std::vector<int>& columns) { return std::make_unique<ActiveCursor>(active, columns); },
        SampleReviewer(ofFrame, ofFrame, variable, stages));
  }
  if (weights) weights->variable = variable;
  return weights;
}
