#pragma once

#include <QCoreApplication>
#include <QString>

#include <exception>
#include <functional>

// Tells the user of a failure the terminal survives, such as a plug-in that throws out of
// initialize() or a view factory that throws out of create(). By default the failure goes
// to the log and into a message box over the main window; tests install a sink instead.
class ErrorReporter
{
    Q_DECLARE_TR_FUNCTIONS(ErrorReporter)

public:
    using Sink = std::function<void(const QString& title, const QString& text)>;

    // An empty sink restores the default.
    static void setSink(Sink sink);
    static void report(const QString& title, const QString& text);

    // Runs the call; whatever it throws is reported under the title and goes no further.
    // Plug-ins throw their messages as QString. True when the call returned normally.
    template <typename Call> static bool guard(const QString& title, Call&& call)
    {
        try {
            call();
            return true;
        } catch (const QString& message) {
            report(title, message);
        } catch (const std::exception& e) {
            report(title, QString::fromLocal8Bit(e.what()));
        } catch (...) {
            report(title, tr("Неизвестная ошибка"));
        }
        return false;
    }
};
