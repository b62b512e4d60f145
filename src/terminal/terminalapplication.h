#pragma once

#include <QApplication>

// The terminal's application object. An exception that a plug-in lets out of an event
// handler or a slot would otherwise end the program; here it is reported to the user
// (ErrorReporter) and the event counts as not handled.
class TerminalApplication : public QApplication
{
    Q_OBJECT

public:
    TerminalApplication(int& argc, char** argv);
    ~TerminalApplication() override;

    bool notify(QObject* receiver, QEvent* event) override;
};
