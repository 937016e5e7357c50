#pragma once

#include "../mdb/MdbToolsOracle.h"
#include "core/db/NimbrelSchema.h"
#include "core/text/Clock.h"
#include "core/errors/Environment.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

// A new Nimbrel database on disk (its path holds blanks, as users' paths
// do), with recorders for errors and message boxes.
class DatabaseFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        mdb::Status created = NimbrelSchema::createDatabase(path.toStdString());
        ASSERT_TRUE(created) << created.error().message;
    }

    // A table as the independent reader (mdbtools) sees it.
    MdbTools::Export exported(const std::string& table) const
    {
        return MdbTools::exportTable(path.toStdString(), table);
    }
    // One cell of an exported table, by column name; "<null>" for null.
    static std::string cell(const MdbTools::Export& table, std::size_t row, const std::string& column)
    {
        for (std::size_t i = 0; i < table.header.size(); ++i) {
            if (table.header[i] == column)
                return table.rows.at(row).at(i).value_or("<null>");
        }
        ADD_FAILURE() << "no column " << column;
        return {};
    }

    TempFolder folder;
    QString path = folder.file("Weather Data 2026.mdb");
    RecordingErrors errors;
    RecordingMessageBoxes boxes;
    FixedClock clock{QDateTime(QDate(2026, 1, 15), QTime(10, 5, 10))};
    Environment environment{errors, boxes, clock};
};
