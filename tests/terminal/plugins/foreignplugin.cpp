// A Qt plug-in of some other program: its root object is no IPlugin.

#include <QObject>

class ForeignPlugin : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "optcalc.test.ForeignPlugin")
};

#include "foreignplugin.moc"
