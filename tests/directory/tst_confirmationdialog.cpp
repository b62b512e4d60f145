#include "c_api/offscreenleaks.h"
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

void storeAsk(bool ask, const QString& key = Key)
{
    AppSettings(QString()).setValue(key, ask);
}

// What the user saw when the dialog came up.
struct Seen
{
    bool shown = false;
    bool checkBoxVisible = false;
    QString checkBoxText;
    QString text;
    QString title;
};

// Answers the dialog once it runs its own loop: ticks "do not ask again" if told, then
// presses the button, or closes the window when no button is given.
void answer(ConfirmationDialog& dialog, Seen& seen, bool dontAskAgain,
            QDialogButtonBox::StandardButton button)
{
    QTimer::singleShot(0, &dialog, [&dialog, &seen, dontAskAgain, button] {
        auto* check = dialog.findChild<QCheckBox*>();
        auto* buttons = dialog.findChild<QDialogButtonBox*>();
        QVERIFY(check);
        QVERIFY(buttons);
        seen.shown = dialog.isVisible();
        seen.checkBoxVisible = check->isVisibleTo(&dialog);
        seen.checkBoxText = check->text();
        seen.text = dialog.text();
        seen.title = dialog.windowTitle();
        if (dontAskAgain)
            check->setChecked(true);
        if (button == QDialogButtonBox::NoButton)
            dialog.close();
        else
            buttons->button(button)->click();
    });
}

} // namespace

class TestConfirmationDialog : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void asksWhileTheSettingIsTrue_data();
    void asksWhileTheSettingIsTrue();
    void turnedOffDoesNotAsk_data();
    void turnedOffDoesNotAsk();
    void dontAskAgainTurnsTheSettingOff();
    void withoutKeyAlwaysAsks();

private:
    QTemporaryDir m_config;
};

void TestConfirmationDialog::initTestCase()
{
    QVERIFY(m_config.isValid());
    AppSettings::setConfigDir(m_config.path());
}

void TestConfirmationDialog::init()
{
    AppSettings(QString()).remove(QString());
}

void TestConfirmationDialog::asksWhileTheSettingIsTrue_data()
{
    QTest::addColumn<bool>("stored");
    QTest::addColumn<bool>("dontAskAgain");
    QTest::addColumn<int>("button");
    QTest::addColumn<bool>("confirmed");

    // Missing counts as true.
    QTest::newRow("missing, yes") << false << false << int(QDialogButtonBox::Yes) << true;
    QTest::newRow("true, yes") << true << false << int(QDialogButtonBox::Yes) << true;
    QTest::newRow("true, no") << true << false << int(QDialogButtonBox::No) << false;
    QTest::newRow("true, window closed")
        << true << false << int(QDialogButtonBox::NoButton) << false;
    // Declining is no answer to "do not ask again".
    QTest::newRow("ticked, no") << true << true << int(QDialogButtonBox::No) << false;
    QTest::newRow("ticked, window closed")
        << true << true << int(QDialogButtonBox::NoButton) << false;
}

void TestConfirmationDialog::asksWhileTheSettingIsTrue()
{
    QFETCH(bool, stored);
    QFETCH(bool, dontAskAgain);
    QFETCH(int, button);
    QFETCH(bool, confirmed);
    if (stored)
        storeAsk(true);

    ConfirmationDialog dialog;
    dialog.setWindowTitle(QStringLiteral("Очистка модельного портфеля"));
    dialog.setText(QStringLiteral("Вы действительно хотите очистить модельный портфель?"));
    dialog.setSettingsKey(Key);
    dialog.setWindowModality(Qt::WindowModal);
    QVERIFY(dialog.isAsking());
    Seen seen;
    answer(dialog, seen, dontAskAgain, QDialogButtonBox::StandardButton(button));

    QCOMPARE(dialog.exec(), confirmed);
    QVERIFY(seen.shown);
    QVERIFY(seen.checkBoxVisible);
    QCOMPARE(seen.checkBoxText, QStringLiteral("Больше не спрашивать"));
    QCOMPARE(seen.text, QStringLiteral("Вы действительно хотите очистить модельный портфель?"));
    QCOMPARE(seen.title, QStringLiteral("Очистка модельного портфеля"));
    QVERIFY(!dialog.isVisible());
    QVERIFY(storedAsk());
    QVERIFY(dialog.isAsking());
}

void TestConfirmationDialog::turnedOffDoesNotAsk_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::newRow("false") << QVariant(false);
    // As an INI file holds it.
    QTest::newRow("text false") << QVariant(QStringLiteral("false"));
}

void TestConfirmationDialog::turnedOffDoesNotAsk()
{
    QFETCH(QVariant, stored);
    AppSettings(QString()).setValue(Key, stored);

    ConfirmationDialog dialog;
    dialog.setText(QStringLiteral("?"));
    dialog.setSettingsKey(Key);
    QVERIFY(!dialog.isAsking());
    Seen seen;
    answer(dialog, seen, false, QDialogButtonBox::No);

    // True at once: no loop ran, so the answer above never came.
    QVERIFY(dialog.exec());
    QVERIFY(!seen.shown);
    QVERIFY(!dialog.isVisible());
    // Another question is still asked.
    dialog.setSettingsKey(QStringLiteral("OptionCalculator/Confirmations/askLoadFromFile"));
    QVERIFY(dialog.isAsking());
}

void TestConfirmationDialog::dontAskAgainTurnsTheSettingOff()
{
    storeAsk(true);
    ConfirmationDialog dialog;
    dialog.setSettingsKey(Key);
    Seen seen;
    answer(dialog, seen, true, QDialogButtonBox::Yes);
    QVERIFY(dialog.exec());
    QVERIFY(seen.shown);
    QVERIFY(!storedAsk());
    // Other questions keep asking.
    QVERIFY(storedAsk(QStringLiteral("OptionCalculator/Confirmations/askLoadFromFile")));

    // From now on it confirms without asking, in this dialog and in new ones.
    Seen again;
    answer(dialog, again, false, QDialogButtonBox::No);
    QVERIFY(dialog.exec());
    QVERIFY(!again.shown);
    ConfirmationDialog other;
    other.setSettingsKey(Key);
    QVERIFY(!other.isAsking());
    QVERIFY(other.exec());

    // Turned on again (by the options page), it asks again, the box unticked.
    storeAsk(true);
    Seen third;
    answer(dialog, third, false, QDialogButtonBox::No);
    QVERIFY(!dialog.exec());
    QVERIFY(third.shown);
    QVERIFY(storedAsk());
}

void TestConfirmationDialog::withoutKeyAlwaysAsks()
{
    ConfirmationDialog dialog;
    QVERIFY(dialog.isAsking());
    Seen seen;
    // Ticking the hidden box turns nothing off.
    answer(dialog, seen, true, QDialogButtonBox::Yes);
    QVERIFY(dialog.exec());
    QVERIFY(seen.shown);
    QVERIFY(!seen.checkBoxVisible);
    QVERIFY(!seen.title.isEmpty());
    QVERIFY(AppSettings(QString()).childKeys().isEmpty());
    QVERIFY(AppSettings(QString()).childGroups().isEmpty());

    Seen again;
    answer(dialog, again, false, QDialogButtonBox::No);
    QVERIFY(!dialog.exec());
    QVERIFY(again.shown);
}

QTEST_MAIN(TestConfirmationDialog)
#include "tst_confirmationdialog.moc"
