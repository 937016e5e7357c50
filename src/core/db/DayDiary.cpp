#include "core/db/DayDiary.h"

#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/errors/ErrorReporter.h"

namespace DayDiary {

namespace {

QDateTime midnight(const QDate& day)
{
    return QDateTime(day, QTime(0, 0));
}

}  // namespace

mdb::Result<DiaryEntry> load(const QString& databasePath, const QDate& day, const Environment& environment)
{
    if (databasePath.isEmpty())
        return DiaryEntry{};
    BusyScope busy(environment.busy);
    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Read, environment);
    if (!session)
        return session.error();
    auto table = NimbrelSchema::table(**session, "DayDiary");
    if (!table)
        return table.error();
    auto rows = (*session)->rowsWhere(*table, {{"DiaryDate", midnight(day)}});
    if (!rows)
        return rows.error();
    DiaryEntry entry;
    for (const mdb::Row& row : *rows) {
        entry.details = table->value(row, "Details").toString();
        entry.rain = table->value(row, "Rain").toBool();
        entry.storm = table->value(row, "Storm").toBool();
        entry.hail = table->value(row, "Hail").toBool();
        entry.frost = table->value(row, "Frost").toBool();
    }
    return entry;
}

bool save(const QString& databasePath, const QDate& day, const DiaryEntry& entry, const Environment& environment)
{
    if (databasePath.isEmpty())
        return false;
    BusyScope busy(environment.busy);
    auto fail = [&environment](const mdb::Error& error) {
        environment.errors.report(QStringLiteral("Database Error: \r\n") + QString::fromStdString(error.message));
        return false;
    };
    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Write, environment);
    if (!session)
        return fail(session.error());
    auto table = NimbrelSchema::table(**session, "DayDiary");
    if (!table)
        return fail(table.error());
    auto rows = (*session)->rowsWhere(*table, {{"DiaryDate", midnight(day)}});
    if (!rows)
        return fail(rows.error());
    for (const mdb::Row& row : *rows) {
        if (mdb::Status removed = (*session)->remove(*table, row.location); !removed)
            return fail(removed.error());
    }
    if (!entry.isEmpty()) {
        const QVariant details = entry.details.isEmpty() ? QVariant() : QVariant(entry.details);
        auto inserted = (*session)->insert(*table, {{"DiaryDate", midnight(day)}, {"Details", details},
                                                    {"Rain", entry.rain}, {"Storm", entry.storm},
                                                    {"Hail", entry.hail}, {"Frost", entry.frost}});
        if (!inserted)
            return fail(inserted.error());
    }
    if (mdb::Status committed = (*session)->commit(); !committed)
        return fail(committed.error());
    return true;
}

}  // namespace DayDiary
