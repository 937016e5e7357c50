#include "db/mdb/Verifier.h"

#include "db/mdb/DataPage.h"
#include "db/mdb/IndexKey.h"
#include "db/mdb/IndexTree.h"
#include "db/mdb/UsageMap.h"

#include <map>
#include <set>

namespace mdb {

namespace {

class Verification {
public:
    explicit Verification(Database& database) : database_(database), pager_(database.pager()) {}

    std::vector<std::string> run()
    {
        classifyPages();
        for (const TableEntry& entry : database_.tables())
            checkTable(entry);
        checkGlobalMap();
        return problems_;
    }

private:
    void problem(const std::string& text) { problems_.push_back(text); }

    // Which pages are data pages of which owner.
    void classifyPages()
    {
        for (uint32_t page = 0; page < pager_.pageCount(); ++page) {
            auto bytes = pager_.read(page);
            if (!bytes) {
                problem(bytes.error().message);
                continue;
            }
            const Page view{page, *bytes};
            if (view.type() == kDataPage)
                dataPagesByOwner_[dataPageOwner(view)].insert(page);
        }
        used_ = {0, 1, 2};
    }

    std::set<uint32_t> mapPages(uint32_t pointer, const std::string& what)
    {
        if (pointer == 0)
            return {};  // no map
        used_.insert(RowPointer::unpack(pointer).page);
        auto map = readUsageMap(pager_, pointer, what);
        if (!map) {
            problem(map.error().message);
            return {};
        }
        for (uint32_t page : map->mapPages) {
            if (page != 0)
                used_.insert(page);
        }
        return std::set<uint32_t>(map->pages.begin(), map->pages.end());
    }

    void checkTable(const TableEntry& entry)
    {
        const std::string where = "table " + entry.name;
        auto table = database_.definition(entry.name);
        if (!table) {
            problem(table.error().message);
            return;
        }
        used_.insert(table->pages.begin(), table->pages.end());
        auto rows = database_.readAll(*table);
        if (!rows) {
            problem(rows.error().message);
            return;
        }
        if (rows->size() != table->rowCount)
            problem(where + ": " + std::to_string(rows->size()) + " rows, but its definition counts " +
                    std::to_string(table->rowCount));

        const std::set<uint32_t> owned = mapPages(table->ownedPagesPointer, where + ", owned-page map");
        const std::set<uint32_t>& actual = dataPagesByOwner_[table->firstPage];
        used_.insert(actual.begin(), actual.end());
        if (owned != actual)
            problem(where + ": its owned-page map lists " + std::to_string(owned.size()) + " pages, it owns " +
                    std::to_string(actual.size()) + " data pages");
        for (uint32_t page : mapPages(table->freePagesPointer, where + ", free-space map")) {
            if (!owned.count(page))
                problem(where + ": its free-space map lists page " + std::to_string(page) + ", which it does not own");
        }
        for (const LongValueMaps& maps : table->longValueMaps) {
            mapPages(maps.ownedPagesPointer, where + ", long-value map");
            mapPages(maps.freePagesPointer, where + ", long-value free map");
        }
        std::map<RowPointer, const Row*> byLocation;
        for (const Row& row : *rows)
            byLocation[row.location] = &row;
        for (std::size_t i = 0; i < table->realIndexes.size(); ++i)
            checkIndex(*table, table->realIndexes[i], i, byLocation);
    }

    void checkIndex(const TableDefinition& table, const RealIndex& index, std::size_t number,
                    const std::map<RowPointer, const Row*>& rows)
    {
        const std::string where = "table " + table.name + ", index " + std::to_string(number);
        std::set<uint32_t> treePages;
        collectTree(index.rootPage, treePages, where);
        used_.insert(treePages.begin(), treePages.end());
        if (mapPages(index.ownedPagesPointer, where + ", page map") != treePages)
            problem(where + ": its page map does not list exactly the pages of its tree");

        std::size_t entries = 0;
        std::size_t distinct = 0;
        IndexEntry previous;
        bool first = true;
        Status walked = IndexTree(pager_, index).forEachEntry([&](const IndexEntry& entry) {
            ++entries;
            if (!first && !entryLess(previous, entry))
                problem(where + ": entries out of order at entry " + std::to_string(entries));
            if (first || previous.key != entry.key)
                ++distinct;
            first = false;
            previous = entry;
            auto row = rows.find(entry.row);
            if (row == rows.end()) {
                problem(where + ": an entry points at page " + std::to_string(entry.row.page) + ", row " +
                        std::to_string(entry.row.row) + ", which holds no row of the table");
                return true;
            }
            checkKey(table, index, entry, *row->second, where);
            return true;
        });
        if (!walked)
            problem(where + ": " + walked.error().message);
        if (!(index.flags & RealIndex::kIgnoreNullsFlag) && entries != rows.size())
            problem(where + ": " + std::to_string(entries) + " entries for " + std::to_string(rows.size()) + " rows");
        if (distinct != index.distinctKeys)
            problem(where + ": " + std::to_string(distinct) + " different keys, but the definition counts " +
                    std::to_string(index.distinctKeys));
    }

    void checkKey(const TableDefinition& table, const RealIndex& index, const IndexEntry& entry, const Row& row,
                  const std::string& where)
    {
        std::vector<Value> values;
        for (const IndexColumn& indexed : index.columns) {
            const Column* column = table.columnByNumber(indexed.columnNumber);
            values.push_back(row.values[std::size_t(column - table.columns.data())]);
        }
        auto key = encodeKey(table, index, values);
        if (key && *key != entry.key)
            problem(where + ": the entry for page " + std::to_string(entry.row.page) + ", row " +
                    std::to_string(entry.row.row) + " carries another key than the row gives");
    }

    void collectTree(uint32_t page, std::set<uint32_t>& pages, const std::string& where)
    {
        if (!pages.insert(page).second || pages.size() > pager_.pageCount()) {
            problem(where + ": its tree reaches page " + std::to_string(page) + " twice");
            return;
        }
        auto node = readIndexPage(pager_, page);
        if (!node) {
            problem(where + ": " + node.error().message);
            return;
        }
        if (node->leaf)
            return;
        for (const IndexEntry& entry : node->entries)
            collectTree(entry.child, pages, where);
        if (node->tail != 0)
            collectTree(node->tail, pages, where);
    }

    void checkGlobalMap()
    {
        auto map = readUsageMap(pager_, RowPointer{1, 0}.pack(), "the global usage map");
        if (!map) {
            problem(map.error().message);
            return;
        }
        for (uint32_t page : map->pages) {
            if (used_.count(page))
                problem("page " + std::to_string(page) + " is in use but the global usage map marks it free");
        }
    }

    Database& database_;
    Pager& pager_;
    std::map<uint32_t, std::set<uint32_t>> dataPagesByOwner_;
    std::set<uint32_t> used_;
    std::vector<std::string> problems_;
};

}  // namespace

std::vector<std::string> verifyDatabase(Database& database)
{
    return Verification(database).run();
}

}  // namespace mdb
