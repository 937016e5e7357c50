#pragma once

#include <QString>

// Where the error routine sends a message: what the preferences say at the
// moment of the message.
struct ErrorRouting {
    bool unattended = false;  // false: show a message box; true: log (and mail)
    QString logFile;          // the error log; empty: no line is written
    bool mail = false;        // also mail each message (unattended only)
    QString mailServer;
    QString mailFrom;
    QString mailTo;           // one or more addresses separated by ";"
    QString mailUser;         // empty: no authentication
    QString mailPassword;
};

// The source of the routing, asked at every message (the live preferences).
class ErrorRoutingSource {
public:
    virtual ~ErrorRoutingSource() = default;
    virtual ErrorRouting errorRouting() const = 0;
};
