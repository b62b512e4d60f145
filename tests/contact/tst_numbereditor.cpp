#include "contact/numbereditor.h"

#include <QFocusEvent>
#include <QLocale>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QtTest>

namespace {

struct Rules
{
    int digits = 2;
    int numDigits = 15;
    bool canBeZero = true;
    bool canNegative = false;
};

QLocale commaLocale()
{
    return QLocale(QLocale::Russian, QLocale::Russia);
}

// An editor under the rules, its decimal places given on construction as owners do.
class RuledEditor : public NumberEditor
{
public:
    explicit RuledEditor(const Rules& rules, bool comma = false)
        : NumberEditor(nullptr, rules.digits)
    {
        if (comma)
            setLocale(commaLocale());
        setNumDigits(rules.numDigits);
        setCanBeZero(rules.canBeZero);
        setCanNegative(rules.canNegative);
    }
};

// The rules for a value, checked apart from the editor's own code: canonical form with "." as
// the separator, no leading zeros, no sign on zero.
bool obeysRules(const QString& value, const Rules& rules)
{
    static const QRegularExpression form(QStringLiteral("^(-?)(0|[1-9][0-9]*)(?:\\.([0-9]+))?$"));
    const QRegularExpressionMatch m = form.match(value);
    if (!m.hasMatch())
        return false;
    const bool negative = !m.captured(1).isEmpty();
    const bool zero = !value.contains(QRegularExpression(QStringLiteral("[1-9]")));
    return (!negative || rules.canNegative) && m.capturedLength(2) <= rules.numDigits &&
           m.capturedLength(3) <= rules.digits && (!zero || rules.canBeZero) && !(zero && negative);
}

// What the editor may show: a sign, digits, the separator, within the limits.
bool isShowable(const QString& text, const Rules& rules, QChar separator)
{
    const QRegularExpression form(QStringLiteral("^(-?)([0-9]*)(?:%1([0-9]*))?$")
                                      .arg(QRegularExpression::escape(QString(separator))));
    const QRegularExpressionMatch m = form.match(text);
    if (!m.hasMatch())
        return false;
    return (m.capturedLength(1) == 0 || rules.canNegative) &&
           m.capturedLength(2) <= rules.numDigits && m.capturedLength(3) <= rules.digits &&
           (rules.digits > 0 || !text.contains(separator));
}

} // namespace

Q_DECLARE_METATYPE(Rules)

class tst_NumberEditor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void typing_data();
    void typing();
    void randomEditingEmitsOnlyValidValues_data();
    void randomEditingEmitsOnlyValidValues();
    void setValue_data();
    void setValue();
    void announcedValueIsRemembered();
    void plainSetTextNeverEmitsBrokenValue();
    void insertActsLikePaste();
    void cursorFollowsNormalisedText();
    void ruleChanges();
    void stepping_data();
    void stepping();
    void localeChangeKeepsValue();
    void focusOutTidies();
};

void tst_NumberEditor::initTestCase()
{
    QVERIFY(commaLocale().decimalPoint() == QLatin1Char(','));
    QLocale::setDefault(QLocale::c());
}

void tst_NumberEditor::typing_data()
{
    QTest::addColumn<Rules>("rules");
    QTest::addColumn<bool>("comma");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("value");

    // The rules of a value (signs, limits, zero) hold under random editing; these are the
    // exact forms it cannot check.
    struct Row
    {
        const char* name;
        Rules rules;
        bool comma;
        const char *keys, *text, *value;
    };
    const Row rows[] = {
        {"comma typed, point shown", {2, 15, true, false}, false, "1,50", "1.50", "1.50"},
        {"point typed, comma shown, zero added", {2, 15, true, false}, true, ".5", "0,5", "0.5"},
        {"bare comma after minus", {2, 15, true, true}, false, "-,5", "-0.5", "-0.5"},
        {"trailing separator is the number", {2, 15, true, false}, false, "5.", "5.", "5"},
        {"integer limit leaves decimals", {2, 2, true, false}, true, "123,45", "12,45", "12.45"},
        {"leading zeros dropped", {0, 3, true, false}, false, "0007", "7", "7"},
        {"zero before separator kept", {2, 15, true, false}, false, "00.5", "0.5", "0.5"},
        {"lone minus is no value", {2, 15, true, true}, false, "-", "-", ""},
        {"zero refused is no value", {2, 15, false, false}, false, "0", "0", ""},
        {"small number is no zero", {2, 15, false, false}, true, "0,05", "0,05", "0.05"},
        {"negative zero is zero", {2, 15, true, true}, false, "-0.0", "-0.0", "0.0"},
        {"letters and spaces dropped", {2, 15, true, false}, false, "a1 b2c", "12", "12"},
    };
    for (const Row& r : rows)
        QTest::newRow(r.name) << r.rules << r.comma << QString(r.keys) << QString(r.text)
                              << QString(r.value);
}

void tst_NumberEditor::typing()
{
    QFETCH(Rules, rules);
    QFETCH(bool, comma);
    QFETCH(QString, keys);
    QFETCH(QString, text);
    QFETCH(QString, value);

    RuledEditor editor(rules, comma);
    QSignalSpy spy(&editor, &NumberEditor::changedValue);

    QTest::keyClicks(&editor, keys);
    QCOMPARE(editor.text(), text);
    QCOMPARE(editor.getValue(), value);
    QCOMPARE(editor.hasAcceptableInput(), !value.isEmpty());
    if (value.isEmpty())
        return;
    QVERIFY(!spy.isEmpty());
    QCOMPARE(spy.last().at(0).toString(), value);
}

void tst_NumberEditor::randomEditingEmitsOnlyValidValues_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 24; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

// Random keys under random rules: whatever is typed, the text stays showable, every emitted
// value obeys the rules, and every change of getValue() was announced.
void tst_NumberEditor::randomEditingEmitsOnlyValidValues()
{
    QFETCH(quint32, seed);
    QRandomGenerator rng(seed);
    Rules rules;
    rules.digits = rng.bounded(0, 4);
    rules.numDigits = rng.bounded(1, 5);
    rules.canBeZero = rng.bounded(2);
    rules.canNegative = rng.bounded(2);
    const bool comma = rng.bounded(2);

    RuledEditor editor(rules, comma);
    const QChar separator = comma ? QLatin1Char(',') : QLatin1Char('.');
    QStringList emitted;
    connect(&editor, &NumberEditor::changedValue, &editor,
            [&emitted](const QString& value) { emitted << value; });

    const QString chars = QStringLiteral("0123456789000..,,--+ a");
    const Qt::Key keys[] = {Qt::Key_Backspace, Qt::Key_Delete, Qt::Key_Left, Qt::Key_Right,
                            Qt::Key_Home,      Qt::Key_End,    Qt::Key_Up,   Qt::Key_Down};
    for (int step = 0; step < 300; ++step) {
        const int before = emitted.size();
        const QString valueBefore = editor.getValue();
        if (rng.bounded(3) == 0)
            QTest::keyClick(&editor, keys[rng.bounded(int(std::size(keys)))]);
        else
            QTest::keyClicks(&editor, QString(chars.at(rng.bounded(chars.size()))));

        const QString context = QStringLiteral("step %1, text '%2'").arg(step).arg(editor.text());
        QVERIFY2(isShowable(editor.text(), rules, separator), qPrintable(context));
        const QString value = editor.getValue();
        QVERIFY2(value.isEmpty() || obeysRules(value, rules), qPrintable(context));
        QVERIFY2(emitted.size() - before <= 1, qPrintable(context));
        if (emitted.size() > before) {
            QVERIFY2(obeysRules(emitted.last(), rules), qPrintable(context));
            QVERIFY2(value != valueBefore, qPrintable(context));
            if (before > 0)
                QVERIFY2(emitted.at(before - 1) != emitted.last(), qPrintable(context));
        }
        // Whatever value there is was announced, also after a stretch of no value.
        if (!value.isEmpty())
            QVERIFY2(!emitted.isEmpty() && emitted.last() == value, qPrintable(context));
    }
    QVERIFY(!emitted.isEmpty());
}

void tst_NumberEditor::setValue_data()
{
    QTest::addColumn<Rules>("rules");
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("taken");
    QTest::addColumn<QString>("text"); // with a comma locale
    QTest::addColumn<QString>("value");

    struct Row
    {
        const char* name;
        Rules rules;
        const char* input;
        bool taken;
        const char *text, *value;
    };
    const Row rows[] = {
        {"comma, spaces around", {2, 15, true, false}, " 1,5 ", true, "1,5", "1.5"},
        {"plus sign", {2, 15, true, false}, "+7", true, "7", "7"},
        {"leading zeros", {2, 15, true, false}, "007.10", true, "7,10", "7.10"},
        {"rounded half away, negative", {2, 15, true, true}, "-1.255", true, "-1,26", "-1.26"},
        {"rounded down", {2, 15, true, false}, "1.254", true, "1,25", "1.25"},
        {"rounded to integer", {0, 15, true, false}, "1.5", true, "2", "2"},
        {"rounded up to non-zero", {2, 15, false, false}, "0.005", true, "0,01", "0.01"},
        {"empty clears", {2, 15, true, false}, "", true, "", ""},
        {"same value is no change", {2, 15, true, false}, "03", true, "3", "3"},
        {"more places are a change", {2, 15, true, false}, "3.00", true, "3,00", "3.00"},
        {"negative zero", {2, 15, true, false}, "-0.00", true, "0,00", "0.00"},
        {"no number", {2, 15, true, false}, "abc", false, "3", "3"},
        {"two separators", {2, 15, true, false}, "1.2.3", false, "3", "3"},
        {"lone minus", {2, 15, true, true}, "-", false, "3", "3"},
        {"too many integer digits", {2, 4, true, false}, "12345", false, "3", "3"},
        {"too many after rounding", {2, 4, true, false}, "9999.995", false, "3", "3"},
        {"negative refused", {2, 15, true, false}, "-1", false, "3", "3"},
        {"zero refused", {2, 15, false, false}, "0", false, "3", "3"},
        {"rounded to refused zero", {2, 15, false, false}, "0.004", false, "3", "3"},
        {"beyond any decimal", {2, 15, true, false}, "99999999999999999999", false, "3", "3"},
    };
    for (const Row& r : rows)
        QTest::newRow(r.name) << r.rules << QString(r.input) << r.taken << QString(r.text)
                              << QString(r.value);
}

void tst_NumberEditor::setValue()
{
    QFETCH(Rules, rules);
    QFETCH(QString, input);
    QFETCH(bool, taken);
    QFETCH(QString, text);
    QFETCH(QString, value);

    RuledEditor editor(rules, true);
    QVERIFY(editor.setValue(QStringLiteral("3")));
    QSignalSpy spy(&editor, &NumberEditor::changedValue);

    QCOMPARE(editor.setValue(input), taken);
    QCOMPARE(editor.text(), text);
    QCOMPARE(editor.getValue(), value);
    const bool changed = !value.isEmpty() && value != QLatin1String("3");
    QCOMPARE(spy.count(), changed ? 1 : 0);
    if (changed)
        QCOMPARE(spy.at(0).at(0).toString(), value);
}

// Changes are told from the value last set or announced: one set while signals were blocked
// counts, a stretch without a value in between does not.
void tst_NumberEditor::announcedValueIsRemembered()
{
    NumberEditor editor(nullptr, 0);
    editor.setValue(QStringLiteral("1"));
    QSignalSpy spy(&editor, &NumberEditor::changedValue);
    editor.setValue(QString());
    editor.setValue(QStringLiteral("1"));
    QCOMPARE(spy.count(), 0);
    {
        const QSignalBlocker blocker(&editor);
        editor.setValue(QStringLiteral("2"));
    }
    QCOMPARE(spy.count(), 0);
    // Back to 1 by hand: a change from 2, which the owner was told of itself.
    QTest::keyClick(&editor, Qt::Key_Backspace);
    QTest::keyClicks(&editor, QStringLiteral("1"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("1"));
}

void tst_NumberEditor::plainSetTextNeverEmitsBrokenValue()
{
    NumberEditor editor(nullptr, 1);
    editor.setCanBeZero(false);
    QSignalSpy spy(&editor, &NumberEditor::changedValue);
    for (const char* text : {"abc", "-5", "1.25", "0", "12345678901234567"}) {
        editor.setText(QLatin1String(text));
        QCOMPARE(editor.getValue(), QString());
    }
    QCOMPARE(spy.count(), 0);
    editor.setText(QStringLiteral("2,5"));
    QCOMPARE(editor.text(), QStringLiteral("2.5"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("2.5"));
}

void tst_NumberEditor::insertActsLikePaste()
{
    NumberEditor editor(nullptr, 2);
    editor.setLocale(commaLocale());
    // Group separators of a pasted number go, either decimal separator is taken.
    editor.insert(QStringLiteral("1 234.5"));
    QCOMPARE(editor.text(), QStringLiteral("1234,5"));
    editor.clear();
    editor.insert(QStringLiteral("1\u00a0234,56"));
    QCOMPARE(editor.getValue(), QStringLiteral("1234.56"));
    // A paste that breaks a rule is refused whole.
    editor.insert(QStringLiteral("7"));
    QCOMPARE(editor.getValue(), QStringLiteral("1234.56"));
    editor.clear();
    editor.insert(QStringLiteral("12a"));
    QCOMPARE(editor.text(), QString());
}

void tst_NumberEditor::cursorFollowsNormalisedText()
{
    NumberEditor editor(nullptr, 2);
    editor.setLocale(commaLocale());
    editor.setCanNegative(true);

    // A separator typed in front gets its zero; the cursor stays behind the separator.
    QTest::keyClicks(&editor, QStringLiteral("5"));
    QTest::keyClick(&editor, Qt::Key_Home);
    QTest::keyClicks(&editor, QStringLiteral("."));
    QCOMPARE(editor.text(), QStringLiteral("0,5"));
    QCOMPARE(editor.cursorPosition(), 2);
    QTest::keyClicks(&editor, QStringLiteral("1"));
    QCOMPARE(editor.text(), QStringLiteral("0,15"));

    // A digit typed after a lone zero replaces it; the cursor stays behind the digit.
    editor.clear();
    QTest::keyClicks(&editor, QStringLiteral("-0"));
    QTest::keyClicks(&editor, QStringLiteral("7"));
    QCOMPARE(editor.text(), QStringLiteral("-7"));
    QCOMPARE(editor.cursorPosition(), 2);

    // A zero typed in front of a number vanishes; the cursor stays where it was.
    QTest::keyClick(&editor, Qt::Key_Left);
    QTest::keyClicks(&editor, QStringLiteral("0"));
    QCOMPARE(editor.text(), QStringLiteral("-7"));
    QCOMPARE(editor.cursorPosition(), 1);
    QTest::keyClicks(&editor, QStringLiteral("3"));
    QCOMPARE(editor.text(), QStringLiteral("-37"));
    QCOMPARE(editor.getValue(), QStringLiteral("-37"));
}

void tst_NumberEditor::ruleChanges()
{
    NumberEditor editor(nullptr, 3);
    editor.setCanNegative(true);
    editor.setValue(QStringLiteral("1.255"));
    QSignalSpy spy(&editor, &NumberEditor::changedValue);

    editor.setDigits(2);
    QCOMPARE(editor.text(), QStringLiteral("1.26"));
    editor.setDigits(0);
    QCOMPARE(editor.text(), QStringLiteral("1"));
    editor.setDigits(2); // more room changes nothing
    QCOMPARE(editor.text(), QStringLiteral("1"));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(1).at(0).toString(), QStringLiteral("1"));

    editor.setValue(QStringLiteral("123"));
    spy.clear();
    editor.setNumDigits(2); // no number of two digits is near: nothing is left
    QCOMPARE(editor.text(), QString());
    QCOMPARE(spy.count(), 0);
    editor.setNumDigits(4);

    editor.setValue(QStringLiteral("-5"));
    spy.clear();
    editor.setCanNegative(false);
    QCOMPARE(editor.text(), QString());

    editor.setValue(QStringLiteral("0"));
    spy.clear();
    editor.setCanBeZero(false); // stays on screen, but is no value
    QCOMPARE(editor.text(), QStringLiteral("0"));
    QCOMPARE(editor.getValue(), QString());
    QCOMPARE(spy.count(), 0);
    // Allowing zero again makes the zero on screen a value, but not a new one.
    editor.setCanBeZero(true);
    QCOMPARE(editor.getValue(), QStringLiteral("0"));
    QCOMPARE(spy.count(), 0);

    // Settings out of range are clamped.
    editor.setDigits(40);
    QCOMPARE(editor.digits(), 18);
    editor.setNumDigits(0);
    QCOMPARE(editor.numDigits(), 1);
}

void tst_NumberEditor::stepping_data()
{
    QTest::addColumn<Rules>("rules");
    QTest::addColumn<QString>("start");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("value");

    const int up = Qt::Key_Up;
    const int down = Qt::Key_Down;
    struct Row
    {
        const char* name;
        Rules rules;
        const char* start;
        int key;
        const char* value;
    };
    const Row rows[] = {
        {"up by a hundredth", {2, 15, true, false}, "1.5", up, "1.51"},
        {"down by a hundredth", {2, 15, true, false}, "1.5", down, "1.49"},
        {"up by one", {0, 15, true, false}, "5", up, "6"},
        {"up from nothing", {2, 15, true, false}, "", up, "0.01"},
        {"down through zero", {2, 15, true, true}, "0.01", down, "0.00"},
        {"down over refused zero", {2, 15, false, true}, "0.01", down, "-0.01"},
        {"up over refused zero", {1, 15, false, true}, "-0.1", up, "0.1"},
        {"no way below zero", {2, 15, false, false}, "0.01", down, "0.01"},
        {"no negatives", {0, 15, true, false}, "0", down, "0"},
        {"no room above", {2, 2, true, false}, "99.99", up, "99.99"},
    };
    for (const Row& r : rows)
        QTest::newRow(r.name) << r.rules << QString(r.start) << r.key << QString(r.value);
}

void tst_NumberEditor::stepping()
{
    QFETCH(Rules, rules);
    QFETCH(QString, start);
    QFETCH(int, key);
    QFETCH(QString, value);

    RuledEditor editor(rules);
    QVERIFY(editor.setValue(start));
    QTest::keyClick(&editor, Qt::Key(key));
    QCOMPARE(editor.getValue(), value);

    // The same key handed over directly, as an event filter of the owner does it.
    QVERIFY(editor.setValue(start));
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    press.ignore();
    editor.keyPressEvent(&press);
    QVERIFY(press.isAccepted());
    QCOMPARE(editor.getValue(), value);
}

void tst_NumberEditor::localeChangeKeepsValue()
{
    NumberEditor editor(nullptr, 2);
    editor.setValue(QStringLiteral("1.5"));
    QSignalSpy spy(&editor, &NumberEditor::changedValue);
    editor.setLocale(commaLocale());
    QCOMPARE(editor.text(), QStringLiteral("1,5"));
    editor.setLocale(QLocale::c());
    QCOMPARE(editor.text(), QStringLiteral("1.5"));
    QCOMPARE(editor.getValue(), QStringLiteral("1.5"));
    QCOMPARE(spy.count(), 0);
}

void tst_NumberEditor::focusOutTidies()
{
    NumberEditor editor(nullptr, 2);
    editor.setLocale(commaLocale());
    editor.setCanNegative(true);
    QSignalSpy values(&editor, &NumberEditor::changedValue);
    QSignalSpy finished(&editor, &QLineEdit::editingFinished);
    QFocusEvent focusOut(QEvent::FocusOut, Qt::TabFocusReason);

    QTest::keyClicks(&editor, QStringLiteral("5."));
    QCoreApplication::sendEvent(&editor, &focusOut);
    QCOMPARE(editor.text(), QStringLiteral("5"));
    QCOMPARE(values.count(), 1);
    QCOMPARE(finished.count(), 1);

    // A lone minus is no number: it goes.
    editor.clear();
    QTest::keyClicks(&editor, QStringLiteral("-"));
    QCoreApplication::sendEvent(&editor, &focusOut);
    QCOMPARE(editor.text(), QString());
    QCOMPARE(values.count(), 1);
}

QTEST_MAIN(tst_NumberEditor)
#include "tst_numbereditor.moc"
