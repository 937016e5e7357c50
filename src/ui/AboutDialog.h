#pragma once

#include <QDialog>
#include <QStringList>

// Where the platform's system-information tool is: the first of the known
// tools (gnome-system-monitor, hardinfo, lshw-gtk; msinfo32 on Windows) found
// in `folders`, or on the search path when `folders` is empty. An empty text
// when there is none.
QString systemInformationTool(const QStringList& folders = {});

// The About box: the program's version, the project's page and a button that
// starts the system-information tool (disabled, and saying so, when this
// computer has none).
class AboutDialog final : public QDialog {
    Q_OBJECT

public:
    // `projectPage` is the address shown as a link; `tool` the program the
    // button starts (see systemInformationTool).
    AboutDialog(const QString& projectPage, const QString& tool, QWidget* parent = nullptr);

private:
    void startTool();

    QString tool_;
};
