// The price axis: the number helpers behind every label and tracker text, the labels of the
// converter, the tick grid shifted onto the current price, and the thinning of labels, both
// on plain lists and through a real scale draw with real font metrics, offscreen.
#include "plot/linearscaleengine.h"
#include "plot/metricunitconverter.h"
#include "plot/metricunitscaledraw.h"
#include "plot/plotnumbers.h"
#include "plot/scaleticks.h"

#include "support/testmarket.h"


#include <QImage>
#include <QLocale>
#include <QPainter>
#include <QtTest>

#include <qwt_scale_div.h>
#include <qwt_scale_engine.h>
#include <qwt_text.h>

#include <cmath>
#include <limits>

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();
const double Inf = std::numeric_limits<double>::infinity();

// Labels use the system's decimal point; the tables below are written with ".".
QString local(QString text)
{
    return text.replace(QLatin1Char('.'), QLocale::system().decimalPoint());
}

QList<double> range(double first, double last, double step)
{
    QList<double> values;
    for (double v = first; v <= last; v += step)
        values.append(v);
    return values;
}

QFont labelFont()
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(13);
    return font;
}

// A bottom axis of the given length in pixels over the division.
void place(MetricUnitScaleDraw& draw, const QwtScaleDiv& div, double length)
{
    draw.setAlignment(QwtScaleDraw::BottomScale);
    draw.move(QPointF(0, 0));
    draw.setLength(length);
    draw.setScaleDiv(div);
}

// The labels' rectangles, grown by half the margin as the thinning sees them, collide.
bool collide(const MetricUnitScaleDraw& draw, const QFont& font, double left, double right)
{
    const int grow = draw.labelMargin() / 2;
    const QRect a = draw.boundingLabelRect(font, left).adjusted(-grow, -grow, grow, grow);
    const QRect b = draw.boundingLabelRect(font, right).adjusted(-grow, -grow, grow, grow);
    return a.isValid() && b.isValid() && a.intersects(b);
}

bool isSorted(const QList<double>& values)
{
    return std::is_sorted(values.begin(), values.end());
}

} // namespace

class TestPlotScales : public QObject
{
    Q_OBJECT

private slots:
    void fuzzyComparisons_data();
    void fuzzyComparisons();
    void roundHalfUpTies_data();
    void roundHalfUpTies();
    void formatNumberText_data();
    void formatNumberText();
    void decimalsOfValue_data();
    void decimalsOfValue();
    void roundToStep_data();
    void roundToStep();

    void convert_data();
    void convert();

    void divideScale_data();
    void divideScale();
    void divideScaleWithoutReference();
    void divideScaleSnapsToStrikeDigits();

    void thinning_data();
    void thinning();

    void allLabelledBeforeFirstPaint();
    void thinningOnAxis_data();
    void thinningOnAxis();
    void brokenDivisionKeepsLabels();
    void drawPaintsHighlightRed_data();
    void drawPaintsHighlightRed();
};

void TestPlotScales::fuzzyComparisons_data()
{
    QTest::addColumn<double>("a");
    QTest::addColumn<double>("b");
    QTest::addColumn<bool>("equal");

    QTest::newRow("same") << 1.0 << 1.0 << true;
    QTest::newRow("1e-11 apart") << 1.0 << 1.00000000001 << false;
    // The difference times 1e12 against the smaller magnitude, exactly at the edge.
    QTest::newRow("edge, 1 in 1e12") << 1e12 << 1e12 + 1 << true;
    QTest::newRow("past the edge, 2 in 1e12") << 1e12 << 1e12 + 2 << false;
    QTest::newRow("both zero") << 0.0 << 0.0 << true;
    QTest::newRow("NaN") << NaN << NaN << false;
}

void TestPlotScales::fuzzyComparisons()
{
    QFETCH(double, a);
    QFETCH(double, b);
    QFETCH(bool, equal);
    QCOMPARE(fuzzyEqual(a, b), equal);
    QCOMPARE(fuzzyEqual(b, a), equal);
    // Zero is judged against 1: noise below a 1e-12 part of one vanishes.
    if (a == 1.0 && b > 1.0)
        QCOMPARE(fuzzyZero(b - a), equal);
}

void TestPlotScales::roundHalfUpTies_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("rounded");

    QTest::newRow("2.5") << 2.5 << 3.0;
    QTest::newRow("-0.5") << -0.5 << 0.0;
    QTest::newRow("-1.5") << -1.5 << -1.0;
    QTest::newRow("-2.5") << -2.5 << -2.0;
    QTest::newRow("price") << 149999.5 << 150000.0;
}

void TestPlotScales::roundHalfUpTies()
{
    QFETCH(double, value);
    QFETCH(double, rounded);
    QCOMPARE(roundHalfUp(value), rounded);
}

void TestPlotScales::formatNumberText_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("text");

    QTest::newRow("trailing zeros") << 1.5 << 4 << "1.5";
    QTest::newRow("bare point") << 2.0 << 3 << "2";
    QTest::newRow("rounded") << 1234.5678 << 2 << "1234.57";
    QTest::newRow("noise shed") << 0.1 + 0.2 << 10 << "0.3";
    QTest::newRow("negative decimals") << 1.0 << -1 << "";
    QTest::newRow("NaN") << NaN << 2 << "";
}

void TestPlotScales::formatNumberText()
{
    QFETCH(double, value);
    QFETCH(int, decimals);
    QFETCH(QString, text);
    QCOMPARE(formatNumber(value, decimals), text);
}

void TestPlotScales::decimalsOfValue_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<bool>("limited");
    QTest::addColumn<int>("decimals");

    QTest::newRow("123.45") << 123.45 << false << 2;
    QTest::newRow("below 10 decimals") << 1e-11 << false << 0;
    QTest::newRow("negative, sign not counted") << -12.5 << true << 1;
    // 1234567890123.4567 is stored as 1234567890123.456787109375: ten decimals shown.
    QTest::newRow("13 digits, unlimited") << 1234567890123.4567 << false << 10;
    QTest::newRow("13 digits, limited to 16") << 1234567890123.4567 << true << 3;
    QTest::newRow("17 integer digits") << 12345678901234568.0 << true << -1;
    QTest::newRow("NaN") << NaN << false << -1;
}

void TestPlotScales::decimalsOfValue()
{
    QFETCH(double, value);
    QFETCH(bool, limited);
    QFETCH(int, decimals);
    QCOMPARE(decimalsOf(value, limited), decimals);
}

void TestPlotScales::roundToStep_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("step");
    QTest::addColumn<QString>("text");

    QTest::newRow("1.26 by 0.05") << 1.26 << 0.05 << "1.25";
    QTest::newRow("-1.28 by 0.05") << -1.28 << 0.05 << "-1.3";
    QTest::newRow("half away from zero") << 7.0 << 2.0 << "8";
    QTest::newRow("below half of the first step") << 0.02 << 0.05 << "0";
    QTest::newRow("first step up") << 0.03 << 0.05 << "0.05";
    QTest::newRow("price tie by 10") << 150005.0 << 10.0 << "150010";
    QTest::newRow("zero step") << 1.0 << 0.0 << "";
    QTest::newRow("quotient beyond 64 bits") << 1e20 << 1.0 << "";
}

void TestPlotScales::roundToStep()
{
    QFETCH(double, value);
    QFETCH(double, step);
    QFETCH(QString, text);
    QCOMPARE(roundToStepText(value, step), text);
}

void TestPlotScales::convert_data()
{
    QTest::addColumn<double>("reference");
    QTest::addColumn<QString>("unit");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("plain") << 0.0 << "" << 150000.0 << "150000";
    QTest::newRow("plain noise") << 0.0 << "" << 0.1 + 0.2 << "0.3";
    QTest::newRow("plain, too long") << 0.0 << "" << 1e17 << "";
    QTest::newRow("reference, no unit") << 150000.0 << "" << 153000.0 << "153000";
    QTest::newRow("above") << 150000.0 << "%" << 153000.0 << "+2%";
    QTest::newRow("equal") << 150000.0 << "%" << 150000.0 << "0%";
    QTest::newRow("two decimals") << 150000.0 << "%" << 151234.0 << "+0.82%";
    QTest::newRow("a hair above is zero") << 150000.0 << "%" << 150001.0 << "0%";
    QTest::newRow("negative reference") << -100.0 << "%" << -50.0 << "-50%";
    QTest::newRow("percent of a NaN") << 150000.0 << "%" << NaN << "";
}

void TestPlotScales::convert()
{
    QFETCH(double, reference);
    QFETCH(QString, unit);
    QFETCH(double, value);
    QFETCH(QString, text);

    MetricUnitConverter converter;
    converter.setReference(decimal::fromDouble(reference, 4));
    converter.setUnit(unit);
    QCOMPARE(converter.isActive(), reference != 0.0 && !unit.isEmpty());
    QCOMPARE(converter.convert(value), local(text));
}

void TestPlotScales::divideScale_data()
{
    // The base division of [0, 100] with 10 major steps and 2 minor ones: majors every 10,
    // mediums half way; of [0, 20] with 2 and 10: majors every 10, a medium at 5 and minors
    // at every unit.
    QTest::addColumn<double>("x1");
    QTest::addColumn<double>("x2");
    QTest::addColumn<int>("maxMinor");
    QTest::addColumn<double>("reference");
    QTest::addColumn<QList<double>>("major");
    QTest::addColumn<QList<double>>("medium");
    QTest::addColumn<QList<double>>("minor");

    const QList<double> none;
    QTest::newRow("nearest below, moved up")
        << 0.0 << 100.0 << 2 << 43.0 << range(3, 93, 10) << range(8, 98, 10) << none;
    // 45 lies half way between 40 and 50: the first wins, and the medium tick moved onto
    // the upper bound is gone.
    QTest::newRow("tie takes the first")
        << 0.0 << 100.0 << 2 << 45.0 << range(5, 95, 10) << range(10, 90, 10) << none;
    QTest::newRow("on a major tick")
        << 0.0 << 100.0 << 2 << 40.0 << range(0, 100, 10) << range(5, 95, 10) << none;
    QTest::newRow("below the range")
        << 0.0 << 100.0 << 2 << -3.0 << range(0, 100, 10) << range(5, 95, 10) << none;
    QTest::newRow("minor ticks moved too")
        << 0.0 << 20.0 << 10 << 13.0 << QList<double>{3, 13} << QList<double>{8, 18}
        << QList<double>{4, 5, 6, 7, 9, 10, 11, 12, 14, 15, 16, 17, 19};
    // Majors 10 to 90 over [2, 98]; the tick moved onto the lower bound is not kept.
    QTest::newRow("on the lower bound")
        << 2.0 << 98.0 << 2 << 2.0 << range(12, 82, 10) << range(7, 87, 10) << none;
}

void TestPlotScales::divideScale()
{
    QFETCH(double, x1);
    QFETCH(double, x2);
    QFETCH(int, maxMinor);
    QFETCH(double, reference);
    QFETCH(QList<double>, major);
    QFETCH(QList<double>, medium);
    QFETCH(QList<double>, minor);

    TestMarket market;
    LinearScaleEngine engine(10);
    engine.setReference(decimal::fromDouble(reference, 4));
    const int maxMajor = x2 - x1 > 50 ? 10 : 2;
    const QwtScaleDiv div = engine.divideScale(x1, x2, maxMajor, maxMinor, 0.0);

    QCOMPARE(div.lowerBound(), x1);
    QCOMPARE(div.upperBound(), x2);
    QCOMPARE(div.ticks(QwtScaleDiv::MajorTick), major);
    QCOMPARE(div.ticks(QwtScaleDiv::MediumTick), medium);
    QCOMPARE(div.ticks(QwtScaleDiv::MinorTick), minor);
}

void TestPlotScales::divideScaleWithoutReference()
{
    TestMarket market;
    LinearScaleEngine engine(10);
    const QwtScaleDiv plain = QwtLinearScaleEngine(10).divideScale(0.0, 100.0, 10, 2, 0.0);
    const QwtScaleDiv div = engine.divideScale(0.0, 100.0, 10, 2, 0.0);
    QCOMPARE(div.ticks(QwtScaleDiv::MajorTick), range(0, 100, 10));
    QVERIFY(div == plain);

    // Bounds or a reference that are no numbers move nothing.
    const ScaleTicks ticks{{}, {}, range(0, 100, 10)};
    QVERIFY(!shiftTicksToReference(ticks, NaN, 100.0, 43.0, 4));
    QVERIFY(!shiftTicksToReference(ticks, 0.0, Inf, 43.0, 4));
    QVERIFY(!shiftTicksToReference(ticks, 0.0, 100.0, NaN, 4));
    QVERIFY(!shiftTicksToReference(ScaleTicks(), 0.0, 100.0, 43.0, 4));
}

void TestPlotScales::divideScaleSnapsToStrikeDigits()
{
    const decimal nearForty = decimal::fromDouble(40.00001, 5);
    {
        // Strikes with 4 decimals: 40.00001 is 40 to within their last digit, on a tick.
        TestMarket market;
        LinearScaleEngine engine(10);
        engine.setReference(nearForty);
        const QwtScaleDiv div = engine.divideScale(0.0, 100.0, 10, 2, 0.0);
        QCOMPARE(div.ticks(QwtScaleDiv::MajorTick), range(0, 100, 10));
    }
    {
        // Off by half a unit: nothing to snap with 4 decimals, moved by 0.5.
        TestMarket market;
        LinearScaleEngine engine(10);
        engine.setReference(decimal::fromDouble(40.5, 1));
        const QwtScaleDiv div = engine.divideScale(0.0, 100.0, 10, 2, 0.0);
        QCOMPARE(div.ticks(QwtScaleDiv::MajorTick), range(0.5, 90.5, 10));
    }
}

void TestPlotScales::thinning_data()
{
    // Each label spans its tick plus and minus half its width; labels overlap when their
    // spans meet.
    QTest::addColumn<QList<double>>("ticks");
    QTest::addColumn<QList<double>>("widths");
    QTest::addColumn<int>("highlight");
    QTest::addColumn<int>("tickCount");
    QTest::addColumn<QList<double>>("labels");

    const QList<double> eleven = range(0, 10, 1);
    auto widths = [](int n, double w) { return QVector<double>(n, w).toList(); };

    QTest::newRow("room for all") << eleven << widths(11, 0.9) << -1 << 11 << eleven;
    QTest::newRow("one halving") << eleven << widths(11, 1.5) << -1 << 11
                                 << QList<double>{0, 2, 4, 6, 8, 10};
    // 1, 3, 5, 7, 9 still crowd at width 3; 3 is at index 1 of them, so odd again.
    QTest::newRow("odd highlight, two halvings")
        << eleven << widths(11, 3.0) << 3 << 11 << QList<double>{3, 7};
    QTest::newRow("down to the highlight")
        << range(0, 4, 1) << widths(5, 100.0) << 3 << 5 << QList<double>{3};
    QTest::newRow("rounds capped by the tick count")
        << range(0, 4, 1) << widths(5, 100.0) << -1 << 3 << QList<double>{0, 4};
    QTest::newRow("no round at all")
        << QList<double>{0, 1} << widths(2, 5.0) << -1 << 1 << QList<double>{};
    // The current price 21 crowds only 20, its nearer neighbour: that one label goes.
    QTest::newRow("drop the nearer neighbour") << QList<double>{0, 10, 20, 21, 30} << widths(5, 4.0)
                                               << 3 << 4 << QList<double>{0, 10, 21, 30};
    // 25 lies half way: the upper neighbour is dropped even though the lower one, with its
    // wide label, is the one that crowds; that fails, and the halving keeps the odd ones.
    QTest::newRow("tie drops the upper, then halves")
        << QList<double>{0, 10, 20, 25, 30, 40} << QList<double>{2, 2, 10, 2, 2, 2} << 3 << 5
        << QList<double>{10, 25, 40};
    // Both neighbours crowd the highlight: two pairs, halving on its parity.
    QTest::newRow("both neighbours crowd") << QList<double>{0, 10, 19, 20, 21, 30} << widths(6, 4.0)
                                           << 3 << 5 << QList<double>{10, 20, 30};
}

void TestPlotScales::thinning()
{
    QFETCH(QList<double>, ticks);
    QFETCH(QList<double>, widths);
    QFETCH(int, highlight);
    QFETCH(int, tickCount);
    QFETCH(QList<double>, labels);

    const LabelOverlap overlap = [&](double left, double right) {
        const double l = widths.at(ticks.indexOf(left)) / 2;
        const double r = widths.at(ticks.indexOf(right)) / 2;
        return left + l > right - r;
    };
    const QList<double> result = thinLabels(ticks, highlight, tickCount, overlap);
    QCOMPARE(result, labels);
    if (highlight >= 0 && !result.isEmpty())
        QVERIFY(result.contains(ticks.at(highlight)));
}

void TestPlotScales::allLabelledBeforeFirstPaint()
{
    MetricUnitScaleDraw draw(labelFont());
    // 21 ticks in 100 pixels: labels would crowd, but nothing is measured yet.
    place(draw, QwtLinearScaleEngine(10).divideScale(0.0, 100.0, 10, 2, 0.0), 100);
    draw.setHighlightEnabled(true);
    draw.setHighlightValue(42.0);
    draw.updateLabels();
    QList<double> expected = range(0, 100, 5);
    expected.insert(9, 42.0);
    QCOMPARE(draw.labelTicks(), expected);
    QCOMPARE(draw.labelMargin(), 8);

    // The first paint brings the metrics: now they are thinned, 42 kept.
    draw.setLabelLayoutReady(true);
    draw.updateLabels();
    QVERIFY(draw.labelTicks().size() < expected.size());
    QVERIFY(draw.labelTicks().contains(42.0));
}

void TestPlotScales::thinningOnAxis_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<bool>("highlight");
    QTest::addColumn<int>("margin");

    QTest::newRow("prices, current price") << QString() << true << 8;
    QTest::newRow("percent, current price") << QStringLiteral("%") << true << 4;
}

void TestPlotScales::thinningOnAxis()
{
    QFETCH(QString, unit);
    QFETCH(bool, highlight);
    QFETCH(int, margin);

    // Majors every 500 and mediums between them from 140000 to 160000: 81 ticks.
    const QwtScaleDiv div = QwtLinearScaleEngine(10).divideScale(140000.0, 160000.0, 40, 4, 0.0);
    QCOMPARE(div.ticks(QwtScaleDiv::MajorTick).size() + div.ticks(QwtScaleDiv::MediumTick).size(),
             81);
    const double price = 150123.0;
    const QFont font = labelFont();
    MetricUnitScaleDraw draw(font);
    draw.setReference(decimal(150000, 0));
    draw.setUnit(unit);
    draw.setHighlightEnabled(highlight);
    draw.setHighlightValue(price);
    draw.setLabelLayoutReady(true);

    int previous = std::numeric_limits<int>::max();
    for (const double width : {16000.0, 4000.0, 1500.0, 600.0, 250.0, 100.0}) {
        place(draw, div, width);
        draw.updateLabels();
        const QByteArray at = QByteArray::number(width);
        QCOMPARE(draw.labelMargin(), margin);
        const QList<double> labels = draw.labelTicks();
        QVERIFY2(!labels.isEmpty(), at);
        QVERIFY2(isSorted(labels), at);
        QVERIFY2(labels.size() <= previous, at);
        previous = labels.size();
        // 200 pixels between ticks leave room for every label.
        if (width == 16000.0)
            QCOMPARE(labels.size(), highlight ? 82 : 81);
        if (highlight)
            QVERIFY2(labels.contains(price), at);
        else
            QVERIFY2(!labels.contains(price), at);
        for (int i = 0; i + 1 < labels.size(); ++i)
            QVERIFY2(!collide(draw, font, labels.at(i), labels.at(i + 1)),
                     at + " at " + QByteArray::number(labels.at(i)));
    }
    // In 100 pixels few labels fit.
    QVERIFY(previous <= 4);
}

void TestPlotScales::brokenDivisionKeepsLabels()
{
    MetricUnitScaleDraw draw(labelFont());
    place(draw, QwtLinearScaleEngine(10).divideScale(0.0, 100.0, 10, 0, 0.0), 1000);
    draw.updateLabels();
    const QList<double> before = range(0, 100, 10);
    QCOMPARE(draw.labelTicks(), before);

    // A value listed both as a major and a medium tick: the last choice stands.
    QList<double> ticks[QwtScaleDiv::NTickTypes];
    ticks[QwtScaleDiv::MajorTick] = {0, 50, 100};
    ticks[QwtScaleDiv::MediumTick] = {50};
    place(draw, QwtScaleDiv(0.0, 100.0, ticks), 1000);
    draw.updateLabels();
    QCOMPARE(draw.labelTicks(), before);

    // Nor does an empty division change them.
    place(draw, QwtScaleDiv(), 1000);
    draw.updateLabels();
    QCOMPARE(draw.labelTicks(), before);
}

void TestPlotScales::drawPaintsHighlightRed_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("thinned");
    QTest::addColumn<bool>("red");

    QTest::newRow("highlighted, thinned") << true << true << true;
    QTest::newRow("not highlighted") << false << true << false;
}

void TestPlotScales::drawPaintsHighlightRed()
{
    QFETCH(bool, enabled);
    QFETCH(bool, thinned);
    QFETCH(bool, red);

    QFont font = labelFont();
    font.setPixelSize(20);
    // Whole pixels of the pen's colour, not blends with the background.
    font.setStyleStrategy(QFont::NoAntialias);
    MetricUnitScaleDraw draw(font);
    place(draw, QwtLinearScaleEngine(10).divideScale(0.0, 100.0, 10, 2, 0.0), 580);
    draw.move(QPointF(10, 0));
    draw.setHighlightEnabled(enabled);
    draw.setHighlightValue(42.0);
    draw.setLabelLayoutReady(thinned);
    draw.updateLabels();

    QImage image(600, 80, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setFont(font);
    QPalette palette;
    palette.setColor(QPalette::Text, Qt::black);
    palette.setColor(QPalette::WindowText, Qt::black);
    draw.draw(&painter, palette);
    painter.end();

    int redPixels = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            redPixels += c.red() > 200 && c.green() < 60 && c.blue() < 60;
        }
    }
    QCOMPARE(redPixels > 0, red);
}

QTEST_MAIN(TestPlotScales)
#include "tst_plotscales.moc"
