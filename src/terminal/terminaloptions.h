#pragma once

#include <QList>
#include <QString>

// One view to open at start: --open VIEWID:KEY.
struct OpenRequest
{
    QString viewId;
    QString key;

    bool operator==(const OpenRequest& other) const
    {
        return viewId == other.viewId && key == other.key;
    }
};

// What the command line asks of the terminal. The defaults are a plain start on the
// simulated exchange.
struct TerminalOptions
{
    enum class Market { Simulated, Csv };

    // Empty: the user's configuration folder.
    QString configDir;
    // Empty: "plugins" beside the executable.
    QString pluginDir;
    Market market = Market::Simulated;
    // The folder of the snapshot files of --market csv:DIR.
    QString csvDir;
    quint64 seed = 1;
    // Batches of market changes per second.
    int tickRate = 5;
    // Tens of thousands of instruments instead of a few hundred.
    bool large = false;
    QList<OpenRequest> open;
    // Empty: no screenshot.
    QString screenshotFile;
    int screenshotDelayMs = 0;
    // Negative: run until the user quits.
    int quitAfterMs = -1;
    bool listPlugins = false;
    // A first start (no workspace yet) opens the market view, so that a new user sees the
    // feed at once.
    bool marketOnFirstStart = true;
};
