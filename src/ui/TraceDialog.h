#pragma once

#include "core/graphs/TraceEntry.h"
#include "core/sources/SourceLists.h"

#include <QDialog>

#include <optional>

class Choosers;
class MessageBoxes;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

// The trace editor: a source, a quantity, a colour, a day offset and the
// notes mark of one new trace. Made once and reused: the source and
// quantity chosen stay chosen; each prepare() clears the rest and offers the
// next trace's default colour.
class TraceDialog final : public QDialog {
    Q_OBJECT

public:
    TraceDialog(MessageBoxes& boxes, Choosers& choosers, QWidget* parent = nullptr);

    // Ready for trace number `traceNumber` (1-based) of the given sources.
    void prepare(int traceNumber, const QList<SourceLists::ListEntry>& sources);
    // The trace as chosen, after Add (nothing after Cancel). Its database
    // and data id are those of the source, filled in by the graph.
    std::optional<TraceEntry> trace() const { return trace_; }

    void reject() override;

private:
    void add();
    void chooseColour();
    void showColour(qint32 colour);

    MessageBoxes& boxes_;
    Choosers& choosers_;
    QComboBox* sources_ = nullptr;
    QComboBox* types_ = nullptr;
    QLabel* swatch_ = nullptr;
    QCheckBox* showNotes_ = nullptr;
    QLineEdit* offset_ = nullptr;
    qint32 colour_ = 0;
    std::optional<TraceEntry> trace_;
};
