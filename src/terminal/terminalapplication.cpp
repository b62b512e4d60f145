#include "terminalapplication.h"

#include "errorreporter.h"

TerminalApplication::TerminalApplication(int& argc, char** argv) : QApplication(argc, argv) {}

TerminalApplication::~TerminalApplication() = default;

bool TerminalApplication::notify(QObject* receiver, QEvent* event)
{
    bool handled = false;
    ErrorReporter::guard(tr("Ошибка"), [&] { handled = QApplication::notify(receiver, event); });
    return handled;
}
