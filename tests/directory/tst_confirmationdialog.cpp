#include "database/settings.h"
#include "directory/confirmationdialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {

const QString Key = QStringLiteral("OptionCalculator/Confirmations/askClearVirtualPortfolio");

bool storedAsk(const QString& key = Key)
{
    return AppSettings(QString()).value(key, true).toBool();
}

} // namespace

class TestConfirmationDialog : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void asking_data();
    void asking();

private:
    QTemporaryDir m_config;
};

void TestConfirmationDialog::initTestCase()
{
    QVERIFY(m_config.isValid());
    AppSettings::setConfigDir(m_config.path());
}

void TestConfirmationDialog::asking_data()
{
    QTest::addColumn<QVariant>("stored"); // invalid: missing
    QTest::addColumn<bool>("withKey");
    QTest::addColumn<bool>("dontAskAgain");
    QTest::addColumn<int>("button"); // NoButton: the window is closed
    QTest::addColumn<bool>("shown");
    QTest::addColumn<bool>("confirmed");
    QTest::addColumn<bool>("askAfter");

    const int yes = QDialogButtonBox::Yes, no = QDialogButtonBox::No;
    const int close = QDialogButtonBox::NoButton;
    const QVariant missing, on(true), off(false);
    QTest::newRow("missing, yes") << missing << true << false << yes << true << true << true;
    QTest::newRow("true, no") << on << true << false << no << true << false << true;
    QTest::newRow("true, closed") << on << true << false << close << true << false << true;
    // Declining is no answer to "do not ask again".
    QTest::newRow("ticked, no") << on << true << true << no << true << false << true;
    QTest::newRow("ticked, yes") << on << true << true << yes << true << true << false;
    // Turned off, it confirms at once: no loop runs, so the "no" never comes.
    QTest::newRow("false") << off << true << false << no << false << true << false;
    QTest::newRow("text false, as an INI file holds it")
        << QVariant(QStringLiteral("false")) << true << false << no << false << true << false;
    // Without a key it always asks, and ticking the hidden box turns nothing off.
    QTest::newRow("no key, ticked, yes") << missing << false << true << yes << true << true << true;
}

void TestConfirmationDialog::asking()
{
    QFETCH(QVariant, stored);
    QFETCH(bool, withKey);
    QFETCH(bool, dontAskAgain);
    QFETCH(int, button);
    QFETCH(bool, shown);
    QFETCH(bool, confirmed);
    QFETCH(bool, askAfter);
    AppSettings(QString()).remove(QString());
    if (stored.isValid())
        AppSettings(QString()).setValue(Key, stored);

    ConfirmationDialog dialog;
    if (withKey)
        dialog.setSettingsKey(Key);
    dialog.setWindowModality(Qt::WindowModal);
    QCOMPARE(dialog.isAsking(), shown);

    // Answers once the dialog runs its own loop.
    bool seen = false;
    QTimer::singleShot(0, &dialog, [&] {
        auto* check = dialog.findChild<QCheckBox*>();
        auto* buttons = dialog.findChild<QDialogButtonBox*>();
        QVERIFY(check && buttons);
        seen = dialog.isVisible();
        QCOMPARE(check->isVisibleTo(&dialog), withKey);
        QCOMPARE(check->text(), QStringLiteral("Больше не спрашивать"));
        check->setChecked(dontAskAgain);
        if (button == QDialogButtonBox::NoButton)
            dialog.close();
        else
            buttons->button(QDialogButtonBox::StandardButton(button))->click();
    });
    QCOMPARE(dialog.exec(), confirmed);
    QCOMPARE(seen, shown);
    QVERIFY(!dialog.isVisible());

    // From now on the dialog asks as the setting says; other questions are still asked, and
    // without a key nothing is written.
    QCOMPARE(storedAsk(), askAfter);
    QCOMPARE(dialog.isAsking(), askAfter || !withKey);
    QVERIFY(storedAsk(QStringLiteral("OptionCalculator/Confirmations/askLoadFromFile")));
    if (!withKey)
        QVERIFY(AppSettings(QString()).childKeys().isEmpty() &&
                AppSettings(QString()).childGroups().isEmpty());
}

QTEST_MAIN(TestConfirmationDialog)
#include "tst_confirmationdialog.moc"
