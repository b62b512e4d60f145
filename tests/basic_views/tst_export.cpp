#include "basic_views/commonview.h"
#include "basic_views/exporterproxymodel.h"
#include "basic_views/fileexporter.h"
#include "basic_views/viewwrappertable.h"

#include "database/settings.h"
#include "gui/progressdialog.h"

#include "dialogcatcher.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

// Cells that a careless writer gets wrong: separators, quotes, line breaks, markup,
// Cyrillic.
std::unique_ptr<QStandardItemModel> makeModel()
{
    const QList<QStringList> rows{
        {"SiZ5", "a;b", "<b>x</b>", "1"},
        {"RTS", "say \"hi\"", "&", "2"},
        {"Газ", "two\nlines", "", "3"},
        {"hidden", "-", "-", "4"},
    };
    auto model = std::make_unique<QStandardItemModel>(rows.size(), 4);
    model->setHorizontalHeaderLabels({"Код", "Текст", "Разметка", "N"});
    for (int r = 0; r < rows.size(); ++r) {
        for (int c = 0; c < 4; ++c)
            model->setItem(r, c, new QStandardItem(rows.at(r).at(c)));
    }
    return model;
}

} // namespace

class TestExport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void viewExportWritesWhatItShows_data();
    void viewExportWritesWhatItShows();
    void unwritableTargetIsReported_data();
    void unwritableTargetIsReported();
    void cancelledExportKeepsOldFile();
    void proxyFollowsSource();
    void dynamicExportFollowsModel();

private:
    // Answers the save dialog with the path and filter given.
    void answerDialog(const QString& path, const QString& filter)
    {
        FileExporter::instance()->setFileChooser(
            [this, path, filter](QWidget*, const QString&, const QString& suggested, const QString&,
                                 QString* selected) {
                m_suggested = suggested;
                *selected = filter;
                return path;
            });
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_suggested;
};

void TestExport::initTestCase()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    AppSettings::setConfigDir(m_dir->filePath(QStringLiteral("config")));
}

void TestExport::cleanup()
{
    FileExporter::instance()->setFileChooser(nullptr);
    FileExporter::instance()->setProgressThreshold(10000);
}

void TestExport::viewExportWritesWhatItShows_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("expected");

    // Shown: columns N, Код, Разметка in this order; rows 0 to 2.
    QTest::newRow("csv") << FileExporter::csvFilter() << "out.csv"
                         << QByteArray("\xEF\xBB\xBF"
                                       "N;Код;Разметка\r\n"
                                       "1;SiZ5;<b>x</b>\r\n"
                                       "2;RTS;&\r\n"
                                       "3;Газ;\r\n");
    QTest::newRow("csv quoting") << FileExporter::csvFilter() << "quoted.csv" << QByteArray();
    QTest::newRow("html, suffix added by the filter")
        << FileExporter::htmlFilter() << "page"
        << QByteArray("<tr><th>N</th><th>Код</th><th>Разметка</th></tr>\n"
                      "<tr><td>1</td><td>SiZ5</td><td>&lt;b&gt;x&lt;/b&gt;</td></tr>\n"
                      "<tr><td>2</td><td>RTS</td><td>&amp;</td></tr>\n"
                      "<tr><td>3</td><td>Газ</td><td></td></tr>\n"
                      "</table>\n");
}

void TestExport::viewExportWritesWhatItShows()
{
    QFETCH(QString, filter);
    QFETCH(QString, name);
    QFETCH(QByteArray, expected);

    auto model = makeModel();
    CommonView view;
    view.setWindowTitle(QStringLiteral("Портфель <1>"));
    view.setModel(model.get());
    view.setRowHidden(3, true);
    const bool quoting = QByteArray(QTest::currentDataTag()) == "csv quoting";
    if (!quoting) {
        view.setColumnHidden(1, true);
        view.horizontalHeader()->moveSection(3, 0);
    }
    const QString path = m_dir->filePath(name);
    answerDialog(path, filter);
    view.exportData();

    const QString written = filter == FileExporter::htmlFilter() ? path + ".html" : path;
    const QByteArray bytes = readFile(written);
    QVERIFY2(!bytes.isEmpty(), qPrintable(written));
    QCOMPARE(QFileInfo(m_suggested).fileName(), QStringLiteral("Портфель _1_.csv"));
    if (quoting) {
        QVERIFY(bytes.contains("SiZ5;\"a;b\";<b>x</b>;1\r\n"));
        QVERIFY(bytes.contains("RTS;\"say \"\"hi\"\"\";&;2\r\n"));
        QVERIFY(bytes.contains("\"two\nlines\""));
    } else if (filter == FileExporter::csvFilter()) {
        QCOMPARE(bytes, expected);
    } else {
        QVERIFY(bytes.startsWith("<!DOCTYPE html>"));
        QVERIFY(bytes.contains("<title>Портфель &lt;1&gt;</title>"));
        QVERIFY(bytes.contains(expected));
        QVERIFY(!bytes.contains("<b>x"));
    }
    // The folder is remembered for the next export.
    QCOMPARE(AppSettings(QStringLiteral("exporter")).value(QStringLiteral("filePath")).toString(),
             QFileInfo(written).absolutePath());
}

void TestExport::unwritableTargetIsReported_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("missing folder") << "missing/deeper";
    QTest::newRow("a file where the folder should be") << "blocker";
}

void TestExport::unwritableTargetIsReported()
{
    QFETCH(QString, folder);
    writeFile(m_dir->filePath(QStringLiteral("blocker")), "file");
    const QString path = m_dir->filePath(folder + QStringLiteral("/out.csv"));
    answerDialog(path, FileExporter::csvFilter());
    auto model = makeModel();
    QSharedPointer<ExporterProxyModel> proxy(
        new ExporterProxyModel(model.get(), ViewWrapperTable::columnsAllTable(model.get())));

    DialogCatcher catcher;
    QVERIFY(!FileExporter::instance()->exportModel(proxy, "Портфель", "Экспорт"));
    QCOMPARE(catcher.texts.size(), 1);
    QVERIFY(catcher.texts.first().contains(QDir::toNativeSeparators(path)));
    QVERIFY(!QFileInfo::exists(path));
    QCOMPARE(readFile(m_dir->filePath(QStringLiteral("blocker"))), QByteArray("file"));
}

void TestExport::cancelledExportKeepsOldFile()
{
    const QString path = m_dir->filePath(QStringLiteral("kept.csv"));
    writeFile(path, "old");
    QStandardItemModel model(500, 2);
    for (int r = 0; r < 500; ++r)
        model.setItem(r, 0, new QStandardItem(QString::number(r)));
    QSharedPointer<ExporterProxyModel> proxy(new ExporterProxyModel(&model, {0, 1}));
    answerDialog(path, FileExporter::csvFilter());
    FileExporter::instance()->setProgressThreshold(100);

    bool sawProgress = false;
    QTimer::singleShot(0, [&sawProgress] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<ProgressDialog*>(w)) {
                sawProgress = true;
                dialog->cancel();
            }
        }
    });
    DialogCatcher catcher;
    QVERIFY(!FileExporter::instance()->exportModel(proxy, "Большая", "Экспорт"));
    QVERIFY(sawProgress);
    QVERIFY(catcher.texts.isEmpty()); // a cancel is no error
    QCOMPARE(readFile(path), QByteArray("old"));
    QCOMPARE(QDir(m_dir->path()).entryList({"kept.csv*"}, QDir::Files), QStringList{"kept.csv"});

    // Without a cancel the same export goes through, in place of the old file.
    QVERIFY(FileExporter::instance()->exportModel(proxy, "Большая", "Экспорт"));
    QVERIFY(readFile(path).endsWith("\r\n499;\r\n"));
}

void TestExport::proxyFollowsSource()
{
    auto model = makeModel();
    ExporterProxyModel proxy(model.get(), {2, 0, 9});
    QAbstractItemModelTester tester(&proxy, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(proxy.columns(), QList<int>({2, 0})); // 9 is no column
    proxy.setRows({3, 1, 7});
    QCOMPARE(proxy.rowCount(), 2);
    QCOMPARE(proxy.index(0, 1).data().toString(), QStringLiteral("hidden"));
    QCOMPARE(proxy.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Разметка"));

    QSignalSpy changed(&proxy, &QAbstractItemModel::dataChanged);
    model->item(1, 0)->setText(QStringLiteral("Si"));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(proxy.index(1, 1).data().toString(), QStringLiteral("Si"));

    // Chosen rows follow their records through a sort and a removal; columns through a
    // removal before them.
    model->sort(0, Qt::AscendingOrder);
    QCOMPARE(proxy.index(0, 1).data().toString(), QStringLiteral("hidden"));
    QCOMPARE(proxy.index(1, 1).data().toString(), QStringLiteral("Si"));
    model->removeRow(model->findItems(QStringLiteral("hidden")).first()->row());
    QCOMPARE(proxy.rowCount(), 1);
    QCOMPARE(proxy.index(0, 1).data().toString(), QStringLiteral("Si"));
    model->removeColumn(1);
    QCOMPARE(proxy.columns(), QList<int>({1, 0}));
    QCOMPARE(proxy.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Разметка"));
    model->removeColumn(1);
    QCOMPARE(proxy.columns(), QList<int>({0}));
}

void TestExport::dynamicExportFollowsModel()
{
    auto model = makeModel();
    CommonView view;
    view.setModel(model.get());
    const QString path = m_dir->filePath(QStringLiteral("live.csv"));
    answerDialog(path, FileExporter::csvFilter());
    ViewWrapper* wrapper = view.viewWrapper();
    QSignalSpy toggled(wrapper, &ViewWrapper::exportDynamicChanged);

    wrapper->exportDynamic(true);
    QVERIFY(readFile(path).contains("SiZ5"));
    model->item(0, 0)->setText(QStringLiteral("MXZ5"));
    model->item(1, 0)->setText(QStringLiteral("BRZ5"));
    QTRY_VERIFY(readFile(path).contains("BRZ5"));
    QVERIFY(readFile(path).contains("MXZ5"));

    wrapper->exportDynamic(false);
    model->item(0, 0)->setText(QStringLiteral("GDZ5"));
    QCoreApplication::processEvents();
    QVERIFY(!readFile(path).contains("GDZ5"));
    QCOMPARE(toggled.count(), 2);
}

QTEST_MAIN(TestExport)
#include "tst_export.moc"
