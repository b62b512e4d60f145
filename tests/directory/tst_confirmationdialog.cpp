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
const QString OtherKey = QStringLiteral("OptionCalculator/Confirmations/askLoadFromFile");

bool storedAsk(const QString& key = Key)
{
    return AppSettings(QString()).value(key, true).toBool();
}

// What the user saw of the dialog.
struct Seen
{
    bool shown = false;
    bool checkBoxShown = false;
    QString checkBoxText;
};

// Answers the dialog once it runs its own loop: ticks "do not ask again" if told, then
// presses the button, or closes the window for NoButton.
void answer(ConfirmationDialog& dialog, Seen& seen, bool dontAskAgain,
            QDialogButtonBox::StandardButton button)
{
    QTimer::singleShot(0, &dialog, [&dialog, &seen, dontAskAgain, button] {
        auto* check = dialog.findChild<QCheckBox*>();
        auto* buttons = dialog.findChild<QDialogButtonBox*>();
        QVERIFY(check && buttons);
        seen.shown = dialog.isVisible();
        seen.checkBoxShown = check->isVisibleTo(&dialog);
        seen.checkBoxText = check->text();
        check->setChecked(dontAskAgain);
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
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<bool>("dontAskAgain");
    QTest::addColumn<int>("button");
    QTest::addColumn<bool>("confirmed");

    const int yes = QDialogButtonBox::Yes, no = QDialogButtonBox::No;
    QTest::newRow("missing, yes") << QVariant() << false << yes << true;
    QTest::newRow("true, no") << QVariant(true) << false << no << false;
    QTest::newRow("true, closed") << QVariant(true) << false << int(QDialogButtonBox::NoButton)
                                  << false;
    // Declining is no answer to "do not ask again".
    QTest::newRow("ticked, no") << QVariant(true) << true << no << false;
}

void TestConfirmationDialog::asksWhileTheSettingIsTrue()
{
    QFETCH(QVariant, stored);
    QFETCH(bool, dontAskAgain);
    QFETCH(int, button);
    QFETCH(bool, confirmed);
    if (stored.isValid())
        AppSettings(QString()).setValue(Key, stored);

    ConfirmationDialog dialog;
    dialog.setWindowTitle(QStringLiteral("Очистка модельного портфеля"));
    dialog.setText(QStringLiteral("Вы действительно хотите очистить модельный портфель?"));
    dialog.setSettingsKey(Key);
    dialog.setWindowModality(Qt::WindowModal);
    Seen seen;
    answer(dialog, seen, dontAskAgain, QDialogButtonBox::StandardButton(button));

    QCOMPARE(dialog.exec(), confirmed);
    QVERIFY(seen.shown);
    QVERIFY(seen.checkBoxShown);
    QCOMPARE(seen.checkBoxText, QStringLiteral("Больше не спрашивать"));
    QVERIFY(!dialog.isVisible());
    QVERIFY(storedAsk());
}

void TestConfirmationDialog::turnedOffDoesNotAsk_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::newRow("false") << QVariant(false);
    QTest::newRow("text false, as an INI file holds it") << QVariant(QStringLiteral("false"));
}

void TestConfirmationDialog::turnedOffDoesNotAsk()
{
    QFETCH(QVariant, stored);
    AppSettings(QString()).setValue(Key, stored);

    ConfirmationDialog dialog;
    dialog.setSettingsKey(Key);
    QVERIFY(!dialog.isAsking());
    Seen seen;
    answer(dialog, seen, false, QDialogButtonBox::No);
    // True at once: no loop ran, so the "no" above never came.
    QVERIFY(dialog.exec());
    QVERIFY(!seen.shown);
    // Another question is still asked.
    dialog.setSettingsKey(OtherKey);
    QVERIFY(dialog.isAsking());
}

void TestConfirmationDialog::dontAskAgainTurnsTheSettingOff()
{
    ConfirmationDialog dialog;
    dialog.setSettingsKey(Key);
    Seen seen;
    answer(dialog, seen, true, QDialogButtonBox::Yes);
    QVERIFY(dialog.exec());
    QVERIFY(seen.shown);
    QVERIFY(!storedAsk());
    QVERIFY(storedAsk(OtherKey));

    // From now on it confirms without asking, in this dialog and in new ones.
    Seen again;
    answer(dialog, again, false, QDialogButtonBox::No);
    QVERIFY(dialog.exec());
    QVERIFY(!again.shown);

    // Turned on again (by the options page), it asks again.
    AppSettings(QString()).setValue(Key, true);
    Seen third;
    answer(dialog, third, false, QDialogButtonBox::No);
    QVERIFY(!dialog.exec());
    QVERIFY(third.shown);
}

void TestConfirmationDialog::withoutKeyAlwaysAsks()
{
    ConfirmationDialog dialog;
    Seen seen;
    // Ticking the hidden box turns nothing off.
    answer(dialog, seen, true, QDialogButtonBox::Yes);
    QVERIFY(dialog.exec());
    QVERIFY(seen.shown);
    QVERIFY(!seen.checkBoxShown);
    QVERIFY(AppSettings(QString()).childKeys().isEmpty());
    QVERIFY(AppSettings(QString()).childGroups().isEmpty());
}

QTEST_MAIN(TestConfirmationDialog)
#include "tst_confirmationdialog.moc"
