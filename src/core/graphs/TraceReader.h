#pragma once

#include "core/errors/Environment.h"
#include "core/graphs/GraphData.h"
#include "mdb/Result.h"

#include <map>
#include <tuple>

// Reads the history graph's traces from their databases and plots them.
//
// Traces that read the same rows (same database, source and day offset) are
// read in one pass through the History (SourceID, DateRead) index; each
// later asks for its series from what that pass kept. A failure comes back
// as the Error of the trace that met it; nothing is reported here.
class TraceReader {
public:
    // With `withStability`, the series carry their stability marks.
    TraceReader(GraphRange range, bool singleDay, bool withStability, const Environment& environment);

    // The series of traces[index]: its readings from 00:00 of the first day
    // to 23:59 of the last, both moved by the trace's offset, in time order.
    // A trace without a database is skipped (an empty series so marked).
    mdb::Result<TraceSeries> series(const std::vector<TraceEntry>& traces, std::size_t index);

private:
    using QueryKey = std::tuple<QString, qint32, int>;  // database, data id, offset
    mdb::Status readGroup(const std::vector<TraceEntry>& traces, const QueryKey& key);

    GraphRange range_;
    bool singleDay_;
    bool withStability_;
    const Environment& environment_;
    std::map<std::size_t, TraceSeries> done_;  // by trace index
};
