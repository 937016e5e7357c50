#include "core/errors/ErrorRouter.h"

#include "core/errors/ErrorLogFile.h"
#include "core/errors/MailSender.h"
#include "core/errors/MessageBoxes.h"
#include "core/settings/SettingsModel.h"
#include "core/text/Clock.h"

#include <QLocale>

ErrorRouter::ErrorRouter(const SettingsModel& settings, MessageBoxes& boxes, MailSender& mail, const Clock& clock)
    : settings_(settings), boxes_(boxes), mail_(mail), clock_(clock)
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
    const Preferences settings = settings_.snapshot();
    if (!settings.unattended) {
        boxes_.show(QStringLiteral("Nimbrel Error"), message, MessageBoxes::Icon::Critical);
        return;
    }
    if (settings.errorLog.isEmpty())
        return;

    {
        QMutexLocker lock(&logMutex_);
        ErrorLogFile::append(settings.errorLog, clock_.now(), message);
    }
    if (settings.errorMail)
        sendErrorMail(QStringLiteral("Nimbrel Error ") + generalNow(), message);
}

bool ErrorRouter::sendErrorMail(const QString& subject, const QString& message)
{
    const Preferences settings = settings_.snapshot();
    if (settings.errorSmtp.isEmpty() || settings.errorFrom.isEmpty() || settings.errorTo.isEmpty())
        return false;

    MailMessage mail;
    mail.server = settings.errorSmtp;
    mail.from = settings.errorFrom;
    mail.recipients = settings.errorTo;
    mail.userName = settings.errorUser;
    mail.password = settings.errorPassword;
    mail.subject = subject;
    mail.body = message;

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
