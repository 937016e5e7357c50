#include "core/errors/ErrorRouter.h"

#include "core/errors/ErrorLogFile.h"
#include "core/errors/MailSender.h"
#include "core/errors/MessageBoxes.h"
#include "core/text/Clock.h"
#include "core/text/DateText.h"

#include <QLocale>

#include <algorithm>

ErrorRouter::ErrorRouter(const ErrorRoutingSource& routing, MessageBoxes& boxes, MailSender& mail, const Clock& clock)
    : routing_(routing), boxes_(boxes), mail_(mail), clock_(clock)
{
}

QString ErrorRouter::generalNow() const
{
    const QDateTime now = clock_.now();
    return QLocale::system().toString(now.date(), QLocale::ShortFormat) + u' '
           + now.time().toString(QStringLiteral("HH:mm:ss"));
}

void ErrorRouter::report(const QString& message)
{
    const ErrorRouting routing = routing_.errorRouting();
    if (!routing.unattended) {
        boxes_.show(QStringLiteral("Nimbrel Error"), message, MessageBoxes::Icon::Critical);
        return;
    }
    if (routing.logFile.isEmpty())
        return;

    {
        QMutexLocker lock(&logMutex_);
        ErrorLogFile::append(routing.logFile, clock_.now(), message);
    }
    if (!routing.mail)
        return;
    if (const std::optional<QString> text = mailDue(message))
        sendErrorMail(QStringLiteral("Nimbrel Error ") + generalNow(), *text);
}

std::optional<QString> ErrorRouter::mailDue(const QString& message)
{
    constexpr qint64 kQuietSeconds = 3600;
    constexpr qsizetype kRemembered = 200;  // distinct messages; the oldest are forgotten
    const QDateTime now = clock_.now();
    QMutexLocker lock(&mailedMutex_);
    auto found = mailed_.find(message);
    if (found != mailed_.end() && found->at.secsTo(now) < kQuietSeconds) {
        ++found->repeats;
        return std::nullopt;
    }
    QString text = message;
    if (found != mailed_.end() && found->repeats > 0)
        text += QStringLiteral("\r\n(repeated %1 times since %2)")
                    .arg(found->repeats)
                    .arg(DateText::format(found->at, QStringLiteral("dd-MMM-yyyy HH:mm:ss")));
    if (found == mailed_.end() && mailed_.size() >= kRemembered) {
        auto oldest = std::min_element(mailed_.begin(), mailed_.end(),
                                       [](const Mailed& a, const Mailed& b) { return a.at < b.at; });
        mailed_.erase(oldest);
    }
    mailed_[message] = {now, 0};
    return text;
}

bool ErrorRouter::sendErrorMail(const QString& subject, const QString& message)
{
    const ErrorRouting routing = routing_.errorRouting();
    if (routing.mailServer.isEmpty() || routing.mailFrom.isEmpty() || routing.mailTo.isEmpty())
        return false;

    MailMessage mail;
    mail.server = routing.mailServer;
    mail.from = routing.mailFrom;
    mail.recipients = routing.mailTo;
    mail.userName = routing.mailUser;
    mail.password = routing.mailPassword;
    mail.subject = subject;
    mail.body = message;
    mail.date = clock_.now();

    QString error;
    if (!mail_.send(mail, error)) {
        boxes_.show(QStringLiteral("Mail Error"), error, MessageBoxes::Icon::Critical);
        return false;
    }
    return true;
}

bool ErrorRouter::sendTestMail()
{
    const bool sent = sendErrorMail(QStringLiteral("Nimbrel Test Message ") + generalNow(),
                                    QStringLiteral("test from Nimbrel"));
    if (sent)
        boxes_.show(QStringLiteral("Nimbrel"), QStringLiteral("No errors were encounted"),
                    MessageBoxes::Icon::Information);
    return sent;
}
