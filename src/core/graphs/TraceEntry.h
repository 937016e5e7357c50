#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

// One trace of the history graph: one quantity of one source, in its own
// colour, shifted by a whole number of days.
struct TraceEntry {
    qint32 colour = 0;  // 24-bit RGB, red in the low byte
    qint32 sourceID = 0;
    QString sourceName;
    QString sourceDatabase;  // the database holding the source's History rows
    qint32 dataID = 0;       // the SourceID of its rows in that database
    int dataType = 0;        // a DataTypes number
    bool showNotes = false;  // kept with the trace; nothing is drawn from it
    int offset = 0;          // days: -1 shows the day before on the same axis

    QString typeName() const;
    // "Home: Temperature Out", with " -1" added for an offset of -1.
    QString title() const;
    bool operator==(const TraceEntry&) const = default;
};

// The sixteen standard colours (0 black ... 15 bright white), in the stored
// form.
qint32 standardColour(int index);

// The colour a new trace number `n` (1-based) starts with: 1 light cyan, 2
// light green, 3 light red ... 15 bright white; nothing from the 16th on
// (the trace editor then keeps the colour it showed last).
std::optional<qint32> defaultTraceColour(int n);

// A day offset typed by the user: the leading number rounded to a whole
// number ("2.6" gives 3, "abc" 0), kept within the 16-bit range.
int dayOffsetFromText(const QString& text);
