#pragma once

#include "terminaloptions.h"

#include <QCoreApplication>
#include <QString>
#include <QStringList>

// The terminal's command line. Parsing has no side effects (no exit, no output), so the
// caller decides what to print and with which exit code.
class CommandLine
{
    Q_DECLARE_TR_FUNCTIONS(CommandLine)

public:
    // Exit code of a command line that cannot be understood.
    static constexpr int UsageErrorExitCode = 2;

    struct Result
    {
        enum Action { Run, ShowHelp, Error };
        Action action = Run;
        TerminalOptions options;
        // For Error: one line in Russian naming the option and what is wrong with it.
        QString error;
        // 0 for Run and ShowHelp, UsageErrorExitCode for Error.
        int exitCode = 0;
    };

    // The arguments as main() gets them, the program's name first.
    static Result parse(const QStringList& arguments);
    static QString helpText();
};
