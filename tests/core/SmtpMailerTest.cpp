#include "core/errors/SmtpMailer.h"
#include "support/SmtpTestServer.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

MailMessage mailThrough(const QString& server)
{
    MailMessage mail;
    mail.server = server;
    mail.from = "Weather Station <station@example.org>";
    mail.recipients = "admin@example.org";
    mail.subject = "Nimbrel Error 21/11/2026 12:00:00";
    mail.body = "line one\nline two\r\n.starts with a dot";
    return mail;
}

// A port that accepts connections into its backlog but never answers.
class SilentServer {
public:
    SilentServer()
    {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(fd_, 4);
        socklen_t length = sizeof address;
        ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
    }
    ~SilentServer() { ::close(fd_); }
    int port() const { return port_; }

private:
    int fd_ = -1;
    int port_ = 0;
};

}  // namespace

TEST(SmtpMailer, ServerTextsAndRecipientLists)
{
    EXPECT_EQ(SmtpMailer::serverUrl("mail.example.org"), "smtp://mail.example.org");
    EXPECT_EQ(SmtpMailer::serverUrl(" mail.example.org:587 "), "smtp://mail.example.org:587");
    EXPECT_EQ(SmtpMailer::serverUrl("smtps://mail.example.org"), "smtps://mail.example.org");
    EXPECT_EQ(SmtpMailer::splitRecipients("a@x.org; b@y.org;;  ;c@z.org "),
              QStringList({"a@x.org", "b@y.org", "c@z.org"}));
}

TEST(SmtpMailer, ComposesHeadersAndACrLfBody)
{
    MailMessage mail = mailThrough("localhost");
    mail.recipients = "a@x.org;b@y.org";
    const QDateTime date(QDate(2026, 11, 21), QTime(12, 0), Qt::OffsetFromUTC, 3600);
    const QByteArray text = SmtpMailer::compose(mail, date);
    EXPECT_TRUE(text.startsWith("Date: Sat, 21 Nov 2026 12:00:00 +0100\r\n"));
    EXPECT_TRUE(text.contains("\r\nTo: a@x.org, b@y.org\r\n"));
    EXPECT_TRUE(text.contains("\r\nFrom: Weather Station <station@example.org>\r\n"));
    EXPECT_TRUE(text.endsWith("\r\n\r\nline one\r\nline two\r\n.starts with a dot\r\n"));

    mail.subject = QString::fromUtf16(u"Temp\u00e9rature");
    EXPECT_TRUE(SmtpMailer::compose(mail, date).contains("Subject: =?UTF-8?B?VGVtcMOpcmF0dXJl?=\r\n"));
}

TEST(SmtpMailer, DeliversToARealServerIncludingDotLines)
{
    SmtpTestServer server;
    ASSERT_TRUE(server.started());
    SmtpMailer mailer;
    QString error;
    ASSERT_TRUE(mailer.send(mailThrough(server.address()), error)) << error.toStdString();
    const auto mails = server.messages(1);
    ASSERT_EQ(mails.size(), 1u);
    EXPECT_EQ(mails[0].from, "station@example.org");
    EXPECT_TRUE(mails[0].data.contains("\r\n.starts with a dot")) << mails[0].data.toStdString();
}

TEST(SmtpMailer, AuthenticatesOverAnEncryptedConnection)
{
    SmtpTestServer server("station", "secret", SmtpTestServer::Encryption::StartTls);
    ASSERT_TRUE(server.started());
    SmtpMailer mailer(SmtpMailer::Timeouts{}, server.certificateFile());
    MailMessage mail = mailThrough(server.address());
    QString error;
    EXPECT_FALSE(mailer.send(mail, error)) << "the server requires a login";

    mail.userName = "station";
    mail.password = "secret";
    mail.date = QDateTime(QDate(2026, 11, 21), QTime(12, 0), Qt::UTC);
    EXPECT_TRUE(mailer.send(mail, error)) << error.toStdString();
    const auto mails = server.messages(1);
    ASSERT_EQ(mails.size(), 1u);
    EXPECT_TRUE(mails[0].data.contains("Date: Sat, 21 Nov 2026 12:00:00 +0000\r\n")) << mails[0].data.toStdString();
}

// A server that offers no encryption never sees the password: the mail is
// refused before the login.
TEST(SmtpMailer, NeverSendsAPasswordInClear)
{
    SmtpTestServer server("station", "secret");
    ASSERT_TRUE(server.started());
    SmtpMailer mailer;
    MailMessage mail = mailThrough(server.address());
    mail.userName = "station";
    mail.password = "secret";
    QString error;
    EXPECT_FALSE(mailer.send(mail, error));
    EXPECT_TRUE(error.contains("never sent without one")) << error.toStdString();
    EXPECT_TRUE(server.messages(0, 300).empty());
}

TEST(SmtpMailer, DeadOrMissingServersFailWithinTheTimeouts)
{
    SmtpMailer mailer(SmtpMailer::Timeouts{std::chrono::seconds(1), std::chrono::seconds(1)});
    QString error;

    SilentServer silent;
    EXPECT_FALSE(mailer.send(mailThrough(QStringLiteral("127.0.0.1:%1").arg(silent.port())), error));
    EXPECT_TRUE(error.contains("imeout") || error.contains("timed out")) << error.toStdString();

    const int closedPort = [] { SilentServer s; return s.port(); }();
    EXPECT_FALSE(mailer.send(mailThrough(QStringLiteral("127.0.0.1:%1").arg(closedPort)), error));
    EXPECT_TRUE(error.contains("127.0.0.1")) << error.toStdString();
}
