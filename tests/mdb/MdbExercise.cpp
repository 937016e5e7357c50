#include "MdbExercise.h"

#include "mdb/Database.h"
#include "mdb/DatabaseWriter.h"
#include "mdb/IndexTree.h"

namespace {

// Adds a row of nulls to every table, changes and deletes each table's first row.
int writeEverywhere(std::vector<uint8_t> bytes)
{
    mdb::MemoryFileSystem files;
    files.setContent("fuzzed.mdb", std::move(bytes));
    auto database = mdb::Database::open(files, "fuzzed.mdb", mdb::OpenMode::ReadWrite);
    if (!database)
        return 1;
    int errors = 0;
    mdb::DatabaseWriter writer(**database);
    const std::vector<mdb::TableEntry> tables = (*database)->tables();
    for (const mdb::TableEntry& entry : tables) {
        auto table = writer.definition(entry.name);
        if (!table) {
            ++errors;
            continue;
        }
        const std::size_t columns = (*table)->columns.size();
        auto added = writer.append(entry.name, std::vector<mdb::Value>(columns, mdb::Null{}));
        errors += !added;
        if (added) {
            errors += !writer.update(entry.name, *added, std::vector<mdb::Value>(columns, mdb::Null{}));
            errors += !writer.remove(entry.name, *added);
        }
    }
    errors += !writer.commit();
    return errors;
}

}  // namespace

int exerciseDatabase(std::vector<uint8_t> bytes)
{
    const int writeErrors = writeEverywhere(bytes);
    auto database = mdb::Database::open(std::make_unique<mdb::MemoryFile>(std::move(bytes)));
    if (!database)
        return 1 + writeErrors;
    int errors = writeErrors;
    for (const auto& entry : (*database)->tables()) {
        auto table = (*database)->definition(entry.name);
        if (!table) {
            ++errors;
            continue;
        }
        std::vector<mdb::Row> rows;
        mdb::Status scanned = (*database)->scan(*table, [&rows](const mdb::Row& row) {
            if (rows.size() < 64)
                rows.push_back(row);
            return true;
        });
        errors += !scanned;
        // The same rows once more as views, every column read as a number
        // and as text.
        std::vector<mdb::RowPointer> locations;
        for (const mdb::Row& row : rows)
            locations.push_back(row.location);
        std::string text;
        errors += !(*database)->visitRows(*table, locations, [&](const mdb::RowView& view) {
            for (std::size_t column = 0; column < table->columns.size(); ++column) {
                if (mdb::isNumberType(table->columns[column].type))
                    errors += !view.number(column);
                errors += !view.text(column, text);
            }
            return true;
        });
        for (const mdb::Index& index : table->indexes) {
            const mdb::RealIndex& real = table->realIndexes[index.realIndex];
            int entries = 0;
            errors += !mdb::IndexTree((*database)->pager(), real).forEachEntry([&entries](const mdb::IndexEntry&) {
                return ++entries < 10000;
            });
            if (rows.empty() || real.columns.empty())
                continue;
            const mdb::Column* column = table->columnByNumber(real.columns.front().columnNumber);
            const std::size_t position = std::size_t(column - table->columns.data());
            errors += !(*database)->find(*table, index.name, {rows.front().values[position]});
        }
    }
    return errors;
}
