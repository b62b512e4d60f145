// A plug-in as the terminal expects one: a view factory and a command in a menu of its own.
// The factory throws for the key "throw", as a plug-in's factory may.

#include "c_api/icore.h"
#include "c_api/iplugin.h"
#include "c_api/iview.h"
#include "c_api/iviewfactory.h"
#include "c_api/iviewprovider.h"
#include "gui/actionmanager.h"
#include "gui/command.h"
#include "gui/commandcontainer.h"

#include <QMenu>
#include <QWidget>

class GoodView : public QWidget, public IView
{
    Q_OBJECT
    Q_INTERFACES(IView)
public:
    explicit GoodView(QWidget* parent) : QWidget(parent) { setWindowTitle("Вид модуля"); }
    void initCore(ICore*) override {}
    QList<IViewSettingsPage*> getSettingsPages(QObject*) override { return {}; }
    void populateActionsAt(const QPoint&, QMenu* menu) override { menu->addAction("Действие"); }
    void store(Settings&) const override {}
    void restore(const Settings&, const Settings&) override {}
    QSize defaultSize() override { return QSize(300, 200); }
};

class GoodFactory : public QObject, public IViewFactory
{
    Q_OBJECT
    Q_INTERFACES(IViewFactory)
public:
    explicit GoodFactory(QObject* parent) : QObject(parent) {}
    QByteArray viewId() override { return "GoodView"; }
    QString displayName() override { return "Вид модуля"; }
    IView* create(const QString& extraKey, QWidget* parent) override
    {
        if (extraKey == "throw")
            throw QString("фабрика отказала");
        return new GoodView(parent);
    }
};

class GoodPlugin : public QObject, public IPlugin, public IViewProvider
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "optcalc.test.GoodPlugin")
    Q_INTERFACES(IPlugin IViewProvider)
    Q_PROPERTY(int initializeCount MEMBER m_initializeCount)
public:
    GoodPlugin() : m_factory(new GoodFactory(this)) {}
    QLatin1String pluginName() override { return QLatin1String("goodplugin"); }
    QString displayName() override { return "Хороший модуль"; }
    QString vendor() override { return "Поставщик"; }
    QString version() override { return "1.2.3"; }
    QString description() override { return "Модуль для проверки"; }
    bool initialize(ICore*) override
    {
        ++m_initializeCount;
        auto* command = new Command("Test.hello", this);
        command->setDefaultText("Привет");
        ActionManager::instance()
            ->container("TestMenu", "&Проверка", "MenuBar", QByteArray(), "50")
            ->addCommand(command);
        return true;
    }
    QList<IViewFactory*> viewFactories() override { return {m_factory}; }

private:
    GoodFactory* m_factory;
    int m_initializeCount = 0;
};

#include "goodplugin.moc"
