#include "host/engine/DuckCaseCursor.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>

#include "host/engine/DuckCaseEngine.h"
#include "host/model/Values.h"
#include "host/numeric/Obs.h"

namespace {

// Whether a whole number comes back from its double.
template <class T>
bool IsExact(T value) {
  const auto number = static_cast<double>(value);
  if (std::fabs(number) < kExactIntegers) return true;  // 2^53 may be what 2^53 + 1 was rounded to
  // The largest values of a type round up to a power of two that the type doesn't hold, and converting that
  // back would be undefined.
  constexpr double kBound = static_cast<double>(std::numeric_limits<T>::max());
  return number < kBound && static_cast<T>(number) == value;
}

// Whether all numbers are finite. 0 x is 0 for a finite x and NaN for any other, so a sum of such products is
// 0 only if all are finite. Eight independent sums let the compiler use vector instructions; Nearly every
// pass goes through here.
template <class T>
bool AreFinite(const T* values, std::size_t count) {
  constexpr std::size_t kLanes = 8;
  T traces[kLanes] = {};
  const std::size_t whole = count / kLanes * kLanes;
  for (std::size_t i = 0; i < whole; i += kLanes) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) traces[lane] += values[i + lane] * T{0};
  }
  for (std::size_t i = whole; i < count; ++i) traces[0] += values[i] * T{0};
  return std::accumulate(std::begin(traces), std::end(traces), T{0}) == T{0};
}

// Copies numbers; what isn't finite becomes system-missing.
template <class T>
void CopyFloating(const T* values, std::size_t count, double* out) {
  for (std::size_t i = 0; i < count; ++i) {
    out[i] = std::isfinite(values[i]) ? static_cast<double>(values[i]) : MCMV::gMissingValue;
  }
}

}  // namespace

DuckCaseCursor::DuckCaseCursor(const DuckCaseEngine& engine, DuckConnection connection,
                               const std::string& sql, std::vector<Column> columns, std::int64_t skipped)
    : fEngine(engine),
      fConnection(std::move(connection)),
      fResult(fConnection.Stream(sql)),
      fvColumns(std::move(columns)),
      fvConverted(fvColumns.size()),
      fSkip(skipped) {
  const std::size_t rows = duckdb_vector_size();
  for (std::size_t i = 0; i < fvColumns.size(); ++i) {
    if (fvColumns[i].width == 0) {
      fvConverted[i].numbers.resize(rows);
    } else {
      fvConverted[i].texts.resize(rows);
    }
  }
}

std::size_t DuckCaseCursor::NextBlock() {
  fFirstRow += static_cast<std::int64_t>(fRows);
  fRows = 0;
  for (Converted& column : fvConverted) column.isCurrent = false;
  fEngine.Guard([&] {
    while (fRows == 0) {
      fChunk = fResult.Fetch();
      if (!fChunk || fChunk.Rows() == 0) break;
      const std::size_t rows = fChunk.Rows();
      fSkipped = static_cast<std::size_t>(std::min<std::int64_t>(fSkip, static_cast<std::int64_t>(rows)));
      fSkip -= static_cast<std::int64_t>(fSkipped);
      fFirstRow += static_cast<std::int64_t>(fSkipped);
      fRows = rows - fSkipped;
    }
    if (fRows == 0) fEngine.CheckUnchanged();  // a file that became shorter ends early without an error
  });
  return fRows;
}

void DuckCaseCursor::Refuse(std::size_t place, std::size_t row, const std::string& what) const {
  // First, whether the file has changed; otherwise a value of its new contents would be blamed.
  fEngine.Guard([&] { fEngine.CheckUnchanged(); });
  throw DataError(fmt::format("{}, case {}: {} \"{}\"", fEngine.Name(),
                              fFirstRow + static_cast<std::int64_t>(row) + 1, what, fvColumns[place].name));
}

template <class T>
void DuckCaseCursor::ConvertNumbers(std::size_t place, double* out) const {
  const T* const values = fChunk.Values<T>(place) + fSkipped;
  if constexpr (std::is_floating_point_v<T>) {
    CopyFloating(values, fRows, out);
  } else {
    std::copy(values, values + fRows, out);
  }
  // Null rows hold undefined values, which were copied with the others and are now overwritten.
  if (fChunk.Validity(place) != nullptr) {
    for (std::size_t i = 0; i < fRows; ++i) {
      if (fChunk.IsNull(place, i + fSkipped)) out[i] = MCMV::gMissingValue;
    }
  }
  // Smaller types always fit. A dictionary that is believed without a scan can be wrong about a large number.
  if constexpr (std::is_integral_v<T> && sizeof(T) == 8) {
    for (std::size_t i = 0; i < fRows; ++i) {
      if (std::fabs(out[i]) >= kExactIntegers && out[i] != MCMV::gMissingValue && !IsExact(values[i])) {
        Refuse(place, i, fmt::format("{} has more digits than a number keeps, in column", values[i]));
      }
    }
  }
}

// DuckDB's own array, without a copy, where it holds exactly what Numbers() promises; else null.
const double* DuckCaseCursor::PlainNumbers(std::size_t place) {
  if (fResult.Type(place) != DUCKDB_TYPE_DOUBLE || fChunk.Validity(place) != nullptr) return nullptr;
  const double* const values = fChunk.Values<double>(place) + fSkipped;
  return AreFinite(values, fRows) ? values : nullptr;
}

// By the type of the column; IsConvertedHere() in DuckCaseEngine.cpp has the same list.
const double* DuckCaseCursor::Numbers(std::size_t place) {
  Converted& column = fvConverted[place];
  double* const out = column.numbers.data();
  if (column.isCurrent) return out;
  if (const double* const values = PlainNumbers(place); values != nullptr) return values;
  switch (fResult.Type(place)) {
    case DUCKDB_TYPE_DOUBLE:
      ConvertNumbers<double>(place, out);
      break;
    case DUCKDB_TYPE_FLOAT:
      ConvertNumbers<float>(place, out);
      break;
    case DUCKDB_TYPE_BOOLEAN:
      ConvertNumbers<std::uint8_t>(place, out);
      break;
    case DUCKDB_TYPE_TINYINT:
      ConvertNumbers<std::int8_t>(place, out);
      break;
    case DUCKDB_TYPE_SMALLINT:
      ConvertNumbers<std::int16_t>(place, out);
      break;
    case DUCKDB_TYPE_INTEGER:
      ConvertNumbers<std::int32_t>(place, out);
      break;
    case DUCKDB_TYPE_BIGINT:
      ConvertNumbers<std::int64_t>(place, out);
      break;
    case DUCKDB_TYPE_UTINYINT:
      ConvertNumbers<std::uint8_t>(place, out);
      break;
    case DUCKDB_TYPE_USMALLINT:
      ConvertNumbers<std::uint16_t>(place, out);
      break;
    case DUCKDB_TYPE_UINTEGER:
      ConvertNumbers<std::uint32_t>(place, out);
      break;
    case DUCKDB_TYPE_UBIGINT:
      ConvertNumbers<std::uint64_t>(place, out);
      break;
    default:
      Refuse(place, 0, "no number in column");
  }
  column.isCurrent = true;
  return out;
}

// Views into the chunk: nothing is copied.
const std::string_view* DuckCaseCursor::Texts(std::size_t place) {
  Converted& column = fvConverted[place];
  if (column.isCurrent) return column.texts.data();
  if (fResult.Type(place) != DUCKDB_TYPE_VARCHAR) Refuse(place, 0, "no text in column");
  const auto width = static_cast<std::size_t>(fvColumns[place].width);
  const auto* const cells = fChunk.Values<duckdb_string_t>(place);
  const bool hasNulls = fChunk.Validity(place) != nullptr;
  for (std::size_t i = 0; i < fRows; ++i) {
    std::string_view text;
    if (!hasNulls || !fChunk.IsNull(place, i + fSkipped)) text = TrimRight(TextOf(cells[i + fSkipped]));
    if (text.size() > width) {
      Refuse(place, i,
             fmt::format("a text of {} bytes where the dictionary has {}, in column", text.size(), width));
    }
    column.texts[i] = text;
  }
  column.isCurrent = true;
  return column.texts.data();
}
