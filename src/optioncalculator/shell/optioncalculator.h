#pragma once

#include "c_api/iplugin.h"
#include "c_api/iviewprovider.h"

#include <QList>
#include <QObject>

class IViewFactory;

// The root object of the calculator plug-in: its names for the terminal, the trade menu
// entry and the calculator's commands made at initialization, and the one view factory,
// that of the calculator windows.
class OptionCalculator : public QObject, public IPlugin, public IViewProvider
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tarnel.plugin.optioncalculator" FILE "optioncalculator.json")
    Q_INTERFACES(IPlugin IViewProvider)

public:
    OptionCalculator();
    ~OptionCalculator() override;

    // IPlugin
    QLatin1String pluginName() override;
    QString displayName() override;
    QString vendor() override;
    QString version() override;
    QString description() override;
    bool initialize(ICore* core) override;
    void pluginHookFirst() override;
    void pluginHookSecond() override;

    // IViewProvider
    QList<IViewFactory*> viewFactories() override;

private:
    void addTradeMenuEntry();
    bool registerCommands();

    QList<IViewFactory*> m_factories;
};
