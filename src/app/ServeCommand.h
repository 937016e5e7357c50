#pragma once

#include <QStringList>
#include <QTextStream>

// nimbrel serve DATABASE [--port N] [--bind ADDRESS] [--allow CIDR]...:
// serves the readings of DATABASE to remote collection clients until
// SIGTERM or SIGINT. Logs a line per connection and request on `log`.
// Exit code 0 after a stop signal, 1 when it cannot serve, 2 on a usage error.
namespace ServeCommand {
int run(const QStringList& arguments, QTextStream& out, QTextStream& log);
}
