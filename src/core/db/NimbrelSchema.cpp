#include "core/db/NimbrelSchema.h"

#include "mdb/DatabaseCreator.h"

#include <QDir>
#include <QFileInfo>

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
    const QString folder = QFileInfo(QString::fromStdString(path)).absolutePath();
    if (!QDir().mkpath(folder))
        return mdb::ioError("cannot make the folder " + folder.toStdString() + " for " + path);
    return mdb::createDatabase(path, createTables);
}

mdb::Result<SessionTable> table(DatabaseSession& session, const std::string& name)
{
    static const std::map<std::string, QStringList> columnsOf = [] {
        std::map<std::string, QStringList> lists;
        for (const TableSchema& candidate : schema()) {
            for (const ColumnSpec& column : candidate.columns)
                lists[candidate.name] << QString::fromStdString(column.name);
        }
        return lists;
    }();
    const auto columns = columnsOf.find(name);
    return session.table(QString::fromStdString(name), columns == columnsOf.end() ? QStringList() : columns->second);
}

}  // namespace NimbrelSchema
