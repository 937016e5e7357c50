#pragma once

#include <QString>
#include <QtGlobal>

// Where one source's readings are: its database file and the SourceID its
// rows carry there. A source whose database is empty has nothing to show.
struct SummarySource {
    QString name;
    QString database;
    qint32 dataID = 0;
};
