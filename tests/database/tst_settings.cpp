#include "database/datetime.h"
#include "database/decimal.h"
#include "database/settings.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <memory>

namespace {

QStringList s_warnings;

// Collects the warnings emitted while it lives (all of them from the test's own thread).
class WarningCatcher
{
public:
    WarningCatcher()
    {
        s_warnings.clear();
        m_previous = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext&, const QString& message) {
                if (type == QtWarningMsg)
                    s_warnings << message;
            });
    }
    ~WarningCatcher() { qInstallMessageHandler(m_previous); }
    QStringList mentioning(const QString& text) const { return s_warnings.filter(text); }

private:
    QtMessageHandler m_previous;
};

QByteArray readAll(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool writeAll(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

// QSettings objects of one file share their content within a process; a copy under another
// name is read from the disk.
QString freshCopy(const QString& path)
{
    static int n = 0;
    const QString copy = path + QStringLiteral(".copy%1").arg(++n);
    QFile::remove(copy);
    return QFile::copy(path, copy) ? copy : QString();
}

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void groupsOnConstObject();
    void blankKeys();
    void hostStore();
    void nullStore();
    void typedValuesSurviveReopen_data();
    void typedValuesSurviveReopen();

    void appSettingsPersistAcrossObjects();
    void appSettingsLiveObjectsShare();
    void appSettingsAcrossThreads();
    void configDir();
    void corruptFile_data();
    void corruptFile();
    void unreadableFile();
    void unwritableFolder();

private:
    QString storeFile() const { return m_dir->filePath(QStringLiteral("optcalc.ini")); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestSettings::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
    AppSettings::setConfigDir(m_dir->path());
}

void TestSettings::cleanup()
{
    m_dir.reset();
}

void TestSettings::groupsOnConstObject()
{
    Settings s(m_dir->filePath(QStringLiteral("plain.ini")));
    s.setValue(QStringLiteral("Window/Table/width"), 100);
    s.setValue(QStringLiteral("Window/title"), QStringLiteral("Калькулятор"));

    const Settings& c = s;
    c.beginGroup(QStringLiteral("Window"));
    QCOMPARE(c.group(), QStringLiteral("Window"));
    QCOMPARE(c.value(QStringLiteral("title")).toString(), QStringLiteral("Калькулятор"));
    QCOMPARE(c.childKeys(), QStringList{QStringLiteral("title")});
    QCOMPARE(c.childGroups(), QStringList{QStringLiteral("Table")});

    c.beginGroup(QStringLiteral("Table"));
    QCOMPARE(c.group(), QStringLiteral("Window/Table"));
    QCOMPARE(c.value(QStringLiteral("width")).toInt(), 100);
    QVERIFY(!c.contains(QStringLiteral("title")));

    // A write through the object lands in the group that the const view opened.
    s.setValue(QStringLiteral("height"), 50);
    c.endGroup();
    QCOMPARE(c.value(QStringLiteral("Table/height")).toInt(), 50);
    c.endGroup();
    QCOMPARE(c.group(), QString());
    QCOMPARE(c.childGroups(), QStringList{QStringLiteral("Window")});

    // One endGroup too many is a mistake of the caller, not a crash.
    QTest::ignoreMessage(QtWarningMsg, "Settings::endGroup: no group is open");
    c.endGroup();
    QCOMPARE(c.value(QStringLiteral("Window/title")).toString(), QStringLiteral("Калькулятор"));

    // A path opens several levels at once; an empty name opens none but still needs its end.
    c.beginGroup(QStringLiteral("Window/Table"));
    c.beginGroup(QString());
    QCOMPARE(c.value(QStringLiteral("width")).toInt(), 100);
    c.endGroup();
    QCOMPARE(c.group(), QStringLiteral("Window/Table"));
    c.endGroup();
    QCOMPARE(c.group(), QString());

    // Removing a group's name removes everything below it, and nothing beside it.
    c.beginGroup(QStringLiteral("Window"));
    s.remove(QStringLiteral("Table"));
    QVERIFY(c.childGroups().isEmpty());
    QCOMPARE(c.childKeys(), QStringList{QStringLiteral("title")});
}

void TestSettings::blankKeys()
{
    Settings s(m_dir->filePath(QStringLiteral("plain.ini")));
    s.setValue(QStringLiteral("Sibling/k"), 1);
    s.beginGroup(QStringLiteral("Group"));
    s.setValue(QStringLiteral("a"), 1);
    // A blank key would otherwise write a value named like the group one level up.
    s.setValue(QString(), 5);
    s.setValue(QStringLiteral("/"), 6);
    QVERIFY(!s.contains(QString()));
    QCOMPARE(s.value(QString(), 9).toInt(), 9);
    s.endGroup();
    QVERIFY(!s.childKeys().contains(QStringLiteral("Group")));
    QVERIFY(!s.value(QStringLiteral("Group")).isValid());

    // An empty key removes the whole of the current group, as QSettings does.
    s.beginGroup(QStringLiteral("Group"));
    s.remove(QString());
    QVERIFY(s.childKeys().isEmpty());
    s.endGroup();
    QVERIFY(!s.childGroups().contains(QStringLiteral("Group")));
    QCOMPARE(s.value(QStringLiteral("Sibling/k")).toInt(), 1);
}

void TestSettings::hostStore()
{
    const QString file = m_dir->filePath(QStringLiteral("host.ini"));
    QSettings host(file, QSettings::IniFormat);
    host.setValue(QStringLiteral("outer/keep"), 1);
    host.beginGroup(QStringLiteral("outer"));
    {
        Settings s(&host);
        s.beginGroup(QStringLiteral("inner"));
        s.setValue(QStringLiteral("k"), 2);
        QCOMPARE(s.childKeys(), QStringList{QStringLiteral("k")});
        // The host's own group stays where the host put it.
        QCOMPARE(host.group(), QStringLiteral("outer"));
        s.endGroup();
        QCOMPARE(s.childKeys(), QStringList{QStringLiteral("keep")});
    }
    // Not owned: still the host's, and in use.
    QCOMPARE(host.group(), QStringLiteral("outer"));
    QCOMPARE(host.value(QStringLiteral("inner/k")).toInt(), 2);
    host.endGroup();
}

void TestSettings::nullStore()
{
    Settings s(static_cast<QSettings*>(nullptr));
    s.beginGroup(QStringLiteral("g"));
    s.setValue(QStringLiteral("k"), 1);
    QCOMPARE(s.value(QStringLiteral("k"), 3).toInt(), 3);
    QVERIFY(!s.contains(QStringLiteral("k")));
    QVERIFY(s.childGroups().isEmpty());
    QVERIFY(s.childKeys().isEmpty());
    s.remove(QStringLiteral("k"));
    s.sync();
    QCOMPARE(s.status(), QSettings::AccessError);
}

void TestSettings::typedValuesSurviveReopen_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("typed"); // false: INI gives text back

    QTest::newRow("decimal") << decimal(-123450, 2).toVariant() << true;
    QTest::newRow("decimal minimum") << decimal::minimum.toVariant() << true;
    QTest::newRow("datetime") << (datetime(QDate(2024, 1, 15)) + 68400000).toVariant() << true;
    QTest::newRow("datetime null") << datetime().toVariant() << true;
    QTest::newRow("text") << QVariant(QStringLiteral("Опцион; \"call\" = 1/2")) << true;
    QTest::newRow("int") << QVariant(42) << false;
}

void TestSettings::typedValuesSurviveReopen()
{
    QFETCH(QVariant, value);
    QFETCH(bool, typed);

    const QString file = m_dir->filePath(QStringLiteral("typed.ini"));
    const QString key = QStringLiteral("Окно 1/значение");
    {
        Settings s(file);
        s.beginGroup(QStringLiteral("Calc"));
        s.setValue(key, value);
    }
    const QString copy = freshCopy(file);
    QVERIFY(!copy.isEmpty());
    Settings reopened(copy);
    QCOMPARE(reopened.status(), QSettings::NoError);
    reopened.beginGroup(QStringLiteral("Calc"));
    const QVariant read = reopened.value(key);
    if (typed) {
        QCOMPARE(read.userType(), value.userType());
        QVERIFY2(read == value, qPrintable(read.toString()));
    } else {
        QCOMPARE(read.toString(), value.toString());
    }
    if (value.userType() == decimal::metatypeId())
        QCOMPARE(read.value<decimal>().raw(), value.value<decimal>().raw());
    if (value.userType() == datetime::metatypeId())
        QCOMPARE(read.value<datetime>().msecs(), value.value<datetime>().msecs());
}

void TestSettings::appSettingsPersistAcrossObjects()
{
    {
        AppSettings a(QStringLiteral("OptionCalculator"));
        a.setValue(QStringLiteral("width"), 640);
        a.beginGroup(QStringLiteral("Confirmations"));
        a.setValue(QStringLiteral("orders"), false);
    }
    // Written when the object went away at the latest.
    const QString copy = freshCopy(storeFile());
    QVERIFY(!copy.isEmpty());
    QSettings disk(copy, QSettings::IniFormat);
    QCOMPARE(disk.value(QStringLiteral("OptionCalculator/width")).toInt(), 640);
    QCOMPARE(disk.value(QStringLiteral("OptionCalculator/Confirmations/orders")).toBool(), false);

    AppSettings b(QStringLiteral("OptionCalculator"));
    QCOMPARE(b.value(QStringLiteral("width")).toInt(), 640);
    QCOMPARE(b.childGroups(), QStringList{QStringLiteral("Confirmations")});
    b.beginGroup(QStringLiteral("Confirmations"));
    QCOMPARE(b.value(QStringLiteral("orders"), true).toBool(), false);
}

void TestSettings::appSettingsLiveObjectsShare()
{
    AppSettings a(QStringLiteral("Shared"));
    AppSettings b(QStringLiteral("Shared"));
    AppSettings other(QStringLiteral("Other"));

    a.setValue(QStringLiteral("k"), decimal(15, 1).toVariant());
    QCOMPARE(b.value(QStringLiteral("k")).value<decimal>().toString(), QStringLiteral("1.5"));
    QVERIFY(!other.contains(QStringLiteral("k")));
    b.remove(QStringLiteral("k"));
    QVERIFY(!a.contains(QStringLiteral("k")));
    // Groups opened on one object are its own.
    a.beginGroup(QStringLiteral("inner"));
    b.setValue(QStringLiteral("top"), 2);
    QVERIFY(!a.contains(QStringLiteral("top")));
    a.endGroup();
    QCOMPARE(a.value(QStringLiteral("top")).toInt(), 2);
}

void TestSettings::appSettingsAcrossThreads()
{
    AppSettings mine(QStringLiteral("Threads"));
    std::unique_ptr<QThread> worker(QThread::create([] {
        AppSettings there(QStringLiteral("Threads"));
        for (int i = 0; i < 100; ++i)
            there.setValue(QStringLiteral("k%1").arg(i), i);
    }));
    worker->start();
    for (int i = 0; i < 100; ++i)
        mine.setValue(QStringLiteral("m%1").arg(i), i);
    QVERIFY(worker->wait(30000));
    QCOMPARE(mine.childKeys().size(), 200);
    QCOMPARE(mine.value(QStringLiteral("k99")).toInt(), 99);
}

void TestSettings::configDir()
{
    AppSettings::setConfigDir(QString());
    QCOMPARE(AppSettings::configDir(),
             QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                 QStringLiteral("/optcalc"));
    // A relative folder is pinned at once, so that a later change of the working folder
    // does not move the store.
    AppSettings::setConfigDir(QStringLiteral("relative/conf"));
    QVERIFY(QDir::isAbsolutePath(AppSettings::configDir()));
    QCOMPARE(AppSettings::configDir(),
             QDir::current().absoluteFilePath(QStringLiteral("relative/conf")));

    AppSettings::setConfigDir(m_dir->path());
    QCOMPARE(AppSettings::storeFile(), storeFile());
}

void TestSettings::corruptFile_data()
{
    QTest::addColumn<QByteArray>("earlier"); // a damaged copy kept before, if any
    QTest::newRow("first damage") << QByteArray();
    QTest::newRow("earlier copy kept") << QByteArray("[earlier\n");
}

void TestSettings::corruptFile()
{
    QFETCH(QByteArray, earlier);
    const QByteArray broken("[OptionCalculator\nwidth=640\n\x01\x02 not a settings file\n");
    QVERIFY(writeAll(storeFile(), broken));
    if (!earlier.isEmpty())
        QVERIFY(writeAll(storeFile() + QStringLiteral(".bad"), earlier));

    WarningCatcher warnings;
    {
        AppSettings s{QString()};
        // Defaults, not whatever QSettings could make of the damaged text.
        QVERIFY(s.childGroups().isEmpty());
        QVERIFY(s.childKeys().isEmpty());
        QVERIFY(!s.contains(QStringLiteral("OptionCalculator/width")));
        QCOMPARE(s.status(), QSettings::NoError);
        s.setValue(QStringLiteral("OptionCalculator/height"), 480);
    }
    {
        AppSettings again(QStringLiteral("OptionCalculator"));
        QCOMPARE(again.value(QStringLiteral("height")).toInt(), 480);
    }
    QCOMPARE(warnings.mentioning(storeFile()).size(), 1);

    // The damaged file is kept as it was, beside any kept before; the store is a good file
    // again.
    if (earlier.isEmpty()) {
        QCOMPARE(readAll(storeFile() + QStringLiteral(".bad")), broken);
    } else {
        QCOMPARE(readAll(storeFile() + QStringLiteral(".bad")), earlier);
        QCOMPARE(readAll(storeFile() + QStringLiteral(".bad.2")), broken);
    }
    QSettings disk(freshCopy(storeFile()), QSettings::IniFormat);
    QCOMPARE(disk.status(), QSettings::NoError);
    QCOMPARE(disk.value(QStringLiteral("OptionCalculator/height")).toInt(), 480);
}

void TestSettings::unreadableFile()
{
    // Running as root makes file modes useless here; a folder in the file's place cannot be
    // read either.
    QVERIFY(QDir().mkpath(storeFile()));
    QVERIFY(writeAll(storeFile() + QStringLiteral("/inside.txt"), "keep me"));

    WarningCatcher warnings;
    {
        AppSettings s(QStringLiteral("g"));
        QVERIFY(!s.contains(QStringLiteral("k")));
        s.setValue(QStringLiteral("k"), 1);
    }
    QCOMPARE(warnings.mentioning(storeFile()).size(), 1);
    QCOMPARE(readAll(storeFile() + QStringLiteral(".bad/inside.txt")), QByteArray("keep me"));
    QVERIFY(QFileInfo(storeFile()).isFile());
    AppSettings after(QStringLiteral("g"));
    QCOMPARE(after.value(QStringLiteral("k")).toInt(), 1);
}

void TestSettings::unwritableFolder()
{
    // A file where a folder of the path should be: nothing can be created below it.
    const QString blocker = m_dir->filePath(QStringLiteral("blocker"));
    QVERIFY(writeAll(blocker, "not a folder"));
    AppSettings::setConfigDir(blocker + QStringLiteral("/sub"));

    WarningCatcher warnings;
    {
        AppSettings s(QStringLiteral("g"));
        s.setValue(QStringLiteral("k"), 5);
        QCOMPARE(s.value(QStringLiteral("k")).toInt(), 5);
    }
    {
        AppSettings s(QStringLiteral("g"));
        s.setValue(QStringLiteral("k2"), 6);
    }
    QCOMPARE(warnings.mentioning(AppSettings::storeFile()).size(), 1);
    QCOMPARE(readAll(blocker), QByteArray("not a folder"));
}

QTEST_GUILESS_MAIN(TestSettings)

#include "tst_settings.moc"
