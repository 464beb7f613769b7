#include "report/FinalWeights.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "host/engine/ActiveFile.h"
#include "host/environment/HostSession.h"
#include "host/files/SessionFiles.h"
#include "host/read/DataFile.h"

namespace {

// Reads the column again at each pass, a block at a time.
WeightPass PassOverColumn(CaseEngine& engine, int column) {
  return [&engine, column](const std::function<void(double)>& take) {
    const std::unique_ptr<CaseCursor> cursor = engine.Open({column}, 0);
    while (const std::size_t rows = cursor->NextBlock()) {
      const double* const numbers = cursor->Numbers(0);
      std::for_each(numbers, numbers + rows, take);
    }
  };
}

bool IsNumber(const Dictionary& dictionary, int column) {
  return column >= 0 && dictionary.variables[static_cast<std::size_t>(column)].GetType() == 0;
}

// Opens the sample as any reader would, but before the commit: what is summed up is what was really written.
std::optional<FinalWeights> OfTemporaryFile(HostSession& session, const OutputFile& file,
                                            const std::string& variable) {
  const std::string& data = file.parts.back()->TemporaryPath();
  const bool hasSchema = file.parts.size() > 1;
  const DataFrame frame =
      OpenDataFile(session, data, {.schema = hasSchema ? file.parts.front()->TemporaryPath() : ""});
  const int column = frame.dictionary.Find(variable);
  if (!IsNumber(frame.dictionary, column)) return std::nullopt;
  return FinalWeights{variable, file.path, SummarizeWeights(PassOverColumn(*frame.engine, column))};
}

// Messages about the sample name it as the user did.
std::optional<FinalWeights> OfSampleFile(HostSession& session, const OutputFile& file,
                                         const std::string& variable) {
  try {
    return OfTemporaryFile(session, file, variable);
  } catch (const DataError& error) {
    throw DataError(fmt::format("{} can't be read back: {}", file.path, error.what()));
  }
}

// Without a sample file the weights are only in memory, in a variable behind those that the frame has itself.
std::optional<FinalWeights> OfActiveFile(ActiveFile& file, const std::string& variable) {
  if (!file.IsOpen() || !file.IsLastPass()) return std::nullopt;
  const int column = file.SharedDictionary()->Find(variable);
  if (column < file.ServedColumns()) return std::nullopt;
  const AddedValues& values = file.Added(column);
  const std::int64_t cases = file.Engine().CountCases();
  const WeightPass pass = [&](const std::function<void(double)>& take) {
    for (std::int64_t row = 0; row < cases; ++row) take(values.Get(row));
  };
  return FinalWeights{variable, "", SummarizeWeights(pass)};
}

}  // namespace

std::optional<FinalWeights> ReadFinalWeights(HostSession& session, const std::string& variable) {
  const std::vector<const OutputFile*> files = session.Layer<SessionFiles>().FinishedFiles();
  const auto sample = std::find_if(files.begin(), files.end(),
                                   [](const OutputFile* file) { return file->role == FileRole::kSample; });
  return sample == files.end() ? OfActiveFile(session.Layer<ActiveFile>(), variable)
                               : OfSampleFile(session, **sample, variable);
}
