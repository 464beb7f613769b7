#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/engine/CaseEngine.h"
#include "host/model/ArrowInterface.h"
#include "host/read/DataFile.h"
#include "host/read/TypedColumns.h"

class HostSession;
class WorkDatabase;

// ArrowFrame is a frame that a caller has handed over as a stream of Arrow arrays. The stream is read once, to
// its end, into a table of a work database. That database belongs to the frame and outlives the sessions that
// draw from it, one after the other; to draw twice reads no stream twice.
//
// Its cases are those of a Parquet file with the same columns: the same variables, and the same samples.
//
// Types:      truth values, integers, floating point numbers of 32 and 64 bits, decimals of up to 128 bits,
//             texts, dates, times and timestamps without a time zone, columns of nothing but nulls, and
//             dictionaries of any of these.
// Threads:    one at a time.
class ArrowFrame {
public:
  // Opens the database, with as many threads as the session has.
  // Errors: DataError.
  explicit ArrowFrame(const HostSession& session);
  ~ArrowFrame();

  // Reads the stream to its end; the caller releases it. `poll` is called between blocks of rows, on this
  // thread, with the number of cases so far; true stops the reading.
  // REQUIRES: the first call.
  // Errors: DataError, without a name, about a column of another type, two columns of one name, a stream that
  //         fails, a frame without a column, or a stop. The frame can't be used then.
  using Poll = std::function<bool(std::int64_t cases)>;
  void Load(ArrowArrayStream* stream, const Poll& poll);

  // Makes the frame's database that of a session, which must end before the frame.
  // REQUIRES: the session has no work database yet.
  void Lend(HostSession& session) const;

  // The frame for such a session, named "frame" in messages.
  // Errors: DataError that names the frame.
  DataFrame Open(const FrameRules& rules) const;

private:
  std::string ReadColumns(const ArrowSchema& schema);  // and gives them as in a CREATE TABLE

  std::shared_ptr<WorkDatabase> fpWork;
  std::string fTable;  // empty while there is none
  std::vector<TypedColumn> fvColumns;
};
