#pragma once

#include "core/errors/Environment.h"
#include "core/remote/RemoteDownload.h"

#include <QDialog>

class DatabaseService;
class QCheckBox;
class QDateEdit;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSettings;

// "Remote Source Collection": connects to a remote collection server,
// lists its sources and downloads the readings of those picked (from a day
// on, or all of them) into the Primary database, under the local source of
// the same name. The server's address and port are saved once a connection
// is made. Readings are stored on the database worker; the dialog shows
// how many came, were stored and were left out, and can cancel the
// storing. Closing while connected says "QT" and closes when the server
// closes the connection (after five seconds at the latest) and what came
// is stored.
class RemoteClientDialog final : public QDialog {
    Q_OBJECT
public:
    RemoteClientDialog(QString database, QSettings& store, DatabaseService& service, const Environment& environment,
                       QWidget* parent = nullptr);

    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void connectToServer();
    void connected();
    void disconnected();
    void request();
    void showSources(const QList<RemoteProtocol::SourceEntry>& sources);
    void deselect(const QString& name);
    void showCounts();
    void finishWhenDone();

    QSettings& store_;
    const Environment& environment_;
    RemoteDownload download_;
    QGroupBox* connectFrame_;
    QGroupBox* remoteFrame_;
    QLineEdit* address_;
    QLineEdit* port_;
    QListWidget* sources_;
    QCheckBox* fromDay_;
    QDateEdit* day_;
    QLabel* counts_;
    QPushButton* cancel_;
    bool leaving_ = false;
};
