#include "MdbTestSupport.h"

#include "mdb/ByteWriter.h"
#include "mdb/DatabaseCreator.h"
#include "mdb/Header.h"
#include "mdb/Text.h"

#include <filesystem>
#include <fstream>
#include <iterator>

std::vector<std::string> mdbFixtureNames()
{
    return {"compIndexTestV2000.mdb", "empty.mdb",     "fixedNumericTestV2000.mdb", "fixedTextTestV2000.mdb",
            "indexTestV2000.mdb",     "test2V2000.mdb", "testIndexPropertiesV2000.mdb", "testUnicodeCompV2003.mdb",
            "testV2000.mdb",          "testV2003.mdb"};
}

std::string mdbFixture(const std::string& name)
{
    return std::string(NIMBREL_FIXTURES_DIR) + "/mdb/" + name;
}

bool haveFixtures()
{
    return std::filesystem::is_directory(std::string(NIMBREL_FIXTURES_DIR) + "/mdb");
}

std::vector<uint8_t> fileBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

std::vector<uint8_t> mdbFixtureBytes(const std::string& name)
{
    return fileBytes(mdbFixture(name));
}

void toEarlierEngineForm(std::vector<uint8_t>& bytes)
{
    const mdb::Layout& layout = mdb::jet4Layout();
    for (std::size_t at = 0; at + layout.pageSize <= bytes.size(); at += layout.pageSize) {
        if (bytes[at] != mdb::kIndexNodePage && bytes[at] != mdb::kIndexLeafPage)
            continue;
        const mdb::ByteView page(bytes.data() + at, layout.pageSize);
        const uint32_t previous = page.u32(layout.indexPrevPageOffset);
        const uint32_t next = page.u32(layout.indexNextPageOffset);
        const uint32_t tail = page.u32(layout.indexTailPageOffset);
        const uint16_t prefix = page.u16(layout.indexPrefixLengthOffset);
        mdb::ByteWriter writer(std::span<uint8_t>(bytes).subspan(at, layout.pageSize));
        writer.fill(0x08, 0x1B - 0x08, 0);
        writer.u32(0x08, previous);
        writer.u32(0x0C, next);
        writer.u32(0x10, tail);
        writer.u16(0x14, prefix);
    }
    // The earlier mask started at the byte of the page offset (0x42 % 4 = 2).
    std::vector<uint8_t> header = mdb::unmaskHeader(std::span(bytes).first(layout.pageSize), layout);
    const mdb::ByteView view(header);
    const auto days = uint32_t(int32_t(view.f64(0x72)));
    for (std::size_t i = 0; i < 40; ++i)
        header[0x42 + i] = uint8_t(days >> (8 * ((0x42 + i) % 4)));
    header = mdb::unmaskHeader(header, layout);
    std::copy(header.begin(), header.end(), bytes.begin());
}

namespace {

using namespace mdb;

// A value of the column's type, different for each `n`.
Value sampleValue(const Column& column, int n)
{
    switch (column.type) {
    case ColumnType::Boolean: return bool(n % 2);
    case ColumnType::Byte: return uint8_t(n % 250);
    case ColumnType::Integer: return int16_t(n % 30000);
    case ColumnType::Long: return int32_t(1000000 + n);
    case ColumnType::Currency: return Currency{int64_t(n) * 10000 + 25};
    case ColumnType::Single: return float(n) + 0.5f;
    case ColumnType::Double: return double(n) / 8 + 0.125;
    case ColumnType::DateTime: return DateTime{45000.0 + n / 7.0};
    case ColumnType::Text: {
        // Blanks, digits, punctuation and accents, within the column's length.
        std::string text = "Nimbrel r\xC3\xA9glage-" + std::to_string(n) + " (\xC3\xBC)";
        const std::size_t characters = column.length / 2u;
        if (utf8ToUtf16(text).size() > characters)
            text = std::to_string(n).substr(0, characters);
        return text;
    }
    case ColumnType::Memo: return std::string(std::size_t(n % 3 == 0 ? 5000 : 40), char('a' + n % 26));
    case ColumnType::Binary: return Bytes(std::min<std::size_t>(column.length, 4), uint8_t(n));
    case ColumnType::Ole: return Bytes(std::size_t(n % 4 == 0 ? 3000 : 20), uint8_t(n));
    default: return Null{};
    }
}

std::vector<Value> sampleRow(const TableDefinition& table, int n)
{
    std::vector<Value> values;
    for (const Column& column : table.columns)
        values.push_back(column.isAutonumber() ? Value(Null{}) : sampleValue(column, n));
    return values;
}

}  // namespace

Status exerciseTable(DatabaseWriter& writer, const std::string& table, int rows)
{
    auto definition = writer.definition(table);
    if (!definition)
        return definition.error();
    const TableDefinition copy = **definition;
    std::vector<RowPointer> added;
    for (int i = 0; i < rows; ++i) {
        auto row = writer.append(table, sampleRow(copy, 7000 + i));
        if (!row)
            return row.error();
        added.push_back(*row);
    }
    for (std::size_t i = 0; i < added.size(); i += 3) {
        if (Status changed = writer.update(table, added[i], sampleRow(copy, 20000 + int(i))); !changed)
            return changed;
    }
    for (std::size_t i = 0; i < added.size(); i += 5) {
        if (Status removed = writer.remove(table, added[i]); !removed)
            return removed;
    }
    return Status::success();
}

std::vector<uint8_t> madeDatabaseBytes(int rows)
{
    using namespace mdb;
    const std::string path = "/made/weather.mdb";
    MemoryFileSystem files;
    const Status created = createDatabase(files, path, [rows](DatabaseWriter& writer) {
        using T = ColumnType;
        const Status made = writer.createTable(
            "Log",
            {{"Id", T::Long, 0, true}, {"Station", T::Long}, {"Name", T::Text, 60}, {"Reading", T::Double},
             {"Taken", T::DateTime}, {"Note", T::Memo}, {"Flag", T::Boolean}},
            {{"Id", {"Id"}, true, true}, {"StationTaken", {"Station", "Taken"}}, {"Name", {"Name"}}});
        return made ? exerciseTable(writer, "Log", rows) : made;
    });
    if (!created)
        throw std::runtime_error("cannot make the test database: " + created.error().message);
    return files.content(path);
}
