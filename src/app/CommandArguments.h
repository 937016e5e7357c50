#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTextStream>

// The arguments of one command, read the same way for every command:
// --help prints its usage on `out`; an unknown option, an option without
// its value, or positional arguments too few or too many are usage errors
// (the problem and the usage on `errors`, exit code 2); "--" ends the
// options. The command's own checks end the same way through usageError().
class CommandArguments {
public:
    // `name` as in "nimbrel NAME"; `usage` begins with "Usage: nimbrel NAME".
    CommandArguments(QString name, QString usage, const QList<QCommandLineOption>& options, int leastPositional,
                     int mostPositional);

    // False when the command is over: its help was printed (exit code 0)
    // or a usage error reported (2); `exitCode` says which.
    bool read(const QStringList& arguments, QTextStream& out, QTextStream& errors, int& exitCode);

    bool isSet(const QString& option) const { return parser_.isSet(option); }
    QString value(const QString& option) const { return parser_.value(option); }
    QStringList values(const QString& option) const { return parser_.values(option); }
    QStringList positional() const { return parser_.positionalArguments(); }

    // Prints "nimbrel NAME: problem" and the usage on `errors`; returns 2.
    int usageError(QTextStream& errors, const QString& problem) const;
    const QString& usage() const { return usage_; }

private:
    QString name_;
    QString usage_;
    QCommandLineParser parser_;
    int leastPositional_;
    int mostPositional_;
};
