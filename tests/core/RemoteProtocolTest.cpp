#include "core/remote/RemoteProtocol.h"

#include <gtest/gtest.h>

using namespace RemoteProtocol;

namespace {

QString fields(int count)
{
    QStringList parts = {"RQ[5]", "1012.5", "21.5", "45", "8.5", "80", "5.2", "7.9", "6.5", "---", "123.4",
                         "14:30", "21.11.2026", "0.2", "1.4", "1", "2", "0"};
    while (parts.size() > count)
        parts.removeLast();
    while (parts.size() < count)
        parts << "9";
    return parts.join('\t');
}

}  // namespace

// Messages are cut at "[END]" standing beyond position 2, however the data
// arrives; what waits is bounded.
TEST(RemoteProtocol, MessagesAreCutAtTheirEnd)
{
    MessageCutter cutter;
    cutter.append("LS\t[1]Garden[END]LS[END]");
    EXPECT_EQ(cutter.next(), "LS\t[1]Garden");
    EXPECT_EQ(cutter.next(), "LS");
    EXPECT_EQ(cutter.next(), std::nullopt);

    const QByteArray split = "RQ[1]\tx[END]";
    for (char byte : split)
        cutter.append(QByteArray(1, byte));
    EXPECT_EQ(cutter.next(), "RQ[1]\tx");

    for (const char* early : {"[END]LS[END]", "A[END]"}) {
        MessageCutter kept;
        kept.append(early);
        EXPECT_EQ(kept.next(), std::nullopt) << early << " is left as it is";
        EXPECT_EQ(kept.waiting(), QString(early));
    }
    MessageCutter third;
    third.append("AB[END]");
    EXPECT_EQ(third.next(), "AB");

    MessageCutter flood(1000);
    flood.append(QByteArray(1001, 'x'));
    EXPECT_TRUE(flood.overLimit());
}

TEST(RemoteProtocol, SourceListsAndReadingsReadAsSent)
{
    EXPECT_EQ(sourceList("LS\t[3]Garden\t[12]Roof Top"),
              (QList<SourceEntry>{{3, "Garden"}, {12, "Roof Top"}}));
    EXPECT_EQ(sourceList("LS"), QList<SourceEntry>{}) << "an empty list clears the list";
    EXPECT_EQ(sourceList("RQ[1]"), std::nullopt);

    EXPECT_EQ(reading(fields(17)), std::nullopt);
    EXPECT_EQ(reading(fields(19)), std::nullopt);
    const std::optional<Reading> r = reading(fields(18));
    ASSERT_TRUE(r);
    EXPECT_EQ(r->sourceID, 5);
    EXPECT_EQ(r->row.time, QDateTime(QDate(2026, 11, 21), QTime(14, 30)));
    EXPECT_EQ(r->row.pressure, 1012.5);
    EXPECT_TRUE(r->row.windDirection.isEmpty()) << "--- is no direction";
    EXPECT_EQ(r->row.rainTotal, 123.4);
    EXPECT_EQ(r->row.rain24h, 1.4);
    EXPECT_EQ(r->row.stability, 2);

    // What the server sends reads back as it was.
    ImportRow row = r->row;
    row.windDirection = "NNE";
    const QString sent = QString::fromLatin1(readingMessage(5, row));
    ASSERT_TRUE(sent.endsWith("[END]"));
    const std::optional<Reading> back = reading(sent.chopped(5));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->row.windDirection, "NNE");
    EXPECT_EQ(back->row.time, row.time);
    EXPECT_EQ(sourceList(QString::fromLatin1(sourceListMessage({{3, "Garden"}})).chopped(5)),
              (QList<SourceEntry>{{3, "Garden"}}));

    QString badDate = fields(18);
    badDate.replace("21.11.2026", "31.02.2026");
    ASSERT_TRUE(reading(badDate));
    EXPECT_FALSE(reading(badDate)->row.time.isValid());
}

// Requests come back to back and in any pieces; a request that may go on
// waits until more comes or the sender has paused; garbage is skipped.
TEST(RemoteProtocol, RequestsAreTakenFromAnyPieces)
{
    qsizetype skipped = 0;
    QByteArray buffer = "LSRQ[5]RQ[7]03/03/2024QT";
    QList<Request> requests = takeRequests(buffer, false, skipped);
    ASSERT_EQ(requests.size(), 4);
    EXPECT_EQ(requests[0].kind, Request::Kind::List);
    EXPECT_EQ(requests[1].sourceID, 5);
    EXPECT_EQ(requests[1].from, std::nullopt);
    EXPECT_EQ(requests[2].sourceID, 7);
    EXPECT_EQ(requests[2].from, QDate(2024, 3, 3));
    EXPECT_EQ(requests[3].kind, Request::Kind::Quit);
    EXPECT_TRUE(buffer.isEmpty());

    EXPECT_EQ(requestText({Request::Kind::Readings, 5, std::nullopt}), "RQ[5]");
    EXPECT_EQ(requestText({Request::Kind::Readings, 5, QDate(2024, 3, 3)}), "RQ[5]03/03/2024");
    EXPECT_EQ(requestText({Request::Kind::Quit, 0, {}}), "QT");

    buffer = "RQ[5]03/0";
    EXPECT_TRUE(takeRequests(buffer, false, skipped).isEmpty()) << "a date has begun";
    buffer += "3/2024";
    requests = takeRequests(buffer, false, skipped);
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests[0].from, QDate(2024, 3, 3));

    buffer = "RQ[5]";
    EXPECT_TRUE(takeRequests(buffer, false, skipped).isEmpty());
    requests = takeRequests(buffer, true, skipped);
    ASSERT_EQ(requests.size(), 1) << "after a pause it is a request without a date";
    EXPECT_EQ(requests[0].from, std::nullopt);

    skipped = 0;
    buffer = "hello\x01LS";
    requests = takeRequests(buffer, false, skipped);
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(skipped, 6);
    buffer = "RQ[]RQ[x";
    EXPECT_TRUE(takeRequests(buffer, true, skipped).isEmpty());
    EXPECT_TRUE(buffer.isEmpty());
}
