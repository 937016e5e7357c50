#include "app/ServeCommand.h"

#include "app/CommandArguments.h"
#include "app/ErrorLines.h"
#include "app/ProcessSignals.h"

#include "core/remote/RemoteServer.h"
#include "core/text/Clock.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>

#include <csignal>

namespace ServeCommand {

namespace {

const char* const kUsage =
    "Usage: nimbrel serve DATABASE [--port N] [--bind ADDRESS] [--allow CIDR]...\n"
    "Serves the sources and readings of DATABASE to the Remote Data D/L of other\n"
    "Nimbrels, read-only, until stopped (SIGTERM or Ctrl+C).\n"
    "  --port N          the port to listen on (default 5850)\n"
    "  --bind ADDRESS    the address to listen on (default 127.0.0.1: this computer\n"
    "                    only; 0.0.0.0 for every network the computer is on)\n"
    "  --allow CIDR      answer only peers in this network, e.g. 192.168.1.0/24;\n"
    "                    may be given more than once\n"
    "The protocol has no password: serve on a home network only.\n";

// The options after the database, or the usage problem.
std::optional<ServerOptions> parse(const CommandArguments& parser, QString& problem)
{
    ServerOptions options;
    if (parser.isSet("port")) {
        bool number = false;
        const int port = parser.value("port").toInt(&number);
        if (!number || port < 0 || port > 65535) {
            problem = "--port wants a number from 1 to 65535 (0: any free port)";
            return std::nullopt;
        }
        options.port = quint16(port);
    }
    if (parser.isSet("bind") && !options.bind.setAddress(parser.value("bind"))) {
        problem = "--bind wants an address such as 127.0.0.1 or 0.0.0.0, not \"" + parser.value("bind") + "\"";
        return std::nullopt;
    }
    for (const QString& allowed : parser.values("allow")) {
        const auto subnet = QHostAddress::parseSubnet(allowed);
        if (subnet.first.isNull()) {
            problem = "--allow wants a network such as 192.168.1.0/24, not \"" + allowed + "\"";
            return std::nullopt;
        }
        options.allowed.append(subnet);
    }
    return options;
}

}  // namespace

int run(const QStringList& arguments, QTextStream& out, QTextStream& log)
{
    CommandArguments parser("serve", kUsage,
                            {{"port", "the port to listen on", "N"},
                             {"bind", "the address to listen on", "ADDRESS"},
                             {"allow", "answer only peers in this network", "CIDR"}},
                            1, 1);
    if (int code = 0; !parser.read(arguments, out, log, code))
        return code;
    QString problem;
    std::optional<ServerOptions> options = parse(parser, problem);
    if (!options)
        return parser.usageError(log, problem);
    options->database = parser.positional().front();
    if (!QFileInfo(options->database).isFile()) {
        log << "nimbrel serve: no database " << options->database << Qt::endl;
        return 1;
    }

    ErrorLines lines(log);
    SystemClock clock;
    const Environment environment{lines, lines, clock};
    RemoteServer server(*options, environment, [&log](const QString& line) {
        log << QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss ") << line << Qt::endl;
    });
    QString error;
    if (!server.listen(error)) {
        log << "nimbrel serve: " << error << Qt::endl;
        return 1;
    }
    log << "nimbrel serve: serving " << options->database << " on " << options->bind.toString() << " port "
        << server.port() << Qt::endl;
    onSignals([&](int signal) {
        log << "nimbrel serve: stopping (" << (signal == SIGTERM ? "SIGTERM" : "SIGINT") << ")" << Qt::endl;
        server.close();
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}

}  // namespace ServeCommand
