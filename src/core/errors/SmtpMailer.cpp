#include "core/errors/SmtpMailer.h"

#include "core/text/DateText.h"

#include <QDateTime>
#include <QStringList>
#include <curl/curl.h>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>

namespace {

void initialiseCurlOnce()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

// "Weather Station <station@example.com>" gives "<station@example.com>".
QByteArray envelopeAddress(const QString& address)
{
    const qsizetype open = address.lastIndexOf(u'<');
    const qsizetype close = address.lastIndexOf(u'>');
    if (open >= 0 && close > open)
        return address.mid(open, close - open + 1).toUtf8();
    return '<' + address.trimmed().toUtf8() + '>';
}

// A header value; non-ASCII text is encoded as UTF-8 words.
QByteArray headerText(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    for (char c : utf8) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return "=?UTF-8?B?" + utf8.toBase64() + "?=";
    }
    return utf8;
}

QByteArray withCrLf(const QString& text)
{
    QString normalised = text;
    normalised.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
    return normalised.toUtf8().replace("\n", "\r\n");
}

struct Upload {
    QByteArray data;
    qsizetype offset = 0;
};

size_t readUpload(char* buffer, size_t size, size_t count, void* userData)
{
    auto* upload = static_cast<Upload*>(userData);
    const qsizetype room = qsizetype(size * count);
    const qsizetype left = upload->data.size() - upload->offset;
    const qsizetype n = std::min(room, left);
    std::memcpy(buffer, upload->data.constData() + upload->offset, size_t(n));
    upload->offset += n;
    return size_t(n);
}

struct CurlDeleter {
    void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
};
struct SlistDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

}  // namespace

SmtpMailer::SmtpMailer(Timeouts timeouts, const QString& trustedCertificates)
    : timeouts_(timeouts), trustedCertificates_(trustedCertificates.toLocal8Bit())
{
}

QStringList SmtpMailer::splitRecipients(const QString& recipients)
{
    QStringList addresses;
    for (const QString& part : recipients.split(u';')) {
        if (!part.trimmed().isEmpty())
            addresses << part.trimmed();
    }
    return addresses;
}

QString SmtpMailer::serverUrl(const QString& server)
{
    const QString trimmed = server.trimmed();
    if (trimmed.contains(QStringLiteral("://")))
        return trimmed;
    return QStringLiteral("smtp://") + trimmed;
}

QByteArray SmtpMailer::compose(const MailMessage& mail, const QDateTime& date)
{
    const int offsetMinutes = date.offsetFromUtc() / 60;
    const QString zone = QStringLiteral("%1%2%3")
                             .arg(QChar(offsetMinutes < 0 ? u'-' : u'+'))
                             .arg(std::abs(offsetMinutes) / 60, 2, 10, QLatin1Char('0'))
                             .arg(std::abs(offsetMinutes) % 60, 2, 10, QLatin1Char('0'));
    QByteArray message;
    message += "Date: " + DateText::format(date, QStringLiteral("ddd, dd MMM yyyy HH:mm:ss ")).toUtf8()
               + zone.toUtf8() + "\r\n";
    message += "From: " + headerText(mail.from) + "\r\n";
    message += "To: " + headerText(splitRecipients(mail.recipients).join(QStringLiteral(", "))) + "\r\n";
    message += "Subject: " + headerText(mail.subject) + "\r\n";
    message += "MIME-Version: 1.0\r\n";
    message += "Content-Type: text/plain; charset=UTF-8\r\n";
    message += "Content-Transfer-Encoding: 8bit\r\n";
    message += "\r\n";
    message += withCrLf(mail.body);
    if (!message.endsWith("\r\n"))
        message += "\r\n";
    return message;
}

bool SmtpMailer::send(const MailMessage& mail, QString& error)
{
    const QStringList recipients = splitRecipients(mail.recipients);
    if (mail.server.trimmed().isEmpty() || mail.from.trimmed().isEmpty() || recipients.isEmpty()) {
        error = QStringLiteral("A mail needs a server, a sender and at least one recipient");
        return false;
    }

    initialiseCurlOnce();
    std::unique_ptr<CURL, CurlDeleter> curl(curl_easy_init());
    if (!curl) {
        error = QStringLiteral("The mail library could not be started");
        return false;
    }
    std::unique_ptr<curl_slist, SlistDeleter> rcpt;
    for (const QString& address : recipients)
        rcpt.reset(curl_slist_append(rcpt.release(), envelopeAddress(address).constData()));

    Upload upload{compose(mail, mail.date.isValid() ? mail.date : QDateTime::currentDateTime()), 0};
    const QByteArray url = serverUrl(mail.server).toUtf8();
    const QByteArray from = envelopeAddress(mail.from);
    const QByteArray user = mail.userName.toUtf8();
    const QByteArray password = mail.password.toUtf8();
    char errorBuffer[CURL_ERROR_SIZE] = {};

    CURL* handle = curl.get();
    curl_easy_setopt(handle, CURLOPT_URL, url.constData());
    curl_easy_setopt(handle, CURLOPT_MAIL_FROM, from.constData());
    curl_easy_setopt(handle, CURLOPT_MAIL_RCPT, rcpt.get());
    // A password goes over an encrypted connection or not at all.
    const bool authenticating = !mail.userName.isEmpty();
    curl_easy_setopt(handle, CURLOPT_USE_SSL, long(authenticating ? CURLUSESSL_ALL : CURLUSESSL_TRY));
    if (authenticating) {
        curl_easy_setopt(handle, CURLOPT_USERNAME, user.constData());
        curl_easy_setopt(handle, CURLOPT_PASSWORD, password.constData());
    }
    if (!trustedCertificates_.isEmpty())
        curl_easy_setopt(handle, CURLOPT_CAINFO, trustedCertificates_.constData());
    curl_easy_setopt(handle, CURLOPT_READFUNCTION, readUpload);
    curl_easy_setopt(handle, CURLOPT_READDATA, &upload);
    curl_easy_setopt(handle, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorBuffer);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, long(timeouts_.connect.count()));
    curl_easy_setopt(handle, CURLOPT_SERVER_RESPONSE_TIMEOUT, long(timeouts_.response.count()));
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, long(timeouts_.response.count()));
    // An absolute bound as well: connection plus a few exchanges.
    curl_easy_setopt(handle, CURLOPT_TIMEOUT, long(timeouts_.connect.count() + 3 * timeouts_.response.count()));

    const CURLcode result = curl_easy_perform(handle);
    if (result == CURLE_OK)
        return true;

    long responseCode = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &responseCode);
    error = QStringLiteral("Sending mail through %1 failed: %2").arg(QString::fromUtf8(url), QString::fromUtf8(curl_easy_strerror(result)));
    if (errorBuffer[0] != '\0')
        error += QStringLiteral(" (%1)").arg(QString::fromUtf8(errorBuffer).trimmed());
    if (responseCode != 0)
        error += QStringLiteral(", server reply %1").arg(responseCode);
    if (result == CURLE_USE_SSL_FAILED)
        error += QStringLiteral(". The server offers no encrypted connection, and the password is never sent "
                                "without one");
    return false;
}
