#pragma once

#include <QStringList>
#include <QTextStream>

// The import command: past readings from a saved observations page or the
// station program's history file into a database, as the preferences'
// "Import Data" button does. Prints what the file holds and the counts.
namespace ImportCommand {

// import DATABASE SOURCE FILE [--pages|--history] [--every-record|--cycle N]
// 0 when the whole file was read, 1 when the file, the source or the
// database stopped it (rows stored before stay), 2 for a usage error.
int run(const QStringList& arguments, QTextStream& out, QTextStream& errors);

}  // namespace ImportCommand
