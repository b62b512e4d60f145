// A plug-in whose initialize() throws its message, as a plug-in may.

#include "c_api/iplugin.h"

#include <QObject>

class BrokenPlugin : public QObject, public IPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "optcalc.test.BrokenPlugin")
    Q_INTERFACES(IPlugin)
public:
    QLatin1String pluginName() override { return QLatin1String("brokenplugin"); }
    QString displayName() override { return "Сломанный модуль"; }
    QString vendor() override { return QString(); }
    QString version() override { return "0"; }
    QString description() override { return QString(); }
    bool initialize(ICore*) override { throw QString("модуль сломан"); }
};

#include "brokenplugin.moc"
