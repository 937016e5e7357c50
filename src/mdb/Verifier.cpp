#include "mdb/Verifier.h"

#include "mdb/DataPage.h"
#include "mdb/IndexKey.h"
#include "mdb/IndexTree.h"
#include "mdb/UsageMap.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace mdb {

namespace {

// A 64-bit fingerprint of an index entry (key and row), so that the entries
// a table's rows call for can be kept as numbers rather than as keys.
uint64_t fingerprint(const std::vector<uint8_t>& key, RowPointer row)
{
    uint64_t hash = 0xCBF29CE484222325ull;
    const auto mix = [&hash](uint8_t byte) {
        hash ^= byte;
        hash *= 0x100000001B3ull;
    };
    for (uint8_t byte : key)
        mix(byte);
    const uint32_t packed = row.pack();
    for (int i = 0; i < 4; ++i)
        mix(uint8_t(packed >> (8 * i)));
    mix(uint8_t(key.size()));
    return hash;
}

bool contains(const std::vector<uint32_t>& sorted, uint32_t value)
{
    return std::binary_search(sorted.begin(), sorted.end(), value);
}

// What a table's rows say each of its indexes must hold.
struct ExpectedEntries {
    std::vector<uint64_t> fingerprints;  // sorted
    std::vector<uint32_t> unkeyable;     // rows whose key the engine cannot form, sorted
    std::size_t count = 0;
};

class Verification {
public:
    explicit Verification(Database& database) : database_(database), pager_(database.pager()) {}

    VerifyReport run()
    {
        classifyPages();
        for (const TableEntry& entry : database_.tables())
            checkTable(entry);
        checkGlobalMap();
        return std::move(report_);
    }

private:
    void problem(const std::string& text) { report_.problems.push_back(text); }
    void note(const std::string& text) { report_.notes.push_back(text); }

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

    bool holdsLiveRows(uint32_t pageNumber)
    {
        auto bytes = pager_.read(pageNumber);
        if (!bytes)
            return true;
        auto slots = readRowSlots(Page{pageNumber, *bytes}, pager_.layout());
        return !slots || std::any_of(slots->begin(), slots->end(), [](const RowSlot& slot) { return !slot.deleted; });
    }

    void checkPageMaps(const TableDefinition& table, const std::string& where)
    {
        const std::set<uint32_t> owned = mapPages(table.ownedPagesPointer, where + ", owned-page map");
        for (uint32_t page : dataPagesByOwner_[table.firstPage]) {
            if (owned.count(page)) {
                used_.insert(page);
            } else if (holdsLiveRows(page)) {
                used_.insert(page);
                problem(where + ": data page " + std::to_string(page) +
                        " holds rows of the table but its owned-page map does not list it");
            } else {
                note(where + ": data page " + std::to_string(page) + " was freed and holds only deleted rows");
            }
        }
        for (uint32_t page : owned) {
            if (!dataPagesByOwner_[table.firstPage].count(page))
                note(where + ": its owned-page map lists page " + std::to_string(page) + ", which holds none of its rows");
        }
        for (uint32_t page : mapPages(table.freePagesPointer, where + ", free-space map")) {
            if (!owned.count(page))
                problem(where + ": its free-space map lists page " + std::to_string(page) + ", which it does not own");
        }
        for (const LongValueMaps& maps : table.longValueMaps) {
            mapPages(maps.ownedPagesPointer, where + ", long-value map");
            mapPages(maps.freePagesPointer, where + ", long-value free map");
        }
    }

    // The keys `index` may give a row: Access's, and the one earlier
    // versions of this engine wrote when it differs (a text ending in
    // blanks); none for a row an ignore-nulls index leaves out.
    static Result<std::vector<std::vector<uint8_t>>> keysOf(const TableDefinition& table, const RealIndex& index,
                                                           const Row& row)
    {
        std::vector<Value> values;
        bool allNull = true;
        for (const IndexColumn& indexed : index.columns) {
            const Column* column = table.columnByNumber(indexed.columnNumber);
            values.push_back(row.values[std::size_t(column - table.columns.data())]);
            allNull = allNull && isNull(values.back());
        }
        if (allNull && (index.flags & RealIndex::kIgnoreNullsFlag))
            return std::vector<std::vector<uint8_t>>();
        auto key = encodeKey(table, index, values);
        if (!key)
            return key.error();
        std::vector<std::vector<uint8_t>> keys{*key};
        if (auto earlier = earlierFormKey(table, index, values, *key))
            keys.push_back(std::move(*earlier));
        return keys;
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

        std::vector<uint32_t> rows;
        std::vector<ExpectedEntries> expected(table->realIndexes.size());
        Status scanned = database_.scan(*table, [&](const Row& row) {
            rows.push_back(row.location.pack());
            for (std::size_t i = 0; i < table->realIndexes.size(); ++i) {
                auto keys = keysOf(*table, table->realIndexes[i], row);
                if (!keys) {
                    expected[i].unkeyable.push_back(row.location.pack());
                    ++expected[i].count;
                } else if (!keys->empty()) {
                    for (const std::vector<uint8_t>& key : *keys)
                        expected[i].fingerprints.push_back(fingerprint(key, row.location));
                    ++expected[i].count;
                }
            }
            return true;
        });
        if (!scanned) {
            problem(scanned.error().message);
            return;
        }
        std::sort(rows.begin(), rows.end());
        if (rows.size() != table->rowCount) {
            const std::string text = where + ": " + std::to_string(rows.size()) + " rows, but its definition counts " +
                                     std::to_string(table->rowCount);
            entry.isSystem() ? note(text) : problem(text);
        }
        checkPageMaps(*table, where);
        for (std::size_t i = 0; i < table->realIndexes.size(); ++i) {
            std::sort(expected[i].fingerprints.begin(), expected[i].fingerprints.end());
            std::sort(expected[i].unkeyable.begin(), expected[i].unkeyable.end());
            checkIndex(*table, i, rows, expected[i]);
        }
    }

    void checkIndex(const TableDefinition& table, std::size_t number, const std::vector<uint32_t>& rows,
                    const ExpectedEntries& expected)
    {
        const RealIndex& index = table.realIndexes[number];
        const std::string where = "table " + table.name + ", index " + indexName(table, number);
        auto form = indexTreeForm(pager_, index.rootPage);
        if (!form) {
            problem(where + ": " + form.error().message);
            return;
        }
        if (*form != IndexPageForm::Access)
            problem(where + ": its pages have the header layout of earlier versions of this program, which other "
                            "programs cannot read; the next change to the file, or verify-db --repair, rewrites them");
        std::set<uint32_t> treePages;
        collectTree(index.rootPage, *form, treePages, where);
        used_.insert(treePages.begin(), treePages.end());
        if (mapPages(index.ownedPagesPointer, where + ", page map") != treePages)
            problem(where + ": its page map does not list exactly the pages of its tree");

        std::size_t entries = 0;
        std::size_t distinct = 0;
        IndexEntry previous;
        Status walked = IndexTree(pager_, index).forEachEntry([&](const IndexEntry& entry) {
            ++entries;
            if (entries > 1 && !entryLess(previous, entry))
                problem(where + ": entries out of order at entry " + std::to_string(entries));
            if (entries == 1 || previous.key != entry.key)
                ++distinct;
            previous = entry;
            const uint32_t row = entry.row.pack();
            const std::string place = "page " + std::to_string(entry.row.page) + ", row " + std::to_string(entry.row.row);
            if (!contains(rows, row))
                problem(where + ": an entry points at " + place + ", which holds no row of the table");
            else if (!std::binary_search(expected.fingerprints.begin(), expected.fingerprints.end(),
                                         fingerprint(entry.key, entry.row)) &&
                     !contains(expected.unkeyable, row))
                problem(where + ": the entry for " + place + " carries another key than the row gives");
            return true;
        });
        if (!walked)
            problem(where + ": " + walked.error().message);
        if (entries != expected.count)
            problem(where + ": " + std::to_string(entries) + " entries for " + std::to_string(expected.count) +
                    " rows it must list");
        if (distinct != index.distinctKeys)
            note(where + ": " + std::to_string(distinct) + " different keys, but the definition counts " +
                 std::to_string(index.distinctKeys));
    }

    static std::string indexName(const TableDefinition& table, std::size_t realIndex)
    {
        for (const Index& index : table.indexes) {
            if (index.realIndex == realIndex)
                return index.name;
        }
        return std::to_string(realIndex);
    }

    void collectTree(uint32_t root, IndexPageForm form, std::set<uint32_t>& pages, const std::string& where)
    {
        std::vector<uint32_t> pending{root};
        while (!pending.empty()) {
            const uint32_t page = pending.back();
            pending.pop_back();
            if (!pages.insert(page).second || pages.size() > pager_.pageCount()) {
                problem(where + ": its tree reaches page " + std::to_string(page) + " twice");
                return;
            }
            auto node = readIndexPage(pager_, page, form);
            if (!node) {
                problem(where + ": " + node.error().message);
                continue;
            }
            if (node->leaf)
                continue;
            for (const IndexEntry& entry : node->entries)
                pending.push_back(entry.child);
            if (node->tail != 0)
                pending.push_back(node->tail);
        }
    }

    void checkGlobalMap()
    {
        auto map = readUsageMap(pager_, RowPointer{kGlobalMapPage, kGlobalMapRow}.pack(), "the global usage map");
        if (!map) {
            problem(map.error().message);
            return;
        }
        if (map->unusedSlots)
            note("the global usage map has slots marked unused");
        for (uint32_t page : map->mapPages) {
            if (page != 0)
                used_.insert(page);
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
    VerifyReport report_;
};

}  // namespace

VerifyReport verifyDatabase(Database& database)
{
    return Verification(database).run();
}

}  // namespace mdb
