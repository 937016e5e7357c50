// Bad input of every kind: the read returns false, reports exactly one
// "Current Data Read Error: " message, and nothing escapes.
#include "core/readings/LineReader.h"
#include "core/readings/WeatherReading.h"
#include "support/TestSupport.h"

#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

const QDateTime kNow(QDate(2026, 11, 21), QTime(12, 0));

struct BadInput {
    bool read(const QString& path, SourceKind kind = SourceKind::StationFile)
    {
        return reading.readSourceFile(path, kind, errors, kNow);
    }
    void expectOneReadError(const char* mentioning)
    {
        const QStringList messages = errors.messages();
        ASSERT_EQ(messages.size(), 1);
        EXPECT_TRUE(messages.first().startsWith("\r\nCurrent Data Read Error: ")) << messages.first().toStdString();
        EXPECT_TRUE(messages.first().contains(mentioning)) << messages.first().toStdString();
    }

    TempFolder folder;
    RecordingErrors errors;
    WeatherReading reading;
};

}  // namespace

TEST(ReaderBadInput, EmptyFileNameDoesNothing)
{
    BadInput t;
    EXPECT_FALSE(t.read(""));
    EXPECT_FALSE(t.read("", SourceKind::Feed));
    EXPECT_TRUE(t.errors.empty());
}

TEST(ReaderBadInput, MissingFileAndFolder)
{
    for (SourceKind type : {SourceKind::StationFile, SourceKind::Feed}) {
        BadInput t;
        EXPECT_FALSE(t.read(t.folder.file("nowhere/currdat.lst"), type));
        t.expectOneReadError("File not found");
    }
    BadInput t;
    EXPECT_FALSE(t.read(t.folder.path()));
    t.expectOneReadError("is a folder");
}

TEST(ReaderBadInput, BinaryFileIsRefusedAtItsFirstNulByte)
{
    for (SourceKind type : {SourceKind::StationFile, SourceKind::Feed}) {
        BadInput t;
        QByteArray binary("[outdoor_temperature]\ndeg_C = \"5\"\n");
        binary += QByteArray("\x00\x01\xFF\xFE", 4).repeated(100);
        EXPECT_FALSE(t.read(t.folder.write("binary.lst", binary), type));
        t.expectOneReadError("not a text file");
    }
}

TEST(ReaderBadInput, HugeFileIsRefusedWithoutReadingIt)
{
    BadInput t;
    const QString path = t.folder.file("huge.lst");
    QFile huge(path);
    ASSERT_TRUE(huge.open(QIODevice::WriteOnly));
    ASSERT_TRUE(huge.resize(50 * 1024 * 1024));  // sparse: costs no disk
    huge.close();
    EXPECT_FALSE(t.read(path));
    t.expectOneReadError("too large");
}

TEST(ReaderBadInput, OverlongLineIsRefused)
{
    BadInput t;
    const QByteArray line = QByteArray(LineReader::kMaxLineBytes + 1, 'x');
    EXPECT_FALSE(t.read(t.folder.write("long.xml", "<b>Temperature:</b> 5\n" + line + "\n"), SourceKind::Feed));
    t.expectOneReadError("longer than");
    EXPECT_EQ(t.reading.temperatureOut(), 5);
}

TEST(ReaderBadInput, UnreadableFile)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "the superuser can read any file";
    BadInput t;
    const QString path = t.folder.write("locked.lst", "[dewpoint]\ndeg_C = \"5\"\n");
    ASSERT_TRUE(QFile::setPermissions(path, QFileDevice::WriteOwner));
    EXPECT_FALSE(t.read(path));
    t.expectOneReadError("Cannot open");
}

TEST(ReaderBadInput, EveryByteIsAcceptedAsText)
{
    BadInput t;
    QByteArray bytes;
    for (int b = 1; b < 256; ++b) {
        if (b != '\n' && b != '\r')
            bytes += char(b);
    }
    EXPECT_TRUE(t.read(t.folder.write("bytes.lst", bytes + "\n[dewpoint]\ndeg_C = \"-1.5\"\n")));
    EXPECT_EQ(t.reading.dewpoint(), -1.5);
    EXPECT_TRUE(t.errors.empty());
}
