#include "terminalcore.h"

#include "optionsdialog.h"
#include "viewsettingsdialog.h"

#include <QMainWindow>
#include <QStatusBar>

TerminalCore::TerminalCore(QObject* parent) : ICore(parent)
{
    setOptionsHandler([this](const OptionsRequest& request) {
        OptionsDialog dialog(this, request, request.parent ? request.parent.data() : mainWindow());
        dialog.exec();
    });
    setViewSettingsHandler([this](IView* view, QWidget* parent) {
        ViewSettingsDialog::showFor(view, parent ? parent : mainWindow());
    });
    setStatusHandler([this](const QString& text, int timeoutMs) {
        auto* window = qobject_cast<QMainWindow*>(mainWindow());
        if (window)
            window->statusBar()->showMessage(text, timeoutMs);
        else
            qInfo("%s", qPrintable(text));
    });
}

TerminalCore::~TerminalCore() = default;
