#include "core/errors/ErrorRouter.h"
#include "core/errors/SmtpMailer.h"
#include "core/settings/SettingsModel.h"
#include "core/text/Clock.h"
#include "support/SmtpTestServer.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

const QDateTime k5March2007(QDate(2007, 3, 5), QTime(14, 7, 9));

class ErrorRouterTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        logPath = folder.file("ErrorLog.txt");
        settings.setErrorLog(logPath);
        settings.setUnattended(true);
    }
    void mailTo(const SmtpTestServer& server, const QString& recipients = "admin@example.org")
    {
        settings.setErrorMail(true);
        mailer = SmtpMailer(kTimeouts, server.certificateFile());
        settings.setErrorSmtp(server.address());
        settings.setErrorFrom("station@example.org");
        settings.setErrorTo(recipients);
    }

    TempFolder folder;
    QString logPath;
    SettingsModel settings;
    RecordingMessageBoxes boxes;
    static constexpr SmtpMailer::Timeouts kTimeouts{std::chrono::seconds(5), std::chrono::seconds(5)};
    SmtpMailer mailer{kTimeouts};
    FixedClock clock{k5March2007};
    ErrorRouter router{settings, boxes, mailer, clock};
};

}  // namespace

TEST_F(ErrorRouterTest, AttendedShowsTheMessageAndTouchesNothingElse)
{
    SmtpTestServer server;
    ASSERT_TRUE(server.started());
    mailTo(server);
    settings.setUnattended(false);
    router.report("\r\nDatabase Write Error: disk full");

    const auto shown = boxes.boxes();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].title, "Nimbrel Error");
    EXPECT_EQ(shown[0].text, "\r\nDatabase Write Error: disk full");
    EXPECT_EQ(shown[0].icon, MessageBoxes::Icon::Critical);
    EXPECT_FALSE(QFile::exists(logPath));
    EXPECT_TRUE(server.messages(0, 300).empty());
}

TEST_F(ErrorRouterTest, UnattendedAppendsDatedLinesWithEnglishMonths)
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    router.report("X");
    clock.set(k5March2007.addSecs(61));
    router.report("\r\nCurrent Data Read Error: File not found");
    QLocale::setDefault(QLocale::c());

    EXPECT_EQ(readAll(logPath),
              "05-Mar-2007 14:07:09 X\r\n"
              "05-Mar-2007 14:08:10 \r\nCurrent Data Read Error: File not found\r\n");
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST_F(ErrorRouterTest, LogFileIsCreatedInAnExistingFolderAndAppendedTo)
{
    folder.write("ErrorLog.txt", "earlier line\r\n");
    router.report("Y");
    EXPECT_EQ(readAll(logPath), "earlier line\r\n05-Mar-2007 14:07:09 Y\r\n");
}

TEST_F(ErrorRouterTest, UnattendedWithoutLogNameDoesNothingAtAll)
{
    SmtpTestServer server;
    ASSERT_TRUE(server.started());
    mailTo(server);
    settings.setErrorLog("");
    router.report("lost");
    EXPECT_TRUE(server.messages(0, 300).empty());
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST_F(ErrorRouterTest, MailGoesToEveryRecipientWithSubjectAndBody)
{
    SmtpTestServer server;
    ASSERT_TRUE(server.started());
    mailTo(server, "admin@example.org; backup@example.org");
    router.report("\r\nRSS Data Export Error: no template");

    const auto mails = server.messages(1);
    ASSERT_EQ(mails.size(), 1u);
    EXPECT_EQ(mails[0].from, "station@example.org");
    EXPECT_EQ(mails[0].to, QStringList({"admin@example.org", "backup@example.org"}));
    EXPECT_TRUE(mails[0].data.contains("Subject: Nimbrel Error " + router.generalNow())) << mails[0].data.toStdString();
    EXPECT_TRUE(mails[0].data.contains("\r\nRSS Data Export Error: no template"));
    EXPECT_TRUE(QFile::exists(logPath));
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST_F(ErrorRouterTest, MailOnlyWhenTheFlagIsOn)
{
    SmtpTestServer server;
    ASSERT_TRUE(server.started());
    mailTo(server);
    settings.setErrorMail(false);
    router.report("not mailed");
    EXPECT_TRUE(server.messages(0, 300).empty());
    EXPECT_TRUE(QFile::exists(logPath));
}

TEST_F(ErrorRouterTest, EmptyServerSenderOrRecipientsSendNothing)
{
    SmtpTestServer server;
    ASSERT_TRUE(server.started());
    for (auto clear : {&SettingsModel::setErrorSmtp, &SettingsModel::setErrorFrom, &SettingsModel::setErrorTo}) {
        mailTo(server);
        (settings.*clear)("");
        router.report("logged only");
        EXPECT_FALSE(router.sendErrorMail("s", "m"));
    }
    EXPECT_TRUE(server.messages(0, 300).empty());
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_EQ(readAll(logPath).count("logged only"), 3);
}

TEST_F(ErrorRouterTest, UnwritableLogStillLetsTheMailGoOut)
{
    SmtpTestServer server;
    ASSERT_TRUE(server.started());
    mailTo(server);
    settings.setErrorLog(folder.file("missing/folder/ErrorLog.txt"));
    router.report("disk trouble");
    EXPECT_EQ(server.messages(1).size(), 1u);
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST_F(ErrorRouterTest, WrongPasswordShowsMailErrorEvenWhenUnattended)
{
    SmtpTestServer server("station", "secret", SmtpTestServer::Encryption::StartTls);
    ASSERT_TRUE(server.started());
    mailTo(server);
    settings.setErrorUser("station");
    settings.setErrorPassword("wrong");
    router.report("boom");

    const auto shown = boxes.boxes();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].title, "Mail Error");
    EXPECT_EQ(shown[0].icon, MessageBoxes::Icon::Critical);
    EXPECT_FALSE(shown[0].text.isEmpty());
    EXPECT_TRUE(server.messages(0, 300).empty());
    EXPECT_TRUE(readAll(logPath).contains("boom"));
}

TEST_F(ErrorRouterTest, TestMailWithTheRightPassword)
{
    SmtpTestServer server("station", "secret", SmtpTestServer::Encryption::StartTls);
    ASSERT_TRUE(server.started());
    mailTo(server);
    settings.setErrorUser("station");
    settings.setErrorPassword("secret");
    EXPECT_TRUE(router.sendTestMail());

    const auto mails = server.messages(1);
    ASSERT_EQ(mails.size(), 1u);
    EXPECT_TRUE(mails[0].data.contains("Subject: Nimbrel Test Message " + router.generalNow()));
    EXPECT_TRUE(mails[0].data.contains("test from Nimbrel"));
    EXPECT_TRUE(mails[0].data.contains("Date: Mon, 05 Mar 2007 14:07:09 +0100\r\n")) << "the program's clock dates the mail";
    const auto shown = boxes.boxes();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].text, "No errors were encounted");
    EXPECT_EQ(shown[0].icon, MessageBoxes::Icon::Information);
}

TEST_F(ErrorRouterTest, ARepeatWithinTheHourIsCountedAndTheNextMailSaysHowOften)
{
    SmtpTestServer server;
    ASSERT_TRUE(server.started());
    mailTo(server);
    for (int minutes : {0, 10, 20, 30})
        clock.set(k5March2007.addSecs(60 * minutes)), router.report("Graph Error: \r\ndata page 57 is damaged");
    router.report("RSS Data Export Error: \r\ndisk full");  // another message has its own hour
    clock.set(k5March2007.addSecs(3600));
    router.report("Graph Error: \r\ndata page 57 is damaged");

    const auto mails = server.messages(3);
    ASSERT_EQ(mails.size(), 3u);
    EXPECT_TRUE(mails[1].data.contains("disk full"));
    EXPECT_TRUE(mails[2].data.contains("data page 57 is damaged\r\n(repeated 3 times since 05-Mar-2007 14:07:09)"))
        << mails[2].data.toStdString();
    EXPECT_EQ(QString::fromUtf8(readAll(logPath)).count("data page 57"), 5) << "every one is logged";
}
