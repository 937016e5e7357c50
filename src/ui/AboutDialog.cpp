#include "ui/AboutDialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

#include "ui/WeatherIcons.h"

QString systemInformationTool(const QStringList& folders)
{
#ifdef Q_OS_WIN
    const QStringList candidates = {"msinfo32"};
#else
    const QStringList candidates = {"gnome-system-monitor", "hardinfo", "lshw-gtk"};
#endif
    for (const QString& name : candidates) {
        const QString found = QStandardPaths::findExecutable(name, folders);
        if (!found.isEmpty())
            return found;
    }
    return {};
}

AboutDialog::AboutDialog(const QString& projectPage, const QString& tool, QWidget* parent)
    : QDialog(parent), tool_(tool)
{
    setObjectName("aboutDialog");
    setWindowTitle(tr("About %1").arg(QApplication::applicationDisplayName()));

    auto* icon = new QLabel(this);
    icon->setPixmap(WeatherIcons::applicationIcon().pixmap(64, 64));
    auto* text = new QLabel(this);
    text->setObjectName("aboutText");
    text->setTextFormat(Qt::RichText);
    text->setOpenExternalLinks(true);
    text->setWordWrap(true);
    text->setText(tr("<h3>Nimbrel</h3>"
                     "<p>Version %1</p>"
                     "<p>A weather-station logger and grapher: it reads your station's current-data "
                     "file, logs every reading into an Access database and keeps your web page fresh.</p>"
                     "<p>Licensed under the GNU General Public License, version 3 or later.</p>"
                     "<p><a href=\"%2\">%2</a></p>")
                      .arg(QApplication::applicationVersion().toHtmlEscaped(), projectPage.toHtmlEscaped()));

    auto* system = new QPushButton(this);
    system->setObjectName("systemInfoButton");
    system->setAutoDefault(false);
    if (tool_.isEmpty()) {
        system->setText(tr("No system information tool found"));
        system->setEnabled(false);
    } else {
        system->setText(tr("System Info..."));
        system->setToolTip(QFileInfo(tool_).fileName());
    }
    connect(system, &QPushButton::clicked, this, &AboutDialog::startTool);

    auto* ok = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(ok, &QDialogButtonBox::accepted, this, &QDialog::accept);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(system);
    buttons->addStretch();
    buttons->addWidget(ok);

    auto* top = new QHBoxLayout;
    top->addWidget(icon, 0, Qt::AlignTop);
    top->addWidget(text, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(buttons);
    setMinimumWidth(420);
}

void AboutDialog::startTool()
{
    if (!QProcess::startDetached(tool_, {}))
        QMessageBox::warning(this, windowTitle(), tr("%1 could not be started.").arg(QFileInfo(tool_).fileName()));
}
