#include "terminal/errorreporter.h"
#include "terminal/mainwindow.h"
#include "terminal/marketsource.h"
#include "terminal/marketview.h"
#include "terminal/optionsdialog.h"
#include "terminal/orderstable.h"
#include "terminal/pluginloader.h"
#include "terminal/postponedordersview.h"
#include "terminal/terminal.h"
#include "terminal/terminalcore.h"
#include "terminal/viewframe.h"
#include "terminal/windowmanager.h"
#include "terminal/workspace.h"

#include "c_api/ioptionspage.h"
#include "c_api/iview.h"
#include "c_api/iviewfactory.h"
#include "c_api/iviewsettingspage.h"
#include "c_api/tableregistry.h"
#include "c_api/viewregistry.h"
#include "connections_model/connectionsmanager.h"
#include "database/masterindexcolumn.h"
#include "basic_views/tableindexmodel.h"
#include "database/table.h"
#include "database/settings.h"

#include "gui/menutext.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTableWidget>
#include <QtTest>

#include <memory>

namespace {

// What the test views and pages went through.
struct Log
{
    QStringList restored; // "first|second|nested" per restore
    int applied = 0;
    QString pageSaw;
    int pagesFinished = 0;
    void clear() { *this = Log(); }
};
Log s_log;

// A view settings page that renames the view, as the view's title page does.
class TitlePage : public IViewSettingsPage
{
public:
    QString id() override { return "Title"; }
    QString displayName() override { return "Заголовок"; }
    QIcon categoryIcon() override { return QIcon(); }
    void finish() override { ++s_log.pagesFinished; }
    QWidget* createPage(const Settings& settings, QWidget* parent) override
    {
        s_log.pageSaw = settings.value("content").toString();
        return new QLineEdit(s_log.pageSaw, parent);
    }
    void apply(Settings& settings) override { settings.setValue("userTitle", "Новое имя"); }
};

// A view whose store() writes its key, flat and in a nested group.
class KeyView : public QWidget, public IView
{
    Q_OBJECT
    Q_INTERFACES(IView)
public:
    KeyView(const QString& key, QWidget* parent) : QWidget(parent), m_key(key) {}
    void initCore(ICore*) override {}
    QList<IViewSettingsPage*> getSettingsPages(QObject*) override { return {new TitlePage}; }
    void populateActionsAt(const QPoint&, QMenu*) override {}
    void store(Settings& settings) const override
    {
        settings.setValue("content", "content of " + m_key);
        settings.beginGroup("nested");
        settings.setValue("length", m_key.size());
        settings.endGroup();
    }
    void restore(const Settings& first, const Settings& second) override
    {
        second.beginGroup("nested");
        const QString nested = second.value("length").toString();
        second.endGroup();
        s_log.restored << first.value("content").toString() + "|" +
                              second.value("content").toString() + "|" + nested;
    }
    void apply() override { ++s_log.applied; }
    QSize defaultSize() override { return QSize(320, 240); }

private:
    QString m_key;
};

class KeyViewFactory : public IViewFactory
{
public:
    QByteArray viewId() override { return "KeyView"; }
    QString displayName() override { return "Вид ключа"; }
    IView* create(const QString& key, QWidget* parent) override { return new KeyView(key, parent); }
};

// A securities table with the terminal's key and names, as a market feed fills it.
class FakeFeed : public MarketSource
{
public:
    FakeFeed() : securities("securities")
    {
        securities.addColumn("stock_id", FieldType::Integer, 0, false, "Биржа");
        securities.addColumn("board_id", FieldType::Integer, 0, false, "Режим");
        securities.addColumn("sec_id", FieldType::Integer64, 0, false, "Инструмент");
        securities.setMasterIndex(
            MasterIndex_Column::create(&securities, {"stock_id", "board_id", "sec_id"}));
        securities.addColumn("sec_name", FieldType::String, 40, true, "Название");
        Record row(&securities);
        row.data("stock_id") = 1;
        row.data("board_id") = 1;
        row.data("sec_id") = 100LL;
        row.data("sec_name") = QString("RIM5");
        securities.insertRecord(row);
    }
    QList<QPair<QString, Table*>> tables() const override
    {
        return {{"securities", const_cast<Table*>(&securities)}};
    }
    void start() override { running = true; }
    void stop() override { running = false; }

    Table securities;
    bool running = false;
};

class LoggedPage : public IOptionsPage
{
public:
    LoggedPage(const QString& category, const QString& id, QStringList* log)
        : m_category(category), m_id(id), m_log(log)
    {
    }
    QString id() override { return m_id; }
    QString displayName() override { return m_id; }
    QString category() override { return m_category; }
    QString displayCategory() override { return m_category; }
    QIcon categoryIcon() override { return QIcon(); }
    void finish() override { *m_log << "finish " + m_id; }
    QWidget* createPage(QWidget* parent) override
    {
        *m_log << "create " + m_id;
        return new QWidget(parent);
    }
    void apply() override { *m_log << "apply " + m_id; }

private:
    QString m_category;
    QString m_id;
    QStringList* m_log;
};

QStringList menuTitles(const QMenuBar* bar)
{
    QStringList titles;
    for (const QAction* action : bar->actions())
        titles << action->text();
    return titles;
}

int transportStatus()
{
    ConnectionsManager* connections = ConnectionsManager::instance();
    return connections->transportStatus(connections->index("KESTREL"));
}

} // namespace

class TestTerminalHost : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void pluginsLoadedOrReported();
    void viewsOfPlugins();
    void workspaceRoundTrip();
    void corruptWorkspace_data();
    void corruptWorkspace();
    void marketFeedSeam();
    void postponedOrders();
    void optionsDialogPages();
    void viewSettingsDialog();

private:
    TerminalOptions options(const QString& pluginDir = QString()) const;
    QString workspaceFile() const { return m_dir->filePath("config/workspace.ini"); }

    std::unique_ptr<QTemporaryDir> m_dir;
    QStringList m_reported;
};

void TestTerminalHost::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    QDir(m_dir->path()).mkpath("empty-plugins");
    m_reported.clear();
    s_log.clear();
    ErrorReporter::setSink(
        [this](const QString& title, const QString& text) { m_reported << title + ": " + text; });
}

void TestTerminalHost::cleanup()
{
    ErrorReporter::setSink(nullptr);
    m_dir.reset();
}

TerminalOptions TestTerminalHost::options(const QString& pluginDir) const
{
    TerminalOptions o;
    o.configDir = m_dir->filePath("config");
    o.pluginDir = pluginDir.isEmpty() ? m_dir->filePath("empty-plugins") : pluginDir;
    o.marketOnFirstStart = false;
    return o;
}

void TestTerminalHost::pluginsLoadedOrReported()
{
    Terminal terminal(options(TEST_PLUGIN_DIR));
    terminal.start();

    QMap<QString, PluginRecord> byFile;
    for (const PluginRecord& r : terminal.plugins()->records())
        byFile.insert(QFileInfo(r.fileName).fileName(), r);
    QCOMPARE(byFile.keys(), QStringList({"libnotaplugin.so", "libtst_brokenplugin.so",
                                         "libtst_foreignplugin.so", "libtst_goodplugin.so"}));
    const PluginRecord good = byFile.value("libtst_goodplugin.so");
    QCOMPARE(good.state, PluginRecord::Initialized);
    QCOMPARE(byFile.value("libtst_brokenplugin.so").state, PluginRecord::Failed);
    QVERIFY(byFile.value("libtst_foreignplugin.so").error.contains("IPlugin"));
    QCOMPARE(byFile.value("libnotaplugin.so").state, PluginRecord::Failed);

    // The one throw reached the user; the terminal went on.
    QCOMPARE(m_reported.size(), 1);
    QVERIFY2(m_reported.first().contains("модуль сломан"), qPrintable(m_reported.first()));

    // Initialized once, even when asked again; the only plug-in the core knows.
    terminal.plugins()->initialize(terminal.core());
    QCOMPARE(good.instance->property("initializeCount").toInt(), 1);
    QCOMPARE(terminal.core()->plugins().size(), 1);
    QVERIFY(terminal.core()->plugin("goodplugin"));
    QVERIFY(terminal.core()->viewFactories()->hasFactory("GoodView"));

    // Its menu stands among the host's by its order.
    const QMenuBar* bar = terminal.mainWindow()->menuBar();
    QCOMPARE(menuTitles(bar), QStringList({"&Файл", "&Проверка", "&Сервис", "&Окна"}));
    QVERIFY(findAction(findAction(bar, "&Проверка")->menu(), "Привет"));
    QAction* options = findAction(findAction(bar, "&Сервис")->menu(), "Настройки...");
    QVERIFY(options);
    QTRY_VERIFY(options->isEnabled());

    const QString listing = terminal.plugins()->listing();
    for (const char* expected :
         {"IID: optcalc.test.GoodPlugin", "className: GoodPlugin", "pluginName: goodplugin",
          "displayName: Хороший модуль", "vendor: Поставщик", "version(): 1.2.3"})
        QVERIFY2(listing.contains(QString::fromUtf8(expected)), expected);
}

void TestTerminalHost::viewsOfPlugins()
{
    Terminal terminal(options(TEST_PLUGIN_DIR));
    terminal.start();
    m_reported.clear();
    WindowManager* windows = terminal.windowManager();

    QVERIFY(!windows->openView("GoodView", "throw"));
    QCOMPARE(m_reported.size(), 1);
    QVERIFY(m_reported.first().contains("фабрика отказала"));
    QVERIFY(windows->views().isEmpty());

    IView* view = windows->openView("GoodView", "key");
    QVERIFY(view);
    ViewFrame* frame = windows->frameOf(view);
    QVERIFY(frame);
    QCOMPARE(frame->windowTitle(), QString("Вид модуля"));
    QCOMPARE(frame->widget()->size(), QSize(300, 200));
    QMenu menu;
    frame->fillContextMenu(QPoint(1, 1), &menu);
    QCOMPARE(describe(&menu), QString("Действие|-|Настройки вида..."));

    // Closing the frame deletes the view.
    QPointer<QWidget> widget = frame->viewWidget();
    frame->close();
    QTRY_VERIFY(!widget);
    QVERIFY(windows->views().isEmpty());
}

void TestTerminalHost::workspaceRoundTrip()
{
    KeyViewFactory factory;
    const QStringList keys{"RTS", "Si;DEMO|1;1;2;3;4"};
    QList<QRect> geometries;
    {
        Terminal terminal(options());
        terminal.core()->viewFactories()->addFactory(&factory);
        terminal.start();
        for (const QString& key : keys) {
            IView* view = terminal.windowManager()->openView("KeyView", key);
            QVERIFY(view);
            ViewFrame* frame = terminal.windowManager()->frameOf(view);
            frame->setGeometry(QRect(10 + 30 * geometries.size(), 20, 400, 300));
            geometries << frame->geometry();
        }
        dynamic_cast<QWidget*>(terminal.windowManager()->views().at(1))
            ->setProperty("userTitle", "Моё окно");
    } // saved at exit

    {
        // Without the view's kind nothing opens, and nothing of the saved views is lost.
        Terminal terminal(options());
        terminal.start();
        QVERIFY(terminal.windowManager()->views().isEmpty());
        QVERIFY(terminal.notices().filter("workspace").isEmpty());
    }

    // A window asked for on the command line that the workspace brought back is not
    // opened twice.
    TerminalOptions withOpen = options();
    withOpen.open = {OpenRequest{"KeyView", "RTS"}};
    Terminal terminal(withOpen);
    terminal.core()->viewFactories()->addFactory(&factory);
    terminal.start();
    const QList<IView*> views = terminal.windowManager()->views();
    QCOMPARE(views.size(), 2);
    QCOMPARE(terminal.windowManager()->findView("KeyView", "RTS"), views.at(0));
    QVERIFY(!terminal.windowManager()->findView("KeyView", "Si"));
    for (int i = 0; i < views.size(); ++i) {
        auto* widget = dynamic_cast<QWidget*>(views.at(i));
        QCOMPARE(widget->property("extraKey").toString(), keys.at(i));
        QCOMPARE(terminal.windowManager()->frameOf(views.at(i))->geometry(), geometries.at(i));
    }
    QCOMPARE(dynamic_cast<QWidget*>(views.at(0))->property("userTitle").toString(), QString());
    QCOMPARE(dynamic_cast<QWidget*>(views.at(1))->property("userTitle").toString(),
             QString("Моё окно"));
    QCOMPARE(terminal.windowManager()->frameOf(views.at(1))->windowTitle(), QString("Моё окно"));
    // restore() read what store() wrote, through both settings, nested groups included.
    QCOMPARE(s_log.restored, QStringList({"content of RTS|content of RTS|3",
                                          "content of Si;DEMO|1;1;2;3;4|content of "
                                          "Si;DEMO|1;1;2;3;4|17"}));
}

void TestTerminalHost::corruptWorkspace_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("broken section") << QByteArray("[Workspace\nformat=1\nviews=1\n");
    QTest::newRow("no header") << QByteArray("[view_1]\nviewId=KeyView\n");
    QTest::newRow("binary") << QByteArray::fromHex("00fffe20676172626167650102");
    QTest::newRow("count not a number") << QByteArray("[Workspace]\nformat=1\nviews=many\n");
}

void TestTerminalHost::corruptWorkspace()
{
    QFETCH(QByteArray, content);
    QDir().mkpath(QFileInfo(workspaceFile()).absolutePath());
    QFile file(workspaceFile());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();

    KeyViewFactory factory;
    {
        Terminal terminal(options());
        terminal.core()->viewFactories()->addFactory(&factory);
        terminal.start();
        QVERIFY(terminal.windowManager()->views().isEmpty());
        const QStringList notices = terminal.notices().filter("workspace.ini");
        QCOMPARE(notices.size(), 1);
        QVERIFY(notices.first().contains("workspace.ini.corrupt"));
        terminal.windowManager()->openView("KeyView", "new");
    }
    QFile aside(workspaceFile() + ".corrupt");
    QVERIFY(aside.open(QIODevice::ReadOnly));
    QCOMPARE(aside.readAll(), content);
    // The next start finds the workspace written at exit, whole.
    Terminal terminal(options());
    terminal.core()->viewFactories()->addFactory(&factory);
    terminal.start();
    QCOMPARE(terminal.windowManager()->views().size(), 1);
    QVERIFY(terminal.notices().filter("workspace.ini").isEmpty());
}

void TestTerminalHost::marketFeedSeam()
{
    {
        // The default market: the simulated exchange fills the registered tables.
        Terminal terminal(options());
        terminal.start();
        for (const char* name : {"securities", "positions", "tz.volat_coeff"}) {
            const Table* table = terminal.core()->tables()->table(name);
            QVERIFY2(table && table->rowCount() > 0, name);
        }
        QCOMPARE(transportStatus(), int(ITransport::Connected));
        QVERIFY(terminal.notices().isEmpty());
    }
    {
        // A first start shows the market of the first base asset, live; the next start
        // brings back the workspace as it was left.
        TerminalOptions o = options();
        o.marketOnFirstStart = true;
        o.configDir = m_dir->filePath("first-start");
        QString baseCode;
        {
            Terminal terminal(o);
            terminal.start();
            const QList<IView*> views = terminal.windowManager()->views();
            QCOMPARE(views.size(), 1);
            auto* market = dynamic_cast<MarketView*>(views.first());
            QVERIFY(market);
            baseCode = market->baseCode();
            QVERIFY(!baseCode.isEmpty());
            QVERIFY(market->marketModel()->rowCount() > 0);
            const int baseColumn = market->marketModel()->table()->columnIndex("base_code");
            const int strikeColumn = market->marketModel()->table()->columnIndex("strike");
            for (int row = 0; row < market->marketModel()->rowCount(); ++row) {
                const Record record = market->marketModel()->at(row);
                QCOMPARE(record.data(baseColumn).toString(), baseCode);
                if (row > 0) // by strike, the futures (no strike) first
                    QVERIFY(market->marketModel()->at(row - 1).data(strikeColumn).compare(
                                record.data(strikeColumn)) <= 0);
            }
            // The view's tool bar with its choice of base asset stands in the frame, and
            // the frame's title follows the choice.
            ViewFrame* frame = terminal.windowManager()->frameOf(views.first());
            auto* codes = frame->findChild<QComboBox*>("baseCodes");
            QVERIFY(codes && codes->count() > 1);
            market->setBaseCode(codes->itemText(1));
            QCOMPARE(frame->windowTitle(), QString("Рынок: %1").arg(codes->itemText(1)));
            terminal.windowManager()->closeView(views.first());
        }
        Terminal terminal(o);
        terminal.start();
        QVERIFY(terminal.windowManager()->views().isEmpty());
    }
    {
        // A snapshot with a bad line: the user is told where, that table stays empty and
        // the others load.
        QDir(m_dir->path()).mkpath("csv");
        auto write = [&](const QString& name, const QByteArray& text) {
            QFile file(m_dir->filePath("csv/" + name));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(text);
        };
        write("securities.csv", "stock_id;board_id;sec_id;sec_name\n1;1;100;RIM5\n1;x;101;RIU5\n");
        write("positions.csv", "account;stock_id;board_id;sec_id;pos\nDEMO;1;1;100;2\n");
        write("volat_coeff.csv", "isin_id;a;b;c;d;e;s\n7;30;1;1;0;1;0\n");
        TerminalOptions o = options();
        o.market = TerminalOptions::Market::Csv;
        o.csvDir = m_dir->filePath("csv");
        Terminal terminal(o);
        terminal.start();
        const QStringList faults = terminal.notices().filter("securities.csv:3:");
        QCOMPARE(faults.size(), 1);
        QCOMPARE(terminal.core()->tables()->table("securities")->rowCount(), 0);
        QCOMPARE(terminal.core()->tables()->table("positions")->rowCount(), 1);
        QCOMPARE(terminal.core()->tables()->table("tz.volat_coeff")->rowCount(), 1);
    }

    auto owned = std::make_unique<FakeFeed>();
    FakeFeed* feed = owned.get();
    Terminal terminal(options());
    terminal.setMarketSource(std::move(owned));
    terminal.start();
    QVERIFY(feed->running);
    QCOMPARE(terminal.core()->tables()->table("securities"), &feed->securities);
    QCOMPARE(transportStatus(), int(ITransport::Connected));

    const datetime time(QDateTime(QDate(2031, 3, 14), QTime(10, 15, 30)));
    emit feed->serverTime(time);
    ConnectionsManager* connections = ConnectionsManager::instance();
    QCOMPARE(connections->transportTime(connections->index("KESTREL")), time);
    const QStringList labels = [&] {
        QStringList texts;
        for (const QLabel* label : terminal.mainWindow()->statusBar()->findChildren<QLabel*>())
            texts << label->text();
        return texts;
    }();
    QVERIFY2(labels.contains("KESTREL: Соединено  14.03.2031 10:15:30"),
             qPrintable(labels.join(" / ")));

    terminal.shutdown();
    QVERIFY(!feed->running);
    QCOMPARE(transportStatus(), int(ITransport::Disconnected));
}

void TestTerminalHost::postponedOrders()
{
    Terminal terminal(options());
    terminal.setMarketSource(std::make_unique<FakeFeed>());
    terminal.start();
    WindowManager* windows = terminal.windowManager();

    auto* view = dynamic_cast<PostponedOrdersView*>(
        windows->openView("PostponedOrders", "RTS;DEMO|1;1;100;150000;2|14;1;200;3500,5;-3"));
    QVERIFY(view);
    auto* table = view->findChild<QTableWidget*>("orders");
    QCOMPARE(table->rowCount(), 2);
    QStringList cells;
    for (int row = 0; row < table->rowCount(); ++row)
        for (int column = 0; column < table->columnCount(); ++column)
            cells << table->item(row, column)->text();
    QCOMPARE(cells, QStringList({"RIM5", "Покупка", "2", "150000", "1/14/200", "Продажа", "3",
                                 QString("3500") + QLocale::system().decimalPoint() + "5"}));
    QVERIFY(view->findChildren<QLabel*>().size() >= 3);

    auto* send = view->findChild<QPushButton*>("send");
    QVERIFY(send->isEnabled());
    send->click();
    send->click();
    OrdersTable* orders = terminal.orders();
    QCOMPARE(orders->rowCount(), 2);
    const auto rows = orders->masterIndex()->records();
    QCOMPARE(rows.at(0).data("side").toString(), QString("B"));
    QCOMPARE(rows.at(1).data("side").toString(), QString("S"));
    QCOMPARE(rows.at(1).data("quantity").toInteger64(), 3LL);
    QCOMPARE(rows.at(0).data("sec_name").toString(), QString("RIM5"));
    QVERIFY(!send->isEnabled());
    QVERIFY(view->findChild<QLabel*>("message")->text().contains("нет соединения"));

    auto* bad = dynamic_cast<PostponedOrdersView*>(
        windows->openView("PostponedOrders", "RTS;DEMO|1;1;x;1;1"));
    QVERIFY(bad);
    QVERIFY(bad->findChild<QLabel*>("message")->text().startsWith("Ошибка"));
    QVERIFY(!bad->findChild<QPushButton*>("send")->isEnabled());
    bad->send();
    QCOMPARE(orders->rowCount(), 2);
}

void TestTerminalHost::optionsDialogPages()
{
    TerminalCore core;
    QStringList log;
    core.addOptionsPage(new LoggedPage("A", "a1", &log));
    core.addOptionsPage(new LoggedPage("B", "b1", &log));
    core.addOptionsPage(new LoggedPage("B", "b2", &log));
    OptionsRequest request;
    request.category = "B";
    request.page = "b2";
    {
        OptionsDialog dialog(&core, request);
        QCOMPARE(dialog.categories(), QStringList({"A", "B"}));
        QCOMPARE(dialog.currentPage()->id(), QString("b2"));
        // Only the page shown has a widget yet.
        QCOMPARE(log, QStringList({"create b2"}));
        QVERIFY(dialog.openPage(QString(), "a1"));
        dialog.accept();
        QCOMPARE(log, QStringList({"create b2", "create a1", "apply a1", "apply b1", "apply b2",
                                   "finish a1", "finish b1", "finish b2"}));
    }
    // Closed once: the destructor finishes nothing again.
    QCOMPARE(log.size(), 8);
}

void TestTerminalHost::viewSettingsDialog()
{
    KeyViewFactory factory;
    Terminal terminal(options());
    terminal.core()->viewFactories()->addFactory(&factory);
    terminal.start();
    IView* view = terminal.windowManager()->openView("KeyView", "RTS");
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        dialog->accept();
    });
    terminal.core()->showViewSettings(view, nullptr);
    // The page was made from the view's state and its change reached the view.
    QCOMPARE(s_log.pageSaw, QString("content of RTS"));
    QCOMPARE(s_log.applied, 1);
    QCOMPARE(s_log.pagesFinished, 1);
    auto* widget = dynamic_cast<QWidget*>(view);
    QCOMPARE(widget->property("userTitle").toString(), QString("Новое имя"));
    QCOMPARE(terminal.windowManager()->frameOf(view)->windowTitle(), QString("Новое имя"));
}

QTEST_MAIN(TestTerminalHost)
#include "tst_terminalhost.moc"
