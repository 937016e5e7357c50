#pragma once

#include "core/errors/Environment.h"
#include "core/import/HistoryImport.h"

#include <QDialog>

#include <atomic>
#include <memory>

class DatabaseService;
class QLabel;
class QProgressBar;
class QPushButton;
class QRadioButton;

// What an import is to do.
struct ImportRequest {
    enum class Kind { Pages, StationHistory };
    Kind kind = Kind::Pages;
    QString file;
    QString database;  // the Primary database
    qint32 sourceID = 0;
    int cycleMinutes = 10;  // the log cycle, offered for a station history
};

// The "Data Import" dialog: imports one file on the worker while it shows
// how far it is (records read, stored, already there, bad) with a Cancel
// button; the window stays usable. A station history first shows what it
// holds and asks for every record or one per log cycle. At the end a
// message box says "N records imported" (or why the import stopped) and the
// dialog closes itself. Cancel keeps what was stored; importing the file
// again stores the rest and nothing twice.
class ImportDialog final : public QDialog {
    Q_OBJECT

public:
    ImportDialog(ImportRequest request, DatabaseService& service, const Environment& environment,
                 QWidget* parent = nullptr);

    // Shows the dialog; a page import starts at once.
    void begin();

signals:
    void importDone(const ImportOutcome& outcome);

protected:
    void reject() override;

private:
    void start();
    void showCounts(const ImportCounts& counts, double done);
    void finish(const ImportOutcome& outcome);

    ImportRequest request_;
    DatabaseService& service_;
    const Environment& environment_;
    std::shared_ptr<std::atomic<bool>> cancel_ = std::make_shared<std::atomic<bool>>(false);
    bool running_ = false;
    QLabel* about_ = nullptr;
    QRadioButton* everyRecord_ = nullptr;
    QRadioButton* perCycle_ = nullptr;
    QProgressBar* bar_ = nullptr;
    QLabel* counts_ = nullptr;
    QPushButton* start_ = nullptr;
    QPushButton* cancelButton_ = nullptr;
};
