#include "core/db/NimbrelSchema.h"

#include "mdb/DatabaseCreator.h"

#include <map>

namespace NimbrelSchema {

namespace {

using mdb::ColumnSpec;
using mdb::IndexSpec;
using T = mdb::ColumnType;

struct TableSchema {
    std::string name;
    std::vector<ColumnSpec> columns;
    std::vector<IndexSpec> indexes;
};

// History's columns are in the order the graphs read them by position.
const std::vector<TableSchema>& schema()
{
    static const std::vector<TableSchema> tables = {
        {"History",
         {{"Pressure", T::Double}, {"InTemperature", T::Double}, {"InHumidity", T::Double},
          {"OutTemperature", T::Double}, {"OutHumidity", T::Double}, {"Dewpoint", T::Double},
          {"Windchill", T::Double}, {"WindSpeed", T::Double}, {"WindDir", T::Text}, {"RainTotal", T::Double},
          {"TimeText", T::Text}, {"DateText", T::Text}, {"DateRead", T::DateTime}, {"Rain1Hr", T::Double},
          {"Rain24Hr", T::Double}, {"BarTrend", T::Integer}, {"Stability", T::Integer}, {"Storm", T::Integer},
          {"SourceID", T::Long}},
         {{"SourceDate", {"SourceID", "DateRead"}}}},
        {"Sources",
         {{"SourceID", T::Long}, {"SourceName", T::Text}, {"SourceType", T::Integer}, {"SourceFileName", T::Text},
          {"SourceDatabase", T::Text}, {"DataID", T::Long}, {"ImportFilename", T::Text},
          {"ExportFilename", T::Text}, {"LogMultiple", T::Long}, {"Enabled", T::Boolean}},
         {{"SourceID", {"SourceID"}}}},
        {"Favorites",
         {{"FavID", T::Long, 0, true}, {"FavName", T::Text}, {"DayOnly", T::Boolean}, {"DateRange", T::Long},
          {"Export", T::Boolean}},
         {{"FavName", {"FavName"}}, {"FavID", {"FavID"}}}},
        {"Traces",
         {{"TraceID", T::Long}, {"FavID", T::Long}, {"SourceID", T::Long}, {"TraceColor", T::Long},
          {"DataType", T::Integer}, {"Offset", T::Integer}, {"ShowNotes", T::Boolean}},
         {{"FavID", {"FavID"}}}},
        {"DayDiary",
         {{"DiaryDate", T::DateTime}, {"Details", T::Memo}, {"Rain", T::Boolean}, {"Storm", T::Boolean},
          {"Hail", T::Boolean}, {"Frost", T::Boolean}},
         {{"DiaryDate", {"DiaryDate"}}}},
    };
    return tables;
}

// Whether some index of the table starts with exactly these columns.
bool hasIndexOver(const mdb::TableDefinition& table, const std::vector<std::string>& columns)
{
    for (const mdb::RealIndex& real : table.realIndexes) {
        if (real.columns.size() != columns.size())
            continue;
        bool same = true;
        for (std::size_t i = 0; i < columns.size() && same; ++i) {
            const mdb::Column* column = table.columnByNumber(real.columns[i].columnNumber);
            same = column && column->name == columns[i];
        }
        if (same)
            return true;
    }
    return false;
}

}  // namespace

const std::vector<std::string>& tableNames()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> list;
        for (const TableSchema& table : schema())
            list.push_back(table.name);
        return list;
    }();
    return names;
}

mdb::Status createTables(mdb::DatabaseWriter& writer)
{
    for (const TableSchema& table : schema()) {
        if (mdb::Status made = writer.createTable(table.name, table.columns, table.indexes); !made)
            return made;
    }
    return mdb::Status::success();
}

mdb::Status createDatabase(const std::string& path)
{
    return mdb::createDatabase(path, createTables);
}

mdb::Status completeDatabase(mdb::DatabaseWriter& writer, mdb::Database& database)
{
    for (const TableSchema& table : schema()) {
        if (!database.findTable(table.name)) {
            if (mdb::Status made = writer.createTable(table.name, table.columns, table.indexes); !made)
                return made;
            continue;
        }
        auto definition = writer.definition(table.name);
        if (!definition)
            return definition.error();
        for (const IndexSpec& index : table.indexes) {
            if (hasIndexOver(**definition, index.columns))
                continue;
            IndexSpec named = index;
            if ((*definition)->index(named.name))
                named.name = "Nimbrel" + named.name;
            if (mdb::Status added = writer.createIndex(table.name, named); !added)
                return added;
            auto refreshed = writer.definition(table.name);
            if (!refreshed)
                return refreshed.error();
            definition = refreshed;
        }
    }
    return mdb::Status::success();
}

}  // namespace NimbrelSchema
