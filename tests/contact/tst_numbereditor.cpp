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

// Plays what a user does: characters are typed, "[...]" is pasted, "<" "^" "↑" "↓" are the
// keys Left, Home, Up and Down, and "#" leaves the editor.
void play(NumberEditor& editor, const QString& script)
{
    const QHash<QChar, Qt::Key> keys{{QLatin1Char('<'), Qt::Key_Left},
                                     {QLatin1Char('^'), Qt::Key_Home},
                                     {QChar(0x2191), Qt::Key_Up},
                                     {QChar(0x2193), Qt::Key_Down}};
    for (int i = 0; i < script.size(); ++i) {
        const QChar c = script.at(i);
        if (c == QLatin1Char('[')) {
            const int end = script.indexOf(QLatin1Char(']'), i);
            editor.insert(script.mid(i + 1, end - i - 1));
            i = end;
        } else if (c == QLatin1Char('#')) {
            QFocusEvent focusOut(QEvent::FocusOut, Qt::TabFocusReason);
            QCoreApplication::sendEvent(&editor, &focusOut);
        } else if (keys.contains(c)) {
            QTest::keyClick(&editor, keys.value(c));
        } else {
            QTest::keyClicks(&editor, QString(c));
        }
    }
}

} // namespace

Q_DECLARE_METATYPE(Rules)

class tst_NumberEditor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void editing_data();
    void editing();
    void randomEditingEmitsOnlyValidValues_data();
    void randomEditingEmitsOnlyValidValues();
    void setValue_data();
    void setValue();
    void valueChangesAnnounced();
    void ruleChanges();
};

void tst_NumberEditor::initTestCase()
{
    QVERIFY(commaLocale().decimalPoint() == QLatin1Char(','));
    QLocale::setDefault(QLocale::c());
}

void tst_NumberEditor::editing_data()
{
    QTest::addColumn<Rules>("rules");
    QTest::addColumn<bool>("comma");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("value");

    // The rules of a value (signs, limits, zero) hold under random editing; these are the
    // exact forms it cannot check.
    struct Row
    {
        const char* name;
        Rules rules;
        bool comma;
        const char *script, *text, *value;
    };
    const Rules plain, signedRules{2, 15, true, true}, noZero{2, 15, false, false};
    const Row rows[] = {
        {"point typed, comma shown, zero added", plain, true, ".5", "0,5", "0.5"},
        {"bare comma after minus", signedRules, false, "-,5", "-0.5", "-0.5"},
        {"trailing separator is the number", plain, false, "5.", "5.", "5"},
        {"trailing separator goes on leaving", plain, true, "5,#", "5", "5"},
        {"integer limit leaves decimals", {2, 2, true, false}, true, "123,45", "12,45", "12.45"},
        {"leading zeros dropped", {0, 3, true, false}, false, "0007", "7", "7"},
        {"zero before separator kept", plain, false, "00.5", "0.5", "0.5"},
        {"lone minus is no value", signedRules, false, "-", "-", ""},
        {"lone minus goes on leaving", signedRules, false, "-#", "", ""},
        {"zero refused is no value", noZero, false, "0", "0", ""},
        {"small number is no zero", noZero, true, "0,05", "0,05", "0.05"},
        {"negative zero is zero", signedRules, false, "-0.0", "-0.0", "0.0"},
        {"letters and spaces dropped", plain, false, "a1 b2c", "12", "12"},
        // The cursor stays where the user typed while the text is tidied around it.
        {"separator typed in front", plain, true, "5^.1", "0,15", "0.15"},
        {"digit after lone zero, zero before number", signedRules, false, "-07<03", "-37", "-37"},
        // A paste loses its group separators; one that breaks a rule is refused whole.
        {"paste with group separator", plain, true, "[1\u00a0234.5][67]", "1234,5", "1234.5"},
        {"paste with a letter", plain, false, "[12a]", "", ""},
        // Up and Down step by a unit of the last place, over a zero not allowed.
        {"up by a hundredth", plain, false, "1.5\u2191", "1.51", "1.51"},
        {"down by one", {0, 15, true, false}, false, "5\u2193", "4", "4"},
        {"up from nothing", plain, false, "\u2191", "0.01", "0.01"},
        {"down through zero", signedRules, false, "0.01\u2193", "0.00", "0.00"},
        {"down over refused zero", {2, 15, false, true}, false, "0.01\u2193", "-0.01", "-0.01"},
        {"no way below zero", noZero, false, "0.01\u2193", "0.01", "0.01"},
        {"no room above", {2, 2, true, false}, false, "99.99\u2191", "99.99", "99.99"},
    };
    for (const Row& r : rows)
        QTest::newRow(r.name) << r.rules << r.comma << QString(r.script) << QString(r.text)
                              << QString(r.value);
}

void tst_NumberEditor::editing()
{
    QFETCH(Rules, rules);
    QFETCH(bool, comma);
    QFETCH(QString, script);
    QFETCH(QString, text);
    QFETCH(QString, value);

    RuledEditor editor(rules, comma);
    QSignalSpy spy(&editor, &NumberEditor::changedValue);
    QSignalSpy finished(&editor, &QLineEdit::editingFinished);

    play(editor, script);
    QCOMPARE(editor.text(), text);
    QCOMPARE(editor.getValue(), value);
    // Leaving the editor with a value finishes the edit; tidying it announces nothing new.
    QCOMPARE(finished.count(), script.endsWith(QLatin1Char('#')) && !value.isEmpty() ? 1 : 0);
    for (int i = 1; i < spy.count(); ++i)
        QVERIFY(spy.at(i) != spy.at(i - 1));
    if (!value.isEmpty())
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
    const Rules plain, signedRules{2, 15, true, true}, noZero{2, 15, false, false};
    const Row rows[] = {
        {"comma, spaces around", plain, " 1,5 ", true, "1,5", "1.5"},
        {"rounded half away, negative", signedRules, "-1.255", true, "-1,26", "-1.26"},
        {"rounded down", plain, "1.254", true, "1,25", "1.25"},
        {"rounded up to non-zero", noZero, "0.005", true, "0,01", "0.01"},
        {"empty clears", plain, "", true, "", ""},
        {"same value is no change", plain, "03", true, "3", "3"},
        {"more places are a change", plain, "3.00", true, "3,00", "3.00"},
        {"negative zero", plain, "-0.00", true, "0,00", "0.00"},
        {"no number", plain, "abc", false, "3", "3"},
        {"too many integer digits", {2, 4, true, false}, "12345", false, "3", "3"},
        {"too many after rounding", {2, 4, true, false}, "9999.995", false, "3", "3"},
        {"negative refused", plain, "-1", false, "3", "3"},
        {"rounded to refused zero", noZero, "0.004", false, "3", "3"},
        {"beyond any decimal", plain, "99999999999999999999", false, "3", "3"},
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
// counts, a stretch without a value in between does not. A text set directly is read under
// the rules as well.
void tst_NumberEditor::valueChangesAnnounced()
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
    // Back to 1 by a key an owner's event filter hands over: a change from 2, which the
    // owner was told of itself.
    QKeyEvent down(QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier);
    down.ignore();
    editor.keyPressEvent(&down);
    QVERIFY(down.isAccepted());
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("1"));

    editor.setDigits(1);
    editor.setCanBeZero(false);
    spy.clear();
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

void tst_NumberEditor::ruleChanges()
{
    NumberEditor editor(nullptr, 3);
    editor.setCanNegative(true);
    editor.setValue(QStringLiteral("1.255"));
    QSignalSpy spy(&editor, &NumberEditor::changedValue);

    editor.setDigits(2);
    QCOMPARE(editor.text(), QStringLiteral("1.26"));
    // Another separator is no other value.
    editor.setLocale(commaLocale());
    QCOMPARE(editor.text(), QStringLiteral("1,26"));
    editor.setLocale(QLocale::c());
    QCOMPARE(editor.getValue(), QStringLiteral("1.26"));
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
    editor.setCanNegative(false);
    QCOMPARE(editor.text(), QString());

    editor.setValue(QStringLiteral("0"));
    spy.clear();
    editor.setCanBeZero(false); // stays on screen, but is no value
    QCOMPARE(editor.text(), QStringLiteral("0"));
    QCOMPARE(editor.getValue(), QString());
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

QTEST_MAIN(tst_NumberEditor)
#include "tst_numbereditor.moc"
