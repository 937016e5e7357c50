#include "errors/ErrorRoutine.h"

#include "errors/ErrorLogFile.h"
#include "errors/MailSender.h"
#include "errors/MessageBoxes.h"
#include "settings/SettingsModel.h"
#include "shared/Clock.h"

#include <QLocale>

ErrorRoutine::ErrorRoutine(const SettingsModel& settings, MessageBoxes& boxes, MailSender& mail, const Clock& clock)
    : settings_(settings), boxes_(boxes), mail_(mail), clock_(clock)
{
}

QString ErrorRoutine::generalNow() const
{
    const QDateTime now = clock_.now();
    return QLocale::system().toString(now.date(), QLocale::ShortFormat) + u' '
           + now.time().toString(QStringLiteral("HH:mm:ss"));
}

void ErrorRoutine::ReportError(const QString& message)
{
    const Preferences settings = settings_.snapshot();
    if (settings.Unattended == 0) {
        boxes_.show(QStringLiteral("Nimbrel Error"), message, MessageBoxes::Icon::Critical);
        return;
    }
    if (settings.ErrorLog.isEmpty())
        return;

    {
        QMutexLocker lock(&logMutex_);
        ErrorLogFile::append(settings.ErrorLog, clock_.now(), message);
    }
    if (settings.ErrorMail == 1)
        SendErrorMail(QStringLiteral("Nimbrel Error ") + generalNow(), message);
}

bool ErrorRoutine::SendErrorMail(const QString& subject, const QString& message)
{
    const Preferences settings = settings_.snapshot();
    if (settings.ErrorSMTP.isEmpty() || settings.ErrorFrom.isEmpty() || settings.ErrorTo.isEmpty())
        return false;

    MailMessage mail;
    mail.server = settings.ErrorSMTP;
    mail.from = settings.ErrorFrom;
    mail.recipients = settings.ErrorTo;
    mail.userName = settings.ErrorUser;
    mail.password = settings.ErrorPass;
    mail.subject = subject;
    mail.body = message;

    QString error;
    if (!mail_.send(mail, error)) {
        boxes_.show(QStringLiteral("Mail Error"), error, MessageBoxes::Icon::Critical);
        return false;
    }
    return true;
}

bool ErrorRoutine::SendTestMail()
{
    const bool sent = SendErrorMail(QStringLiteral("Nimbrel Test Message ") + generalNow(),
                                    QStringLiteral("test from Nimbrel"));
    if (sent)
        boxes_.show(QStringLiteral("Nimbrel"), QStringLiteral("No errors were encounted"),
                    MessageBoxes::Icon::Information);
    return sent;
}
