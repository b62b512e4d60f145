#include "errorreporter.h"

#include "c_api/icore.h"

#include <QApplication>
#include <QMessageBox>

namespace {

ErrorReporter::Sink& sink()
{
    static ErrorReporter::Sink installed;
    return installed;
}

} // namespace

void ErrorReporter::setSink(Sink installed)
{
    sink() = std::move(installed);
}

void ErrorReporter::report(const QString& title, const QString& text)
{
    if (sink()) {
        sink()(title, text);
        return;
    }
    qWarning("%s: %s", qPrintable(title), qPrintable(text));
    // Without widgets (--list-plugins) the log is all there is.
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return;
    ICore* core = ICore::instance();
    QMessageBox::warning(core ? core->mainWindow() : nullptr, title, text);
}
