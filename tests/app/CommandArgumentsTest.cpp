#include "support/TestSupport.h"

#include "ProgramRun.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

// The commands as `nimbrel --help` lists them.
QStringList commands()
{
    const ProgramRun help = nimbrel({"--help"});
    QStringList found;
    const QRegularExpression line("^  ([a-z][a-z-]+) ", QRegularExpression::MultilineOption);
    for (auto match = line.globalMatch(help.out); match.hasNext();) {
        const QString command = match.next().captured(1);
        if (!found.contains(command))
            found << command;
    }
    return found;
}

// The options a text names ("--from", "--every-record").
QStringList optionsIn(const QString& text)
{
    QStringList found;
    const QRegularExpression option("--[a-z][a-z-]*");
    for (auto match = option.globalMatch(text); match.hasNext();)
        found << match.next().captured(0);
    found.removeDuplicates();
    return found;
}

}  // namespace

// Every command answers --help with its usage, and refuses an unknown option,
// an option without its value and arguments too many the same way: exit code
// 2, the problem and the usage on standard error.
TEST(CommandArguments, EveryCommandReadsItsArgumentsAlike)
{
    const QStringList all = commands();
    for (const char* expected : {"read", "mdb-dump", "create-db", "verify-db", "export-graph", "simulate", "summary",
                                 "import", "run", "serve", "bench"})
        EXPECT_TRUE(all.contains(expected)) << expected << " is not in --help";
    for (const QString& command : all) {
        const ProgramRun help = nimbrel({command, "--help"});
        EXPECT_EQ(help.exitCode, 0) << command.toStdString();
        EXPECT_TRUE(help.out.startsWith("Usage:")) << command.toStdString() << ": " << help.out.toStdString();

        const ProgramRun unknown = nimbrel({command, "--no-such-option"});
        EXPECT_EQ(unknown.exitCode, 2) << command.toStdString();
        EXPECT_TRUE(unknown.err.startsWith("nimbrel " + command + ": Unknown option 'no-such-option'."))
            << command.toStdString() << ": " << unknown.err.toStdString();
        EXPECT_TRUE(unknown.err.contains("Usage:")) << command.toStdString();

        const ProgramRun many = nimbrel({command, "a", "b", "c", "d", "e", "f"});
        EXPECT_EQ(many.exitCode, 2) << command.toStdString();
        EXPECT_TRUE(many.err.contains("Usage:")) << command.toStdString();
    }
    for (const QStringList& valueMissing : {QStringList{"import", "--cycle"}, QStringList{"serve", "--port"},
                                            QStringList{"export-graph", "--to"}, QStringList{"run", "--settings"},
                                            QStringList{"summary", "--type"}}) {
        const ProgramRun run = nimbrel(valueMissing);
        EXPECT_EQ(run.exitCode, 2) << valueMissing.join(' ').toStdString();
        EXPECT_TRUE(run.err.contains("Missing value after")) << run.err.toStdString();
    }
    TempFolder folder;
    const ProgramRun dashed = nimbrel({"read", "--", folder.file("--feed")});
    EXPECT_EQ(dashed.exitCode, 1) << "after --, \"--feed\" is a file name";
    EXPECT_TRUE(dashed.out.startsWith("Result: false"));
}

// The manual page names every command of --help and every option of each
// command's --help.
TEST(CommandArguments, ManualPageNamesEveryCommandAndOption)
{
    QFile page(QStringLiteral(NIMBREL_MANUAL_PAGE));
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    const QString manual = QString::fromUtf8(page.readAll()).remove(u'\\');
    QStringList options = optionsIn(nimbrel({"--help"}).out);
    for (const QString& command : commands()) {
        EXPECT_TRUE(manual.contains(".BI \"" + command) || manual.contains(".B " + command) ||
                    manual.contains(".BI " + command))
            << command.toStdString() << " is not in the manual page";
        options << optionsIn(nimbrel({command, "--help"}).out);
    }
    options.removeDuplicates();
    for (const QString& option : options)
        EXPECT_TRUE(manual.contains(option)) << option.toStdString() << " is not in the manual page";
}
