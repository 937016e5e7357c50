// Random appends, changes and deletes, compared after every step with a
// plain in-memory model of the table: the rows a scan finds, the rows each
// index lookup finds, and the file's consistency after every commit.
#include "mdb/DatabaseCreator.h"
#include "mdb/GeneralSortOrder.h"
#include "mdb/Text.h"
#include "mdb/Verifier.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

namespace {

using namespace mdb;

const std::string kModelPath = "/db/model.mdb";

std::vector<ColumnSpec> columns()
{
    using T = ColumnType;
    return {{"Id", T::Long, 0, true}, {"Station", T::Long}, {"Name", T::Text, 40}, {"Reading", T::Double},
            {"Taken", T::DateTime}, {"Code", T::Integer}, {"Note", T::Memo}, {"Flag", T::Boolean}};
}

std::vector<IndexSpec> indexes()
{
    return {{"ById", {"Id"}, true, true},
            {"ByStationTaken", {"Station", "Taken"}},
            {"ByName", {"Name"}},
            {"ByReading", {"Reading"}}};
}

// Names from every character a text key can hold: Windows-1252's printable
// characters that Unicode shares with ISO 8859-1, controls and the
// characters the sort order passes by.
std::string randomName(std::mt19937& random)
{
    std::u16string name;
    const int length = 1 + int(random() % 12);
    for (int i = 0; i < length; ++i) {
        const unsigned pick = random() % 100;
        name += pick < 3 ? char16_t(1 + random() % 0x1F) : pick < 70 ? char16_t(0x20 + random() % 0x5F)
                                                                      : char16_t(0xA0 + random() % 0x60);
    }
    return utf16ToUtf8(name);
}

std::vector<Value> randomRow(std::mt19937& random)
{
    std::vector<Value> row;
    row.emplace_back(Null{});  // autonumber
    row.emplace_back(int32_t(random() % 4));
    row.emplace_back(random() % 10 == 0 ? Value(Null{}) : Value(randomName(random)));
    row.emplace_back(double(int(random() % 2000) - 1000) / 8.0);
    row.emplace_back(DateTime{45000.0 + double(random() % 5000) / 144.0});
    row.emplace_back(int16_t(int(random() % 200) - 100));
    const int noteKind = int(random() % 10);
    row.emplace_back(noteKind < 6 ? Value(Null{}) : noteKind < 9 ? Value(randomName(random))
                                                                : Value(std::string(300 + random() % 9000, 'n')));
    row.emplace_back(bool(random() % 2));
    return row;
}

class Model {
public:
    std::map<RowPointer, std::vector<Value>> rows;
};

void expectSameRows(Database& database, const Model& model)
{
    auto table = database.definition("Readings");
    ASSERT_TRUE(table) << table.error().message;
    auto rows = database.readAll(*table);
    ASSERT_TRUE(rows) << rows.error().message;
    std::map<RowPointer, std::vector<Value>> found;
    for (const Row& row : *rows)
        found[row.location] = row.values;
    ASSERT_EQ(found.size(), model.rows.size());
    EXPECT_TRUE(found == model.rows);
    EXPECT_EQ(table->rowCount, model.rows.size());
}

void expectLookups(DatabaseWriter& writer, const Model& model, std::mt19937& random)
{
    for (int probe = 0; probe < 5 && !model.rows.empty(); ++probe) {
        auto pick = model.rows.begin();
        std::advance(pick, random() % model.rows.size());
        const std::vector<Value>& values = pick->second;
        const struct {
            const char* index;
            std::vector<std::size_t> columns;
        } lookups[] = {{"ById", {0}}, {"ByStationTaken", {1, 4}}, {"ByStationTaken", {1}}, {"ByName", {2}}, {"ByReading", {3}}};
        for (const auto& lookup : lookups) {
            std::vector<Value> key;
            for (std::size_t c : lookup.columns)
                key.push_back(values[c]);
            auto found = writer.find("Readings", lookup.index, key);
            ASSERT_TRUE(found) << found.error().message;
            std::size_t expected = 0;
            for (const auto& [location, row] : model.rows) {
                bool match = true;
                for (std::size_t c : lookup.columns) {
                    const auto* a = std::get_if<std::string>(&row[c]);
                    const auto* b = std::get_if<std::string>(&values[c]);
                    if (a && b)  // texts match as the General sort order compares them
                        match = match && *generalTextKey(utf8ToUtf16(*a)) == *generalTextKey(utf8ToUtf16(*b));
                    else
                        match = match && row[c] == values[c];
                }
                expected += match;
            }
            EXPECT_EQ(found->size(), expected) << lookup.index;
        }
    }
}

}  // namespace

TEST(WriterModel, RandomChangesMatchAPlainModel)
{
    MemoryFileSystem files;
    ASSERT_TRUE(createDatabase(files, kModelPath, [](DatabaseWriter& writer) {
        return writer.createTable("Readings", columns(), indexes());
    }));
    std::mt19937 random(20261121);
    Model model;
    Model committed;
    int32_t nextId = 0;

    for (int round = 0; round < 12; ++round) {
        auto database = Database::open(files, kModelPath, OpenMode::ReadWrite);
        ASSERT_TRUE(database) << database.error().message;
        DatabaseWriter writer(**database);
        const int steps = 40 + int(random() % 400);
        for (int step = 0; step < steps; ++step) {
            const int action = int(random() % 10);
            if (action < 6 || model.rows.empty()) {
                std::vector<Value> row = randomRow(random);
                auto location = writer.append("Readings", row);
                ASSERT_TRUE(location) << location.error().message;
                row[0] = int32_t(++nextId);
                model.rows[*location] = row;
            } else {
                auto pick = model.rows.begin();
                std::advance(pick, random() % model.rows.size());
                if (action < 8) {
                    std::vector<Value> row = randomRow(random);
                    row[0] = pick->second[0];
                    ASSERT_TRUE(writer.update("Readings", pick->first, row)) << "update";
                    pick->second = row;
                } else {
                    ASSERT_TRUE(writer.remove("Readings", pick->first)) << "remove";
                    model.rows.erase(pick);
                }
            }
            if (step % 25 == 0) {
                expectSameRows(**database, model);
                expectLookups(writer, model, random);
            }
        }
        if (random() % 4 == 0) {
            writer.rollback();
            model = committed;
            nextId = int32_t(model.rows.empty() ? nextId : nextId);
        } else {
            ASSERT_TRUE(writer.commit());
            committed = model;
        }
        auto reopened = Database::open(files, kModelPath, OpenMode::ReadOnly);
        ASSERT_TRUE(reopened);
        expectSameRows(**reopened, committed);
        const auto problems = verifyDatabase(**reopened).problems;
        EXPECT_TRUE(problems.empty()) << problems.front();
        model = committed;
        // Autonumbers continue from the definition's count after a rollback.
        auto table = (*reopened)->definition("Readings");
        nextId = int32_t(table->nextAutonumber);
        if (HasFailure())
            return;
    }
}
