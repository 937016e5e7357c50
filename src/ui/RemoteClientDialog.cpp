#include "ui/RemoteClientDialog.h"

#include "core/cycle/DatabaseService.h"
#include "core/settings/SettingsModel.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QVBoxLayout>

namespace {

QPushButton* button(const QString& text, const char* name, QWidget* parent)
{
    auto* made = new QPushButton(text, parent);
    made->setObjectName(name);
    return made;
}

}  // namespace

RemoteClientDialog::RemoteClientDialog(QString database, QSettings& store, DatabaseService& service,
                                       const Environment& environment, QWidget* parent)
    : QDialog(parent), store_(store), environment_(environment),
      download_(std::move(database), environment, RemoteDownload::runnerOn(service), this)
{
    setWindowTitle(tr("Remote Source Collection"));
    setObjectName("remoteClientDialog");
    const RemoteSettings settings = loadRemoteSettings(store_);

    connectFrame_ = new QGroupBox(tr("Server"), this);
    address_ = new QLineEdit(settings.remoteAddress, connectFrame_);
    address_->setObjectName("remoteAddressEdit");
    port_ = new QLineEdit(settings.remotePort, connectFrame_);
    port_->setObjectName("remotePortEdit");
    QPushButton* connectButton = button(tr("Connect"), "connectButton", connectFrame_);
    auto* connectLayout = new QFormLayout(connectFrame_);
    connectLayout->addRow(tr("Address"), address_);
    connectLayout->addRow(tr("Port"), port_);
    connectLayout->addRow(connectButton);

    remoteFrame_ = new QGroupBox(tr("Sources"), this);
    remoteFrame_->setEnabled(false);
    sources_ = new QListWidget(remoteFrame_);
    sources_->setObjectName("remoteSourceList");
    sources_->setSelectionMode(QAbstractItemView::MultiSelection);
    fromDay_ = new QCheckBox(tr("From"), remoteFrame_);
    fromDay_->setObjectName("fromDayCheck");
    day_ = new QDateEdit(environment_.clock.now().date(), remoteFrame_);
    day_->setObjectName("fromDayEdit");
    day_->setCalendarPopup(true);
    day_->setDisplayFormat("dd/MM/yyyy");
    day_->setEnabled(false);
    QPushButton* requestButton = button(tr("Request"), "requestButton", remoteFrame_);
    requestButton->setToolTip(tr("With no sources listed yet: list the server's sources. "
                                 "Otherwise: download the readings of the sources picked."));
    auto* dayRow = new QHBoxLayout;
    dayRow->addWidget(fromDay_);
    dayRow->addWidget(day_, 1);
    auto* remoteLayout = new QVBoxLayout(remoteFrame_);
    remoteLayout->addWidget(sources_);
    remoteLayout->addLayout(dayRow);
    remoteLayout->addWidget(requestButton);

    counts_ = new QLabel(this);
    counts_->setObjectName("downloadCountsLabel");
    cancel_ = button(tr("Cancel"), "cancelDownloadButton", this);
    cancel_->setToolTip(tr("Stop storing what has come (what is stored stays)"));
    cancel_->setEnabled(false);
    auto* closeBox = new QDialogButtonBox(QDialogButtonBox::Close, this);
    closeBox->addButton(cancel_, QDialogButtonBox::ActionRole);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(connectFrame_);
    layout->addWidget(remoteFrame_, 1);
    layout->addWidget(counts_);
    layout->addWidget(closeBox);

    connect(connectButton, &QPushButton::clicked, this, &RemoteClientDialog::connectToServer);
    connect(requestButton, &QPushButton::clicked, this, &RemoteClientDialog::request);
    connect(fromDay_, &QCheckBox::toggled, day_, &QWidget::setEnabled);
    connect(closeBox, &QDialogButtonBox::rejected, this, &RemoteClientDialog::reject);
    connect(cancel_, &QPushButton::clicked, &download_, &RemoteDownload::cancel);
    connect(&download_.client(), &RemoteClient::connected, this, &RemoteClientDialog::connected);
    connect(&download_.client(), &RemoteClient::closed, this, &RemoteClientDialog::disconnected);
    connect(&download_, &RemoteDownload::listed, this, &RemoteClientDialog::showSources);
    connect(&download_, &RemoteDownload::stored, this, &RemoteClientDialog::deselect);
    connect(&download_, &RemoteDownload::progress, this, &RemoteClientDialog::showCounts);
    showCounts();
}

void RemoteClientDialog::connectToServer()
{
    const std::optional<quint16> port = RemoteClient::portNumber(port_->text());
    if (!port) {
        environment_.boxes.show(windowTitle(), tr("The port must be a number from 1 to 65535."),
                                MessageBoxes::Icon::Exclamation);
        return;
    }
    // A local port that is no port number lets the system choose one.
    const quint16 localPort = RemoteClient::portNumber(loadRemoteSettings(store_).localPort).value_or(0);
    connectFrame_->setEnabled(false);
    download_.client().connectTo(address_->text().trimmed(), *port, localPort);
}

void RemoteClientDialog::connected()
{
    RemoteSettings settings = loadRemoteSettings(store_);
    settings.remoteAddress = address_->text().trimmed();
    settings.remotePort = port_->text().trimmed();
    saveRemoteSettings(store_, settings);
    const QString caption = tr("Connected to ") + settings.remoteAddress;
    connectFrame_->setTitle(caption);
    remoteFrame_->setTitle(caption);
    remoteFrame_->setEnabled(true);
}

void RemoteClientDialog::disconnected()
{
    connectFrame_->setTitle(tr("Server"));
    remoteFrame_->setTitle(tr("Sources"));
    remoteFrame_->setEnabled(false);
    connectFrame_->setEnabled(true);
    if (leaving_)
        finishWhenDone();
}

void RemoteClientDialog::request()
{
    if (sources_->count() == 0) {
        download_.client().requestList();
        return;
    }
    QList<qint32> picked;
    for (int row = 0; row < sources_->count(); ++row) {
        if (sources_->item(row)->isSelected())
            picked << sources_->item(row)->data(Qt::UserRole).toInt();
    }
    download_.request(picked, fromDay_->isChecked() ? std::optional<QDate>(day_->date()) : std::nullopt);
}

void RemoteClientDialog::showSources(const QList<RemoteProtocol::SourceEntry>& sources)
{
    sources_->clear();
    for (const auto& source : sources) {
        auto* item = new QListWidgetItem(source.name, sources_);
        item->setData(Qt::UserRole, source.id);
    }
}

void RemoteClientDialog::deselect(const QString& name)
{
    for (QListWidgetItem* item : sources_->findItems(name, Qt::MatchExactly))
        item->setSelected(false);
}

void RemoteClientDialog::showCounts()
{
    const ImportCounts& counts = download_.counts();
    counts_->setText(tr("Received %1    Stored %2    Already there %3    Not stored %4")
                         .arg(download_.received())
                         .arg(counts.stored)
                         .arg(counts.duplicates)
                         .arg(counts.bad));
    counts_->setToolTip(tr("Not stored: readings of a source this database has no source of the same name "
                           "for, or without a date"));
    cancel_->setEnabled(!download_.idle());
    if (leaving_)
        finishWhenDone();
}

void RemoteClientDialog::finishWhenDone()
{
    if (!download_.client().isOpen() && download_.idle())
        QDialog::reject();
}

void RemoteClientDialog::reject()
{
    if (leaving_)
        return;
    leaving_ = true;
    counts_->setText(counts_->text() + tr("    (closing)"));
    if (download_.client().isOpen())
        download_.client().leave();  // closes when the server does
    else
        finishWhenDone();
}

void RemoteClientDialog::closeEvent(QCloseEvent* event)
{
    event->ignore();
    reject();
}
