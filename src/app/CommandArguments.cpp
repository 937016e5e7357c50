#include "app/CommandArguments.h"

CommandArguments::CommandArguments(QString name, QString usage, const QList<QCommandLineOption>& options,
                                   int leastPositional, int mostPositional)
    : name_(std::move(name)), usage_(std::move(usage)), leastPositional_(leastPositional),
      mostPositional_(mostPositional)
{
    parser_.addOptions(options);
    parser_.addOption({{"h", "help"}, "show this help"});
}

bool CommandArguments::read(const QStringList& arguments, QTextStream& out, QTextStream& errors, int& exitCode)
{
    if (!parser_.parse(QStringList{"nimbrel " + name_} + arguments)) {
        exitCode = usageError(errors, parser_.errorText());
        return false;
    }
    if (parser_.isSet("help")) {
        out << usage_ << Qt::flush;
        exitCode = 0;
        return false;
    }
    const qsizetype count = parser_.positionalArguments().size();
    if (count < leastPositional_ || count > mostPositional_) {
        exitCode = usageError(errors, count < leastPositional_ ? QStringLiteral("too few arguments")
                                                               : "too many arguments (\"" +
                                                                     parser_.positionalArguments().last() + "\")");
        return false;
    }
    return true;
}

int CommandArguments::usageError(QTextStream& errors, const QString& problem) const
{
    errors << "nimbrel " << name_ << ": " << problem << "\n\n" << usage_ << Qt::flush;
    return 2;
}
