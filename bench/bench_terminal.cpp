// The load of the terminal's main thread under the large simulated market (about 9,800
// instrument updates a tick, one tick a second) with the market view open, offscreen:
// main-thread CPU time over wall time.
#include "benchutil.h"

#include "c_api/tableregistry.h"
#include "database/table.h"
#include "terminal/terminal.h"
#include "terminal/terminalcore.h"
#include "terminal/terminaloptions.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <ctime>

namespace {

double threadCpuSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    TerminalOptions options;
    options.configDir = dir.filePath(QStringLiteral("config"));
    options.pluginDir = dir.filePath(QStringLiteral("plugins"));
    options.large = true;
    options.tickRate = 1;
    options.open.append({QStringLiteral("Market"), QString()});
    Terminal terminal(options);
    terminal.start();

    // Settle first: listing the market and opening the view are not the load in question.
    QTimer::singleShot(1500, &app, &QApplication::quit);
    app.exec();

    const double cpuStart = threadCpuSeconds();
    QElapsedTimer wall;
    wall.start();
    QTimer::singleShot(10000, &app, &QApplication::quit);
    app.exec();
    const double load = (threadCpuSeconds() - cpuStart) / (double(wall.nsecsElapsed()) * 1e-9);
    Table* securities = terminal.core()->tables()->table(QStringLiteral("securities"));
    std::printf("securities: %d rows\n", securities ? securities->rowCount() : -1);
    terminal.shutdown();
    printFigure("terminal.main_thread_load_10k_ticks", load);
    return 0;
}
