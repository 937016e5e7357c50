#pragma once

#include "core/cycle/DatabaseService.h"
#include "core/errors/BusyIndicator.h"
#include "core/errors/ErrorReporter.h"
#include "core/plot/Chart.h"
#include "core/sources/SourceLists.h"
#include "core/summaries/SummarySource.h"
#include "core/summaries/SummaryTable.h"
#include "mdb/Result.h"

#include <QWidget>

#include <functional>
#include <optional>

class ChartView;
class Choosers;
class DataTableView;
class QComboBox;
class QHBoxLayout;
class QVBoxLayout;
class SettingsModel;
class SummaryTableModel;

// What the summary tabs work with; all of it outlives the tabs.
struct SummaryTools {
    DatabaseService& service;         // the worker: every read and every picture
    const SettingsModel& settings;    // the database, the screen's colours, the axes
    const Environment& environment;   // the error routine and the wait cursor
    Choosers& choosers;               // for "Save as CSV..."
};

// What the summary tabs share: a row of controls with the source list, the
// chart (drawn on the worker) beside the table of its figures, and reading
// on the worker. A tab asks and shows what comes back; it never opens the
// database itself.
class SummaryTab : public QWidget {
    Q_OBJECT

public:
    // Fills the source list, chooses the first source and draws.
    void setSources(const QList<SourceLists::ListEntry>& sources);
    // Draws the summary the controls ask for; nothing without a source.
    virtual void draw() = 0;

    ChartView* chartView() const { return chart_; }
    DataTableView* table() const { return table_; }

protected:
    // `name` names the parts (name + "SourceList", name + "Chart", …).
    SummaryTab(const SummaryTools& tools, const QString& name, QWidget* parent);

    QComboBox* sourceList() const { return sources_; }
    // The row above the chart; it holds the source list.
    QHBoxLayout* controls() const { return controls_; }
    // The column beside the chart, above the table.
    QVBoxLayout* side() const { return side_; }

    // Runs `work` on the worker with the chosen source, then `done` on the
    // window's thread with its result, or with none when it failed: the
    // failure has then gone to the error routine as "Database Read Error: "
    // and a line break before its description. Without a chosen source, or
    // with one that keeps no readings, nothing happens.
    template <typename T>
    void read(std::function<mdb::Result<T>(const SummarySource&)> work,
              std::function<void(const std::optional<T>&)> done);

    void show(plot::Chart chart, SummaryTable table);
    QColor textColour() const;
    QColor backgroundColour() const;

    const SummaryTools tools_;

private:
    std::optional<qint32> currentSourceID() const;
    QString databasePath() const;

    QComboBox* sources_ = nullptr;
    QHBoxLayout* controls_ = nullptr;
    QVBoxLayout* side_ = nullptr;
    ChartView* chart_ = nullptr;
    SummaryTableModel* model_ = nullptr;
    DataTableView* table_ = nullptr;
};

template <typename T>
void SummaryTab::read(std::function<mdb::Result<T>(const SummarySource&)> work,
                      std::function<void(const std::optional<T>&)> done)
{
    if (!currentSourceID())
        return;
    using Outcome = std::optional<std::optional<T>>;  // none: no source to read
    tools_.service.request<Outcome>(
        this,
        [work = std::move(work), database = databasePath(), sourceID = *currentSourceID(),
         &environment = tools_.environment]() -> Outcome {
            const BusyScope busy(environment.busy);
            const std::optional<SummarySource> source = SummarySource::find(database, sourceID, environment);
            if (!source)
                return std::nullopt;
            mdb::Result<T> result = work(*source);
            if (!result) {
                environment.errors.report("Database Read Error: \r\n" + QString::fromStdString(result.error().message));
                return std::optional<T>();
            }
            return std::optional<T>(std::move(*result));
        },
        [done = std::move(done)](const Outcome& outcome) {
            if (outcome)
                done(*outcome);
        });
}
