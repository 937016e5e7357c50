#pragma once

#include "core/cycle/CycleWorker.h"

#include <QWidget>

class GraphView;
class QDateEdit;
class QPushButton;

// The "History Graph" tab: the date pickers with their day buttons, the
// Refresh button and the graph. It only asks (through its signals) and shows
// what comes back (show()); the graph is drawn on the worker thread.
class HistoryGraphTab final : public QWidget {
    Q_OBJECT

public:
    explicit HistoryGraphTab(QWidget* parent = nullptr);

    void show(const GraphUpdate& update);
    GraphView* view() const { return view_; }

signals:
    void rangeEdited(const QDate& from, const QDate& to);
    void stepWanted(CycleWorker::DateStep which, int days);
    void refreshWanted();

private:
    QPushButton* dayButton(const QString& text, const QString& name, const QString& tip,
                           CycleWorker::DateStep which, int days);
    // A single-day graph is set by its end date alone.
    void applyDayOnly(bool singleDay);

    QDateEdit* from_ = nullptr;
    QDateEdit* to_ = nullptr;
    QPushButton* fromBack_ = nullptr;
    QPushButton* fromForward_ = nullptr;
    GraphView* view_ = nullptr;
};
