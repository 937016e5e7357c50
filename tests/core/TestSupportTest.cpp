#include "support/TestSupport.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

// The recorders' own promise: an error nobody looked at fails the test.
TEST(RecordingErrorsTest, AReportTheTestNeverLooksAtFailsIt)
{
    EXPECT_NONFATAL_FAILURE(
        {
            RecordingErrors errors;
            errors.report("Database Write Error: disk full");
        },
        "did not look for: Database Write Error: disk full");

    RecordingErrors looked;
    looked.report("Graph Error: no room");
    EXPECT_EQ(looked.messages(), QStringList{"Graph Error: no room"});
}
