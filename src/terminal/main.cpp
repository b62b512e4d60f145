#include "commandline.h"
#include "pluginloader.h"
#include "terminal.h"
#include "terminalapplication.h"

#include <QApplication>
#include <QTimer>

#include <cstdio>

namespace {

void print(FILE* stream, const QString& text)
{
    std::fputs(qUtf8Printable(text), stream);
    std::fflush(stream);
}

int listPlugins(const TerminalOptions& options, int argc, char** argv)
{
    // Listing shows no window, so it needs no display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    PluginLoader loader;
    loader.load(options.pluginDir.isEmpty() ? PluginLoader::defaultDir() : options.pluginDir);
    print(stdout, loader.listing());
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const CommandLine::Result parsed = CommandLine::parse(arguments);
    if (parsed.action == CommandLine::Result::Error) {
        print(stderr, QStringLiteral("optcalc-terminal: %1\n").arg(parsed.error));
        return parsed.exitCode;
    }
    if (parsed.action == CommandLine::Result::ShowHelp) {
        print(stdout, CommandLine::helpText());
        return 0;
    }
    const TerminalOptions& options = parsed.options;
    if (options.listPlugins)
        return listPlugins(options, argc, argv);

    TerminalApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("optcalc-terminal"));
    QApplication::setApplicationVersion(QStringLiteral("0.1"));
    Terminal terminal(options);
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &terminal, &Terminal::shutdown);

    // Armed before the start, which runs inside the event loop: a message box at start must
    // hold off neither the screenshot nor the end.
    if (!options.screenshotFile.isEmpty()) {
        QTimer::singleShot(options.screenshotDelayMs, &terminal, [&terminal, &options] {
            if (terminal.saveScreenshot(options.screenshotFile))
                print(stdout, QObject::tr("Снимок окна: %1\n").arg(options.screenshotFile));
            else
                print(stderr,
                      QObject::tr("Снимок окна не сохранён: %1\n").arg(options.screenshotFile));
        });
    }
    if (options.quitAfterMs >= 0)
        QTimer::singleShot(options.quitAfterMs, &app, &QCoreApplication::quit);

    QTimer::singleShot(0, &terminal, &Terminal::start);
    return app.exec();
}
