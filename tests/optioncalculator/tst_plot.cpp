// The calculator's plot on real Qwt widgets, offscreen, over the shared test market and the
// model portfolio's real valuation: the geometry of zoom, pan and nearest curve as tables
// of plain values, then the plot, its panner and picker driven by events.
#include "portfoliofixture.h"

#include "plot/curvecolorgenerator.h"
#include "plot/optcalcplot.h"
#include "plot/optcalcplotcurve.h"
#include "plot/optcalcplotlegend.h"
#include "plot/optcalcplotpanner.h"
#include "plot/optcalcplotpicker.h"
#include "plot/plotgeometry.h"

#include "portfolio/valuationmode.h"

#include "database/settings.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QMouseEvent>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QWheelEvent>
#include <QtTest>

#include <qwt_legend_label.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_layout.h>
#include <qwt_scale_widget.h>

#include <cfloat>


namespace {

const QString BaseLineTitle = QStringLiteral("Цена Базового Актива");

QwtScaleMap scaleMap(double p1, double p2, double s1, double s2)
{
    QwtScaleMap map;
    map.setPaintInterval(p1, p2);
    map.setScaleInterval(s1, s2);
    return map;
}

void sendMouse(QWidget* widget, QEvent::Type type, const QPoint& pos, Qt::MouseButton button,
               Qt::MouseButtons buttons)
{
    QMouseEvent event(type, pos, widget->mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &event);
}

void sendWheel(QWidget* widget, const QPoint& pos, int delta, Qt::KeyboardModifiers modifiers)
{
    QWheelEvent event(QPointF(pos), QPointF(widget->mapToGlobal(pos)), QPoint(),
                      QPoint(0, delta), Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(widget, &event);
}

QwtInterval axis(const QwtPlot* plot, int id)
{
    const QwtScaleDiv& div = plot->axisScaleDiv(id);
    return QwtInterval(div.lowerBound(), div.upperBound());
}

// Pixels of an image within a few units of a colour on every channel.
int pixelsNear(const QImage& image, const QColor& color)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (qAbs(qRed(line[x]) - color.red()) <= 8 && qAbs(qGreen(line[x]) - color.green()) <= 8
                && qAbs(qBlue(line[x]) - color.blue()) <= 8)
                ++count;
        }
    }
    return count;
}

// A plot of the model portfolio with its legend and grid, shown offscreen, and curves made
// as the calculator makes them, from the model's valuation over a grid of prices.
struct PlotFixture : PortfolioFixture
{
    explicit PlotFixture(int plotIndex = 0)
    {
        plot = new OptCalcPlot(model.get());
        plot->setPlotIndex(plotIndex);
        auto* grid = new QwtPlotGrid;
        grid->attach(plot);
        legend = new OptCalcPlotLegend(model.get(), plot);
        legend->setDefaultItemMode(QwtLegendData::ReadOnly);
        plot->insertLegend(legend, QwtPlot::RightLegend);
        QObject::connect(legend, &OptCalcPlotLegend::visibilityChanged, plot,
                         &OptCalcPlot::setCurveVisible);
        // The calculator widget answers the plot's wish to end auto-scale.
        QObject::connect(plot, &OptCalcPlot::autoScaleEnabled, plot->panner(),
                         &OptCalcPlotPanner::setAutoScale);
        plot->resize(900, 500);
        plot->show();
    }
    ~PlotFixture() { delete plot; }

    // The positions most cases hold: a short call, long puts and a long future.
    void holdPositions()
    {
        addRow(Call, -1);
        addRow(Put, 3);
        addRow(Future, 2);
    }

    OptCalcPlotCurve* addCurve(int drawType, int profileType, const QVector<QPointF>& samples,
                               const QString& title, const QColor& color, int row = -1)
    {
        auto* curve = new OptCalcPlotCurve(plot, title);
        curve->applyAppearance(color, Qt::SolidLine);
        curve->setDrawType(drawType);
        if (drawType != OptCalcPlotCurve::BasePriceLine) {
            curve->setValueIndex(plot->plotIndex());
            curve->setProfileType(profileType);
        }
        if (row >= 0)
            curve->setModelIndex(QPersistentModelIndex(model->index(row, 0)));
        curve->setPlot(plot);
        curve->setSamples(samples);
        curve->attach(plot);
        return curve;
    }
    // The model's values of one row, or of the sum with row -1, from low to high.
    QVector<QPointF> profile(int mode, int row, double low = 130000, double high = 170000,
                             double step = 1000) const
    {
        QVector<QPointF> samples;
        for (double x = low; x <= high; x += step)
            samples.append(QPointF(x, model->profilePoint(x, mode, row).values[plot->plotIndex()]));
        return samples;
    }
    OptCalcPlotCurve* addSum(int mode, const QColor& color)
    {
        return addCurve(OptCalcPlotCurve::SumCurve, mode, profile(mode, -1),
                        valuationModeTitle(mode), color);
    }
    OptCalcPlotCurve* addPosition(int row, int mode, const QColor& color)
    {
        const QString title =
            QStringLiteral("%1 (%2)").arg(model->activeRowName(row), valuationModeTitle(mode));
        return addCurve(OptCalcPlotCurve::PositionCurve, mode, profile(mode, row), title, color,
                        row);
    }
    OptCalcPlotCurve* addBaseLine(double price)
    {
        OptCalcPlotCurve* line = addCurve(OptCalcPlotCurve::BasePriceLine, -1,
                                          {QPointF(price, 0.0)}, BaseLineTitle, Qt::red);
        return line;
    }
    void showAll()
    {
        plot->updateLegendContents(false);
        setView(130000, 170000);
        plot->updateAutoScale();
    }
    // Axes take a new scale when the plot next updates them.
    void setView(double left, double right)
    {
        plot->setAxisScale(QwtPlot::xBottom, left, right);
        plot->updateAxes();
    }
    // The pixel of a point of plot coordinates on the canvas.
    QPoint canvasPixel(double x, double y) const
    {
        return QPoint(qRound(plot->canvasMap(QwtPlot::xBottom).transform(x)),
                      qRound(plot->canvasMap(QwtPlot::yLeft).transform(y)));
    }
    QString tracker(double x, double y) const
    {
        return plot->picker()->trackerText(canvasPixel(x, y)).text();
    }

    OptCalcPlot* plot = nullptr;
    OptCalcPlotLegend* legend = nullptr;
};

} // namespace

class TestPlot : public QObject
{
    Q_OBJECT

private slots:
    void wheelFactor_data();
    void wheelFactor();
    void wheelZoom_data();
    void wheelZoom();
    void axisDragZoom_data();
    void axisDragZoom();
    void panMove_data();
    void panMove();
    void curveDistance_data();
    void curveDistance();

    void curveValidity_data();
    void curveValidity();
    void autoScale_data();
    void autoScale();
    void visibleProfileRangeAtEdges_data();
    void visibleProfileRangeAtEdges();
    void wheelOnPlot_data();
    void wheelOnPlot();
    void axisDrag_data();
    void axisDrag();
    void panning();
    void tracker_data();
    void tracker();
    void trackerFollowsNearestCurve();
    void trackerPriceStep();
    void curveVisibilityFromLegend();
    void legendEntryToggles_data();
    void legendEntryToggles();
    void legendSaveRestore();
    void legendRestoreSkipsBadKeys_data();
    void legendRestoreSkipsBadKeys();
    void curveColors_data();
    void curveColors();
    void resetAndBaseLine();
    void valuePrecision_data();
    void valuePrecision();
    void renderedCurves();
};

void TestPlot::wheelFactor_data()
{
    QTest::addColumn<int>("delta");
    QTest::addColumn<double>("factor");
    QTest::newRow("one notch in") << 120 << 0.9;
    QTest::newRow("one notch out") << -120 << 1.1;
    QTest::newRow("two notches in") << 240 << 0.89;
    QTest::newRow("less than a notch") << 100 << 0.0;
}

void TestPlot::wheelFactor()
{
    QFETCH(int, delta);
    QFETCH(double, factor);
    QCOMPARE(wheelZoomFactor(wheelSteps(delta)), factor);
}

void TestPlot::wheelZoom_data()
{
    // The view is x 0..100, y 0..10 unless given; the cursor at (50, 5) unless given.
    QTest::addColumn<int>("delta");
    QTest::addColumn<QPointF>("cursor");
    QTest::addColumn<QwtInterval>("y");
    QTest::addColumn<QRectF>("data");
    QTest::addColumn<double>("minXRange");
    QTest::addColumn<int>("where"); // 0 canvas, 1 price axis, 2 value axis
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<bool>("zooms");
    QTest::addColumn<QwtInterval>("newX"); // invalid: x unchanged
    QTest::addColumn<QwtInterval>("newY"); // invalid: y unchanged

    const QPointF centre(50, 5);
    const QwtInterval view(0, 10), none;
    const QRectF all(0, 0, 100, 10), low(0, 2, 100, 4);
    const int ctrl = Qt::ControlModifier, shift = Qt::ShiftModifier;
    QTest::newRow("in around the centre") << 120 << centre << view << all << -1.0 << 0 << 0
                                          << true << QwtInterval(5, 95) << QwtInterval(0.5, 9.5);
    QTest::newRow("cursor keeps its quarter") << 120 << QPointF(25, 2.5) << view << all << -1.0
                                              << 0 << 0 << true << QwtInterval(2.5, 92.5)
                                              << QwtInterval(0.25, 9.25);
    QTest::newRow("height follows the data") << 120 << centre << view << low << -1.0 << 0 << 0
                                             << true << QwtInterval(5, 95)
                                             << QwtInterval(5.9, 9.5);
    QTest::newRow("on the price axis") << 120 << centre << view << low << -1.0 << 1 << 0 << true
                                       << QwtInterval(5, 95) << none;
    QTest::newRow("on the value axis") << 120 << centre << view << low << -1.0 << 2 << 0 << true
                                       << none << QwtInterval(0.5, 9.5);
    QTest::newRow("control") << 120 << centre << view << low << -1.0 << 0 << ctrl << true
                             << QwtInterval(5, 95) << none;
    QTest::newRow("shift") << 120 << centre << view << low << -1.0 << 0 << shift << true << none
                           << QwtInterval(5.5, 9.5);
    QTest::newRow("in stops at minXRange") << 120 << centre << view << all << 95.0 << 0 << 0
                                           << false << none << none;
    QTest::newRow("in stops at a tiny height")
        << 120 << QPointF(50, 0.5e-8) << QwtInterval(0, 1e-8) << QRectF(0, 0, 100, 1e-8) << -1.0
        << 0 << 0 << false << none << none;
    QTest::newRow("out never stops at minXRange")
        << -120 << centre << view << QRectF(-50, 0, 200, 10) << 1000.0 << 0 << 0 << true
        << QwtInterval(-5, 105) << QwtInterval(-0.5, 10.5);
    QTest::newRow("out pins the edge beyond the data")
        << -120 << centre << view << QRectF(20, 0, 200, 10) << -1.0 << 0 << 0 << true
        << QwtInterval(0, 110) << QwtInterval(-0.5, 10.5);
    QTest::newRow("out with all data in view")
        << -120 << centre << view << QRectF(10, 1, 80, 8) << -1.0 << 0 << 0 << false << none
        << none;
    QTest::newRow("no cursor yet") << 120 << QPointF() << view << all << -1.0 << 0 << 0 << false
                                   << none << none;
    QTest::newRow("less than a notch") << 100 << centre << view << all << -1.0 << 0 << 0 << false
                                       << none << none;
    QTest::newRow("flat data keeps its axis")
        << 120 << centre << view << QRectF(0, 5, 100, 0) << -1.0 << 0 << 0 << true
        << QwtInterval(5, 95) << none;
}

void TestPlot::wheelZoom()
{
    QFETCH(int, delta);
    QFETCH(QPointF, cursor);
    QFETCH(QwtInterval, y);
    QFETCH(QRectF, data);
    QFETCH(double, minXRange);
    QFETCH(int, where);
    QFETCH(int, modifiers);
    QFETCH(bool, zooms);
    QFETCH(QwtInterval, newX);
    QFETCH(QwtInterval, newY);

    WheelZoomRequest request;
    request.delta = delta;
    request.cursor = cursor;
    request.x = QwtInterval(0, 100);
    request.y = y;
    request.data = data;
    request.minXRange = minXRange;
    request.onXAxis = where == 1;
    request.onYAxis = where == 2;
    request.control = modifiers & Qt::ControlModifier;
    request.shift = modifiers & Qt::ShiftModifier;
    const std::optional<AxisChange> change = ::wheelZoom(request);
    QCOMPARE(change.has_value(), zooms);
    if (!change)
        return;
    QCOMPARE(change->changeX, newX.isValid());
    QCOMPARE(change->changeY, newY.isValid());
    const auto same = [](const QwtInterval& a, const QwtInterval& b) {
        return qAbs(a.minValue() - b.minValue()) < 1e-9 && qAbs(a.maxValue() - b.maxValue()) < 1e-9;
    };
    QVERIFY(!newX.isValid() || same(change->x, newX));
    QVERIFY(!newY.isValid() || same(change->y, newY));
}

void TestPlot::axisDragZoom_data()
{
    // The axis is 0..100: a tenth of it is 10, taken half a side or whole on one side.
    QTest::addColumn<double>("dataMin");
    QTest::addColumn<double>("dataMax");
    QTest::addColumn<bool>("grow");
    QTest::addColumn<double>("minRange");
    QTest::addColumn<QwtInterval>("expected"); // invalid: nothing happens

    QTest::newRow("grow with all data in view") << 10.0 << 90.0 << true << -1.0 << QwtInterval();
    QTest::newRow("grow towards data below") << -50.0 << 90.0 << true << -1.0
                                             << QwtInterval(-10, 100);
    QTest::newRow("grow towards data above") << 10.0 << 150.0 << true << -1.0
                                             << QwtInterval(0, 110);
    QTest::newRow("grow both ways") << -50.0 << 150.0 << true << -1.0 << QwtInterval(-5, 105);
    QTest::newRow("shrink") << 10.0 << 90.0 << false << -1.0 << QwtInterval(5, 95);
    QTest::newRow("shrink at the limit") << 10.0 << 90.0 << false << 100.5 << QwtInterval();
}

void TestPlot::axisDragZoom()
{
    QFETCH(double, dataMin);
    QFETCH(double, dataMax);
    QFETCH(bool, grow);
    QFETCH(double, minRange);
    QFETCH(QwtInterval, expected);
    const std::optional<QwtInterval> zoomed =
        ::axisDragZoom(QwtInterval(0, 100), dataMin, dataMax, grow, minRange);
    QCOMPARE(zoomed.has_value(), expected.isValid());
    if (zoomed)
        QCOMPARE(*zoomed, expected);
}

void TestPlot::panMove_data()
{
    // One pixel a unit across; the value axis 5 pixels a unit, 100 pixels high.
    QTest::addColumn<QwtInterval>("x");
    QTest::addColumn<QwtInterval>("y");
    QTest::addColumn<QRectF>("data");
    QTest::addColumn<QPoint>("drag");
    QTest::addColumn<bool>("moves");
    QTest::addColumn<QPoint>("move");

    const QRectF data(0, 0, 100, 100);
    QTest::newRow("inside the data") << QwtInterval(20, 80) << QwtInterval(40, 60) << data
                                     << QPoint(10, 5) << true << QPoint(10, 5);
    QTest::newRow("wholly off the data") << QwtInterval(0, 100) << QwtInterval(0, 20)
                                         << QRectF(200, 0, 100, 100) << QPoint(-30, 7) << true
                                         << QPoint(-30, 7);
    QTest::newRow("all data in a wider view") << QwtInterval(0, 100) << QwtInterval(0, 20)
                                              << QRectF(20, 2, 60, 16) << QPoint(10, 0) << false
                                              << QPoint();
    QTest::newRow("left edge within a tenth") << QwtInterval(5, 105) << QwtInterval(40, 60)
                                              << data << QPoint(20, 0) << true << QPoint(10, 0);
    QTest::newRow("left edge already beyond") << QwtInterval(-5, 95) << QwtInterval(40, 60)
                                              << data << QPoint(10, 0) << false << QPoint();
    QTest::newRow("top edge within a tenth") << QwtInterval(20, 80) << QwtInterval(79, 99)
                                             << data << QPoint(0, 20) << true << QPoint(0, 10);
    QTest::newRow("bottom edge within a tenth") << QwtInterval(20, 80) << QwtInterval(1, 21)
                                                << data << QPoint(0, -20) << true
                                                << QPoint(0, -10);
    QTest::newRow("flat curve up to a quarter") << QwtInterval(20, 80) << QwtInterval(46, 66)
                                                << QRectF(0, 50, 100, 0) << QPoint(0, -10)
                                                << true << QPoint(0, -10);
    QTest::newRow("flat curve not beyond a quarter") << QwtInterval(20, 80) << QwtInterval(44, 64)
                                                     << QRectF(0, 50, 100, 0) << QPoint(0, -10)
                                                     << false << QPoint();
    QTest::newRow("no data") << QwtInterval(0, 100) << QwtInterval(0, 20) << QRectF(0, 0, 0, 0)
                             << QPoint(10, 10) << false << QPoint();
}

void TestPlot::panMove()
{
    QFETCH(QwtInterval, x);
    QFETCH(QwtInterval, y);
    QFETCH(QRectF, data);
    QFETCH(QPoint, drag);
    QFETCH(bool, moves);
    QFETCH(QPoint, move);
    const QwtScaleMap xMap = scaleMap(0, x.width(), x.minValue(), x.maxValue());
    const QwtScaleMap yMap = scaleMap(5 * y.width(), 0, y.minValue(), y.maxValue());
    const std::optional<QPoint> result =
        ::panMove(xMap, yMap, true, true, data, drag.x(), drag.y());
    QCOMPARE(result.has_value(), moves);
    if (result)
        QCOMPARE(*result, move);
}

void TestPlot::curveDistance_data()
{
    // The data spans 0..200 across and 0..50 up: a unit across is half a point of the plane,
    // a unit up two points.
    QTest::addColumn<QVector<QPointF>>("samples");
    QTest::addColumn<QRectF>("data");
    QTest::addColumn<QPointF>("cursor");
    QTest::addColumn<double>("distance");

    const QVector<QPointF> line{{0, 0}, {100, 25}, {200, 50}};
    const QRectF data(0, 0, 200, 50);
    QTest::newRow("on a sample") << line << data << QPointF(100, 25) << 0.0;
    QTest::newRow("above a sample") << line << data << QPointF(100, 28) << 6.0;
    QTest::newRow("beside and above") << line << data << QPointF(106, 27) << 5.0;
    QTest::newRow("flat data counts height in units")
        << QVector<QPointF>{{0, 7}, {200, 7}} << QRectF(0, 7, 200, 0) << QPointF(0, 10) << 3.0;
    QTest::newRow("no samples") << QVector<QPointF>() << data << QPointF(0, 0) << -1.0;
    QTest::newRow("no data") << line << QRectF(0, 0, 0, 0) << QPointF(0, 0) << -1.0;
}

void TestPlot::curveDistance()
{
    QFETCH(QVector<QPointF>, samples);
    QFETCH(QRectF, data);
    QFETCH(QPointF, cursor);
    QFETCH(double, distance);
    const QwtPointSeriesData series(samples);
    QVERIFY2(qAbs(::curveDistance(series, data, cursor) - distance) < 1e-9,
             qPrintable(QString::number(::curveDistance(series, data, cursor), 'g', 17)));
}

void TestPlot::curveValidity_data()
{
    QTest::addColumn<int>("drawType");
    QTest::addColumn<int>("valueIndex");
    QTest::addColumn<int>("profileType");
    QTest::addColumn<bool>("withRow");
    QTest::addColumn<QString>("title");
    QTest::addColumn<bool>("valid");

    const QString title = QStringLiteral("Текущий профиль");
    QTest::newRow("sum") << 1 << 0 << 1 << false << title << true;
    QTest::newRow("position") << 0 << 4 << 2 << true << title << true;
    QTest::newRow("position without a row") << 0 << 0 << 1 << false << title << false;
    QTest::newRow("base line") << 2 << -1 << -1 << false << BaseLineTitle << true;
    QTest::newRow("base line with a value") << 2 << 0 << -1 << false << BaseLineTitle << false;
    QTest::newRow("value out of range") << 1 << 5 << 1 << false << title << false;
    QTest::newRow("no draw type") << -1 << 0 << 1 << false << title << false;
    QTest::newRow("no title") << 1 << 0 << 1 << false << QString() << false;
}

void TestPlot::curveValidity()
{
    QFETCH(int, drawType);
    QFETCH(int, valueIndex);
    QFETCH(int, profileType);
    QFETCH(bool, withRow);
    QFETCH(QString, title);
    QFETCH(bool, valid);

    PlotFixture f;
    f.addRow(Call, 1);
    OptCalcPlotCurve* curve =
        f.addCurve(drawType, profileType, {{1, 1}, {2, 2}}, title, Qt::blue, withRow ? 0 : -1);
    curve->setValueIndex(valueIndex);
    QCOMPARE(curve->isValid(), valid);

    // A curve of a position goes invalid with its row.
    if (valid && withRow) {
        f.model->removeRows({f.model->index(0, 0)});
        QCOMPARE(f.model->rowCount(), 0);
        QVERIFY(!curve->isValid());
    }
    // No samples, no curve.
    curve->setSamples(QVector<QPointF>());
    QVERIFY(!curve->isValid());
}

void TestPlot::autoScale_data()
{
    QTest::addColumn<int>("curves"); // 0 none, 1 flat at 5, 2 the portfolio's profiles
    QTest::addColumn<bool>("autoScale");
    QTest::newRow("empty plot") << 0 << true;
    QTest::newRow("flat curve") << 1 << true;
    QTest::newRow("profiles") << 2 << true;
    QTest::newRow("profiles without auto-scale") << 2 << false;
}

void TestPlot::autoScale()
{
    QFETCH(int, curves);
    QFETCH(bool, autoScale);

    PlotFixture f;
    f.holdPositions();
    f.addBaseLine(150000);
    if (curves == 1) {
        QVector<QPointF> flat;
        for (double x = 130000; x <= 170000; x += 1000)
            flat.append(QPointF(x, 5.0));
        f.addCurve(OptCalcPlotCurve::SumCurve, 1, flat, valuationModeTitle(1), Qt::darkGreen);
    } else if (curves == 2) {
        for (int mode = 0; mode < ValuationModeCount; ++mode)
            f.addSum(mode, Qt::darkGreen);
    }
    f.plot->setAxisScale(QwtPlot::yLeft, -7, 3);
    f.setView(130000, 170000);
    f.plot->panner()->setAutoScale(autoScale);
    f.plot->updateAutoScale();

    QwtInterval expected(-7, 3);
    if (autoScale && curves == 0)
        expected = QwtInterval(-1, 1);
    else if (autoScale && curves == 1)
        expected = QwtInterval(4, 6);
    else if (autoScale) {
        double min = DBL_MAX, max = -DBL_MAX;
        for (int mode = 0; mode < ValuationModeCount; ++mode) {
            for (const QPointF& p : f.profile(mode, -1)) {
                min = std::min(min, p.y());
                max = std::max(max, p.y());
            }
        }
        expected = QwtInterval(min, max);
    }
    QCOMPARE(axis(f.plot, QwtPlot::yLeft), expected);
    // The base price line spans the axis and a tenth beyond, its middle on zero.
    const OptCalcPlotCurve* line = f.plot->curves().first();
    QCOMPARE(line->dataSize(), size_t(3));
    QCOMPARE(line->sample(1), QPointF(150000, 0.0));
    QVERIFY(line->sample(0).y() < qMin(expected.minValue(), 0.0));
    QVERIFY(line->sample(2).y() > qMax(expected.maxValue(), 0.0));
}

void TestPlot::visibleProfileRangeAtEdges_data()
{
    QTest::addColumn<int>("plotIndex");
    QTest::addColumn<int>("row"); // -1 the sum curves
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("high");

    QTest::newRow("profit of the sum between samples") << 0 << -1 << 141234.0 << 158766.0;
    QTest::newRow("delta of a put") << 1 << 1 << 136666.0 << 151111.0;
    QTest::newRow("gamma of the sum") << 2 << -1 << 147777.0 << 152222.0;
    QTest::newRow("theta of the call") << 4 << 0 << 145555.0 << 169999.0;
}

void TestPlot::visibleProfileRangeAtEdges()
{
    QFETCH(int, plotIndex);
    QFETCH(int, row);
    QFETCH(double, low);
    QFETCH(double, high);

    PlotFixture f(plotIndex);
    f.holdPositions();
    for (int mode = 0; mode < ValuationModeCount; ++mode) {
        if (row < 0)
            f.addSum(mode, Qt::darkGreen);
        else
            f.addPosition(row, mode, Qt::blue);
    }
    f.setView(low, high);
    const QPair<double, double> range = f.plot->visibleProfileRange();

    // Brute force: the samples inside the view and the model's values at the edges, which
    // the plot rounds to the base's price step of 10.
    const double edges[2] = {qRound(low / 10) * 10.0, qRound(high / 10) * 10.0};
    double min = DBL_MAX, max = -DBL_MAX;
    for (int mode = 0; mode < ValuationModeCount; ++mode) {
        for (const QPointF& p : f.profile(mode, row)) {
            if (p.x() >= edges[0] && p.x() <= edges[1]) {
                min = std::min(min, p.y());
                max = std::max(max, p.y());
            }
        }
        for (double x : edges) {
            const double value = f.model->profilePoint(x, mode, row).values[plotIndex];
            min = std::min(min, value);
            max = std::max(max, value);
        }
    }
    QVERIFY(min < max);
    QCOMPARE(range.first, min);
    QCOMPARE(range.second, max);
}

void TestPlot::wheelOnPlot_data()
{
    QTest::addColumn<bool>("hovered");
    QTest::addColumn<bool>("zoomEnabled");
    QTest::addColumn<int>("delta");
    QTest::addColumn<int>("where"); // 0 canvas, 1 price axis, 2 value axis
    QTest::addColumn<bool>("xChanges");
    QTest::addColumn<bool>("yChanges");

    QTest::newRow("before the cursor was on the canvas") << false << true << 120 << 0 << false
                                                         << false;
    QTest::newRow("zoom switched off") << true << false << 120 << 0 << false << false;
    QTest::newRow("less than a notch") << true << true << 100 << 0 << false << false;
    QTest::newRow("on the canvas") << true << true << 120 << 0 << true << true;
    QTest::newRow("on the price axis") << true << true << 240 << 1 << true << false;
    QTest::newRow("on the value axis") << true << true << 120 << 2 << false << true;
}

void TestPlot::wheelOnPlot()
{
    QFETCH(bool, hovered);
    QFETCH(bool, zoomEnabled);
    QFETCH(int, delta);
    QFETCH(int, where);
    QFETCH(bool, xChanges);
    QFETCH(bool, yChanges);

    PlotFixture f;
    f.holdPositions();
    f.addBaseLine(150000);
    f.addSum(CurrentValuation, Qt::darkGreen);
    f.showAll();
    f.plot->setMouseZoomEnabled(zoomEnabled);
    const QwtInterval x0 = axis(f.plot, QwtPlot::xBottom), y0 = axis(f.plot, QwtPlot::yLeft);
    const QPointF cursor(140000, (y0.minValue() + y0.maxValue()) / 2);
    if (hovered) {
        sendMouse(f.plot->canvas(), QEvent::MouseMove, f.canvasPixel(cursor.x(), cursor.y()),
                  Qt::NoButton, Qt::NoButton);
        QVERIFY(qAbs(f.plot->picker()->lastPoint().x() - cursor.x()) < 100);
    }
    QSignalSpy autoScaleOff(f.plot, &OptCalcPlot::autoScaleEnabled);
    QSignalSpy labels(f.plot, &OptCalcPlot::updateAxisLabels);
    QWidget* target = f.plot->canvas();
    if (where == 1)
        target = f.plot->axisWidget(QwtPlot::xBottom);
    else if (where == 2)
        target = f.plot->axisWidget(QwtPlot::yLeft);
    // Unhandled by the canvas and the axes, the wheel reaches the plot (Qt forwards only
    // spontaneous wheel events to the parent, so the test sends it there itself).
    sendWheel(f.plot, target->mapTo(f.plot, target->rect().center()), delta, Qt::NoModifier);

    const QwtInterval x1 = axis(f.plot, QwtPlot::xBottom), y1 = axis(f.plot, QwtPlot::yLeft);
    QCOMPARE(x1 != x0, xChanges);
    QCOMPARE(y1 != y0, yChanges);
    QCOMPARE(autoScaleOff.count(), xChanges || yChanges ? 1 : 0);
    QCOMPARE(labels.count(), xChanges || yChanges ? 1 : 0);
    QCOMPARE(f.plot->panner()->autoScale(), !(xChanges || yChanges));
    if (xChanges) {
        // Zooming in around the cursor keeps it where it was in the view.
        const double before = (f.plot->picker()->lastPoint().x() - x0.minValue()) / x0.width();
        const double after = (f.plot->picker()->lastPoint().x() - x1.minValue()) / x1.width();
        QVERIFY(x1.width() < x0.width());
        QVERIFY(qAbs(before - after) < 1e-9);
    }
}

void TestPlot::axisDrag_data()
{
    QTest::addColumn<int>("where"); // 0 canvas, 1 price axis, 2 value axis
    QTest::addColumn<int>("dx");
    QTest::addColumn<int>("dy");
    QTest::addColumn<int>("xWidth"); // -1 narrower, 0 the same, 1 wider
    QTest::addColumn<int>("yHeight");

    QTest::newRow("drag left on the price axis shrinks it") << 1 << -30 << 0 << -1 << 0;
    QTest::newRow("drag right on the price axis with all data in view") << 1 << 30 << 0 << 0 << 0;
    QTest::newRow("drag up on the value axis shrinks it") << 2 << 0 << -30 << 0 << -1;
}

void TestPlot::axisDrag()
{
    QFETCH(int, where);
    QFETCH(int, dx);
    QFETCH(int, dy);
    QFETCH(int, xWidth);
    QFETCH(int, yHeight);

    PlotFixture f;
    f.holdPositions();
    f.addSum(CurrentValuation, Qt::darkGreen);
    f.showAll();
    const QwtInterval x0 = axis(f.plot, QwtPlot::xBottom), y0 = axis(f.plot, QwtPlot::yLeft);
    QWidget* target = f.plot->canvas();
    if (where == 1)
        target = f.plot->axisWidget(QwtPlot::xBottom);
    else if (where == 2)
        target = f.plot->axisWidget(QwtPlot::yLeft);
    QSignalSpy autoScaleOff(f.plot, &OptCalcPlot::autoScaleEnabled);
    // Presses and moves that the axis widgets leave alone reach the plot; the points are the
    // plot's, since the axes move as their labels change.
    const QPoint from = target->mapTo(f.plot, target->rect().center());
    sendMouse(f.plot, QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
    sendMouse(f.plot, QEvent::MouseMove, from + QPoint(dx / 2, dy / 2), Qt::NoButton,
              Qt::LeftButton);
    sendMouse(f.plot, QEvent::MouseMove, from + QPoint(dx, dy), Qt::NoButton, Qt::LeftButton);

    auto sign = [](double d) { return d < -1e-9 ? -1 : (d > 1e-9 ? 1 : 0); };
    const QwtInterval x1 = axis(f.plot, QwtPlot::xBottom), y1 = axis(f.plot, QwtPlot::yLeft);
    QCOMPARE(sign(x1.width() - x0.width()), xWidth);
    QCOMPARE(sign(y1.width() - y0.width()), yHeight);
    // Two steps of a tenth of the range each, about the middle.
    if (xWidth < 0)
        QVERIFY(qAbs(x1.width() - x0.width() * 0.9 * 0.9) < 1e-6);
    QCOMPARE(autoScaleOff.count(), xWidth || yHeight ? 1 : 0);
    sendMouse(f.plot, QEvent::MouseButtonRelease, from + QPoint(dx, dy), Qt::LeftButton,
              Qt::NoButton);
}

void TestPlot::panning()
{
    PlotFixture f;
    f.holdPositions();
    f.addSum(CurrentValuation, Qt::darkGreen);
    f.showAll();
    QSignalSpy autoScaleOff(f.plot, &OptCalcPlot::autoScaleEnabled);
    QSignalSpy labels(f.plot, &OptCalcPlot::updateAxisLabels);

    // All the data in view across: a drag sideways is refused, auto-scale stays on.
    const QwtInterval x0 = axis(f.plot, QwtPlot::xBottom);
    f.plot->panner()->moveCanvas(40, 0);
    QCOMPARE(axis(f.plot, QwtPlot::xBottom), x0);
    QCOMPARE(autoScaleOff.count(), 0);

    // Zoomed into the data, a real drag on the canvas moves the view freely.
    f.setView(145000, 155000);
    const QwtInterval zoomed = axis(f.plot, QwtPlot::xBottom);
    QWidget* canvas = f.plot->canvas();
    const QPoint from = canvas->rect().center();
    sendMouse(canvas, QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
    sendMouse(canvas, QEvent::MouseMove, from + QPoint(30, 0), Qt::NoButton, Qt::LeftButton);
    sendMouse(canvas, QEvent::MouseButtonRelease, from + QPoint(30, 0), Qt::LeftButton,
              Qt::NoButton);
    const QwtInterval panned = axis(f.plot, QwtPlot::xBottom);
    QVERIFY2(panned.minValue() < zoomed.minValue(), "dragging right shows lower prices");
    QVERIFY(qAbs(panned.width() - zoomed.width()) < 1e-6);
    QCOMPARE(autoScaleOff.count(), 1);
    QCOMPARE(labels.count(), 1);

    // Without curves nothing moves.
    for (OptCalcPlotCurve* curve : f.plot->curves())
        curve->setVisible(false);
    f.plot->panner()->moveCanvas(20, 20);
    QCOMPARE(axis(f.plot, QwtPlot::xBottom), panned);
}

void TestPlot::tracker_data()
{
    QTest::addColumn<int>("plotIndex");
    QTest::addColumn<bool>("partial");
    QTest::addColumn<bool>("summary");
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QStringList>("uncheck");
    QTest::addColumn<double>("valueStep");
    // Lines; "sum N" stands for the line of the sum's profit in mode N.
    QTest::addColumn<QStringList>("expected");

    const QStringList none;
    const QString price = QStringLiteral("Цена БА: 150010");
    const QString sum0 = QStringLiteral("sum 0"), sum1 = QStringLiteral("sum 1"),
                  sum2 = QStringLiteral("sum 2");
    QTest::newRow("price alone") << 0 << false << false << QString() << none << 10.0
                                 << QStringList{price};
    QTest::newRow("summary curves in item order") << 0 << false << true << QString() << none
                                                  << 10.0 << QStringList{price, sum0, sum1, sum2};
    QTest::newRow("unchecked curves are left out")
        << 0 << false << true << QString() << QStringList{valuationModeTitle(1)} << 10.0
        << QStringList{price, sum0, sum2};
    QTest::newRow("percent of the reference")
        << 0 << false << false << QStringLiteral("%") << none << 10.0
        << QStringList{price, QStringLiteral("Цена БА: +0.01%")};
    QTest::newRow("nearest curve is a sum") << 0 << true << false << QString() << none << 10.0
                                            << QStringList{price, sum0, sum1, sum2};
    // The gamma of the portfolio is far below 0.05 now, and nothing at expiry off a strike.
    QTest::newRow("small values shown as zero")
        << 2 << false << true << QString() << none << 0.1
        << QStringList{price, valuationModeTitle(0) + QStringLiteral(": 0"),
                       valuationModeTitle(1) + QStringLiteral(": 0"),
                       valuationModeTitle(2) + QStringLiteral(": 0")};
    QTest::newRow("values finer than the step can show are dropped")
        << 2 << false << true << QString() << none << 1e-11
        << QStringList{price, valuationModeTitle(2) + QStringLiteral(": 0")};
}

void TestPlot::tracker()
{
    QFETCH(int, plotIndex);
    QFETCH(bool, partial);
    QFETCH(bool, summary);
    QFETCH(QString, unit);
    QFETCH(QStringList, uncheck);
    QFETCH(double, valueStep);
    QFETCH(QStringList, expected);

    PlotFixture f(plotIndex);
    f.holdPositions();
    for (int mode = 0; mode < ValuationModeCount; ++mode)
        f.addSum(mode, Qt::darkGreen);
    f.showAll();
    f.plot->setCurveGroupVisible(0, partial);
    f.plot->setCurveGroupVisible(1, summary);
    f.plot->setUnit(unit);
    f.plot->setReferenceValue(decimal(150000, 0));
    f.plot->setValueStep(valueStep);
    // A view narrow enough that a pixel is finer than the price step.
    f.setView(149900, 150100);
    for (const QString& title : uncheck)
        f.legend->setItemChecked(title, false);

    for (QString& line : expected) {
        if (line.startsWith(QLatin1String("sum "))) {
            const int mode = line.mid(4).toInt();
            const double value = f.model->profilePoint(150010, mode, -1).profit();
            line = QStringLiteral("%1: %2").arg(valuationModeTitle(mode)).arg(qint64(value));
        }
    }
    // The cursor 3 above a step of the price: the price is shown on the step.
    const QString text = f.tracker(150013, f.profile(0, -1).at(20).y());
    QCOMPARE(text, expected.join(QLatin1Char('\n')));

    // Off the price axis there is no tracker, but the cursor's place is kept.
    QCOMPARE(f.tracker(171000, 0), QString());
    QVERIFY(f.plot->picker()->lastPoint().x() > 170000);
}

void TestPlot::trackerFollowsNearestCurve()
{
    PlotFixture f;
    f.holdPositions();
    CurveColorGenerator colors;
    const QList<QColor> palette = colors.colors(3);
    for (int row = 0; row < 3; ++row) {
        for (int mode = 0; mode < ValuationModeCount; ++mode)
            f.addPosition(row, mode, palette.at(row));
    }
    f.showAll();
    f.plot->setCurveGroupVisible(0, true);
    f.plot->setValueStep(10);
    const QList<OptCalcPlotCurve*> curves = f.plot->curves();
    const QRectF data = dataRect(f.plot->canvas());

    // Anywhere, the curve named is one nearest over all samples, in the plane where the
    // data spans 100 both ways.
    QRandomGenerator random(7);
    for (int i = 0; i < 40; ++i) {
        const QPointF cursor(131000 + random.bounded(38000),
                             data.top() + random.bounded(data.height()));
        const QString text = f.tracker(cursor.x(), cursor.y());
        const QPointF seen = f.plot->picker()->lastPoint();
        const QPointF at(qRound(seen.x() / 10) * 10.0, seen.y());
        double best = DBL_MAX;
        QStringList nearest;
        for (OptCalcPlotCurve* curve : curves) {
            for (size_t k = 0; k < curve->dataSize(); ++k) {
                const QPointF s = curve->sample(k);
                const double d = std::hypot((s.x() - at.x()) / data.width(),
                                            (s.y() - at.y()) / data.height());
                if (d < best - 1e-12) {
                    best = d;
                    nearest = QStringList{curve->title().text()};
                } else if (d < best + 1e-12 && !nearest.contains(curve->title().text())) {
                    nearest.append(curve->title().text());
                }
            }
        }
        QVERIFY(!text.isEmpty());
        const QString name = text.section(QLatin1Char('\n'), 0, 0).section(QLatin1String(": "), 1);
        const QString profile =
            text.section(QLatin1Char('\n'), -1).section(QLatin1Char(':'), 0, 0);
        QVERIFY2(nearest.contains(QStringLiteral("%1 (%2)").arg(name, profile)),
                 qPrintable(text + QLatin1String(" / ") + nearest.join(QLatin1Char(','))));
    }

    // On a sample of a curve, the tracker names that curve and values its row there. The
    // view is narrowed around the sample so that a pixel is finer than the price step. The
    // future's three profiles coincide, and the first of equals is named.
    for (OptCalcPlotCurve* curve : {curves.at(0), curves.at(5), curves.at(6)}) {
        const QPointF p = curve->sample(12);
        f.plot->setAxisScale(QwtPlot::yLeft, p.y() - 1, p.y() + 1);
        f.setView(p.x() - 200, p.x() + 200);
        const int row = curve->modelIndex().row();
        const double value = f.model->profilePoint(p.x(), curve->profileType(), row).profit();
        const QString expected = QStringLiteral("Имя инструмента: %1\nЦена БА: %2\n%3: %4")
                                     .arg(f.model->activeRowName(row))
                                     .arg(qint64(p.x()))
                                     .arg(valuationModeTitle(curve->profileType()))
                                     .arg(qint64(value));
        QCOMPARE(f.tracker(p.x(), p.y()), expected);
    }
}

void TestPlot::trackerPriceStep()
{
    PlotFixture f;
    f.holdPositions();
    f.addSum(CurrentValuation, Qt::darkGreen);
    f.showAll();
    f.setView(149900, 150100);
    f.plot->setValueStep(10);

    // A base future without a step: no tracker, and the step is looked for again later.
    f.market.setField(Future, QStringLiteral("price_step"), QVariant::fromValue(decimal::zero));
    QCOMPARE(f.tracker(150000, 0), QString());
    QVERIFY(f.plot->picker()->stepTimerActive());
    f.market.setField(Future, QStringLiteral("price_step"), QVariant::fromValue(decimal(10, 0)));
    QTRY_COMPARE_WITH_TIMEOUT(f.tracker(150000, 0), QStringLiteral("Цена БА: 150000"), 3000);
}

void TestPlot::curveVisibilityFromLegend()
{
    PlotFixture f;
    f.holdPositions();
    OptCalcPlotCurve* line = f.addBaseLine(150000);
    OptCalcPlotCurve* whatIf = f.addSum(WhatIfValuation, Qt::red);
    OptCalcPlotCurve* expiry = f.addSum(ExpiryValuation, Qt::black);
    f.showAll();
    const QwtInterval both = axis(f.plot, QwtPlot::yLeft);

    // Switching a profile off refits the value axis to what is left.
    f.legend->setItemChecked(valuationModeTitle(ExpiryValuation), false);
    QVERIFY(!expiry->isVisible());
    QVERIFY(whatIf->isVisible());
    QVERIFY(axis(f.plot, QwtPlot::yLeft) != both);

    // The base price line only goes; the axis stays.
    const QwtInterval one = axis(f.plot, QwtPlot::yLeft);
    f.legend->setItemChecked(BaseLineTitle, false);
    QVERIFY(!line->isVisible());
    QCOMPARE(axis(f.plot, QwtPlot::yLeft), one);
}


namespace {

// The check box and label of the legend entry of that title.
QPair<QCheckBox*, QwtLegendLabel*> legendEntry(OptCalcPlotLegend* legend, const QString& title)
{
    for (QwtLegendLabel* label : legend->findChildren<QwtLegendLabel*>()) {
        if (label->text().text() == title)
            return {label->parentWidget()->findChild<QCheckBox*>(), label};
    }
    return {nullptr, nullptr};
}

QColor labelColor(const QwtLegendLabel* label)
{
    return label->palette().color(QPalette::Active, QPalette::Text);
}

} // namespace

void TestPlot::legendEntryToggles_data()
{
    QTest::addColumn<bool>("onText");
    QTest::newRow("click on the box") << false;
    QTest::newRow("click on the text") << true;
}

void TestPlot::legendEntryToggles()
{
    QFETCH(bool, onText);
    PlotFixture f;
    f.holdPositions();
    f.addBaseLine(150000);
    OptCalcPlotCurve* sum = f.addSum(CurrentValuation, QColor("#006000"));
    OptCalcPlotCurve* position = f.addPosition(0, CurrentValuation, Qt::blue);
    f.showAll();
    const QString title = sum->title().text();
    const auto [box, label] = legendEntry(f.legend, title);
    QVERIFY(box && label);

    // Which entry is which: a position's entry is taken for the sum's, as the keys expect.
    QCOMPARE(label->property("drawType").toInt(), 1);
    QCOMPARE(label->property("profileType").toInt(), 1);
    const auto positionLabel = legendEntry(f.legend, position->title().text()).second;
    QCOMPARE(positionLabel->property("drawType").toInt(), 1);
    QCOMPARE(positionLabel->property("profileType").toInt(), 1);
    const auto lineLabel = legendEntry(f.legend, BaseLineTitle).second;
    QCOMPARE(lineLabel->property("drawType").toInt(), 2);
    QVERIFY(!lineLabel->property("profileType").isValid());
    bool found = true;
    QVERIFY(f.legend->isItemChecked(QStringLiteral("нет такой"), &found));
    QVERIFY(!found);
    QVERIFY(f.legend->isItemChecked(title, &found));
    QVERIFY(found);

    const qint64 realIcon = label->icon().cacheKey();
    QSignalSpy told(f.legend, &OptCalcPlotLegend::visibilityChanged);
    QWidget* target = onText ? static_cast<QWidget*>(label) : box;
    QTest::mouseClick(target, Qt::LeftButton, Qt::NoModifier, target->rect().center());
    QVERIFY(!box->isChecked());
    QVERIFY(!sum->isVisible());
    QCOMPARE(told.count(), 1);
    QCOMPARE(told.at(0).at(0).toString(), title);
    QCOMPARE(told.at(0).at(1).toBool(), false);
    QCOMPARE(f.legend->hiddenItems(), QStringList{title});
    QCOMPARE(label->icon().cacheKey(), f.legend->hiddenIcon().cacheKey());
    QCOMPARE(labelColor(label), QColor(Qt::darkGray));

    // A refresh of the curves keeps the entry off.
    f.plot->updateLegendContents(false);
    QVERIFY(!box->isChecked());
    QCOMPARE(label->icon().cacheKey(), f.legend->hiddenIcon().cacheKey());
    QCOMPARE(labelColor(label), QColor(Qt::darkGray));

    QTest::mouseClick(target, Qt::LeftButton, Qt::NoModifier, target->rect().center());
    QVERIFY(box->isChecked());
    QVERIFY(sum->isVisible());
    QVERIFY(f.legend->hiddenItems().isEmpty());
    QCOMPARE(label->icon().cacheKey(), realIcon);
    QCOMPARE(labelColor(label), QColor(Qt::black));
    QCOMPARE(told.count(), 2);
}

void TestPlot::legendSaveRestore()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString file = dir.filePath("legend.ini");
    const QString current = valuationModeTitle(CurrentValuation);
    {
        PlotFixture f;
        f.holdPositions();
        f.addBaseLine(150000);
        f.addSum(CurrentValuation, QColor("#006000"));
        f.addPosition(0, ExpiryValuation, Qt::blue);
        f.showAll();
        f.legend->setItemChecked(current, false);
        f.legend->setItemChecked(BaseLineTitle, false);
        Settings settings(file);
        settings.beginGroup(QStringLiteral("tab0"));
        f.legend->save(settings);
        settings.endGroup();
        settings.sync();
    }

    Settings settings(file);
    settings.beginGroup(QStringLiteral("tab0"));
    QStringList keys = settings.value(QStringLiteral("legendItemKeys")).toStringList();
    keys.sort();
    QCOMPARE(keys, (QStringList{QStringLiteral("1,0,0,11"), QStringLiteral("1,0,0,12"),
                                QStringLiteral("2")}));
    QCOMPARE(settings.value(QStringLiteral("key2")).toBool(), false);
    QCOMPARE(settings.value(QStringLiteral("key1,0,0,11")).toBool(), false);
    QCOMPARE(settings.value(QStringLiteral("key1,0,0,12")).toBool(), true);
    QVERIFY(!settings.value(QStringLiteral("icon2")).value<QPixmap>().isNull());
    QVERIFY(!settings.contains(QStringLiteral("icon1,0,0,12")));

    // A new session: the same curves come back, and the restored states switch them off.
    PlotFixture f;
    f.holdPositions();
    OptCalcPlotCurve* line = f.addBaseLine(150000);
    OptCalcPlotCurve* sum = f.addSum(CurrentValuation, QColor("#006000"));
    f.showAll();
    f.legend->setHiddenItems({QStringLiteral("устаревший")});
    f.legend->restore(settings);
    QStringList hidden = f.legend->hiddenItems();
    hidden.sort();
    QCOMPARE(hidden, (QStringList{current, BaseLineTitle}));
    QVERIFY(!sum->isVisible());
    QVERIFY(!line->isVisible());
}

void TestPlot::legendRestoreSkipsBadKeys_data()
{
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QVariantMap>("values");
    QTest::addColumn<QStringList>("hidden");

    const QString current = valuationModeTitle(CurrentValuation);
    const QVariantMap off{{"key1,0,0,11", false}, {"key2", false}};
    QTest::newRow("the sum and the line") << QStringList{"1,0,0,11", "2"} << off
                                          << QStringList{current, BaseLineTitle};
    QTest::newRow("empty, short and unparsable keys")
        << QStringList{"", "x,y", "1,a,0,11", "1,0,0", "2"} << off << QStringList{BaseLineTitle};
    QTest::newRow("a name without its security") << QStringList{"1,5,0,11", "2"}
                                                  << QVariantMap{{"key1,5,0,11", false}}
                                                  << QStringList{};
    QTest::newRow("a position no longer held") << QStringList{"7,8,9,01"}
                                               << QVariantMap{{"key7,8,9,01", false}}
                                               << QStringList{};
    QTest::newRow("a state that is no boolean")
        << QStringList{"2", "1,0,0,11"}
        << QVariantMap{{"key2", QStringList{"a", "b"}}, {"key1,0,0,11", false}}
        << QStringList{current};
}

void TestPlot::legendRestoreSkipsBadKeys()
{
    QFETCH(QStringList, keys);
    QFETCH(QVariantMap, values);
    QFETCH(QStringList, hidden);

    PlotFixture f;
    f.holdPositions();
    f.addBaseLine(150000);
    f.addSum(CurrentValuation, QColor("#006000"));
    f.showAll();

    QTemporaryDir dir;
    Settings settings(dir.filePath("legend.ini"));
    settings.setValue(QStringLiteral("legendItemKeys"), keys);
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        settings.setValue(it.key(), it.value());
    f.legend->restore(settings);
    QStringList restored = f.legend->hiddenItems();
    restored.sort();
    hidden.sort();
    QCOMPARE(restored, hidden);
}

void TestPlot::curveColors_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("apart");

    QTest::newRow("none") << 0 << true;
    QTest::newRow("one") << 1 << true;
    QTest::newRow("a portfolio") << 12 << true;
    QTest::newRow("a large portfolio") << 40 << true;
    QTest::newRow("beyond the colour space") << 5000 << false;
}

void TestPlot::curveColors()
{
    QFETCH(int, count);
    QFETCH(bool, apart);

    const QList<QColor> reserved{Qt::red, QColor("#e30022"), QColor("#006000"),
                                 QColor("#000000"), QColor("#cccccc"), QColor("#b2beb5")};
    CurveColorGenerator generator;
    generator.setReservedColors(reserved + QList<QColor>{Qt::red, QColor()});
    QCOMPARE(generator.reservedColors(), reserved);
    generator.setReservedColors({QColor()});
    QCOMPARE(generator.reservedColors(), reserved);

    const QList<QColor> colors = generator.colors(count);
    QVERIFY(colors.size() <= count);
    QCOMPARE(generator.colors(count), colors);
    QCOMPARE(generator.colors(count / 2), colors.mid(0, count / 2));
    if (!apart) {
        QVERIFY(colors.size() >= count / 2);
        return;
    }
    QCOMPARE(colors.size(), count);
    const auto near = [](const QColor& a, const QColor& b, int distance) {
        return qAbs(a.red() - b.red()) <= distance && qAbs(a.green() - b.green()) <= distance
               && qAbs(a.blue() - b.blue()) <= distance;
    };
    for (int i = 0; i < colors.size(); ++i) {
        for (const QColor& r : reserved)
            QVERIFY2(!near(colors[i], r, 54), qPrintable(colors[i].name() + " ~ " + r.name()));
        for (int j = 0; j < i; ++j)
            QVERIFY2(!near(colors[i], colors[j], 55), qPrintable(colors[i].name()));
        const bool darkGray = colors[i].red() < 60 && colors[i].green() < 60
                              && colors[i].green() == colors[i].blue();
        QVERIFY(!darkGray);
    }
}

void TestPlot::resetAndBaseLine()
{
    PlotFixture f;
    f.holdPositions();
    OptCalcPlotCurve* line = f.addBaseLine(150000);
    OptCalcPlotCurve* sum = f.addSum(CurrentValuation, Qt::darkGreen);
    OptCalcPlotCurve* position = f.addPosition(0, CurrentValuation, Qt::blue);
    QSignalSpy told(sum, &OptCalcPlotCurve::visibilityChanged);
    f.showAll();
    QCOMPARE(f.legend->isItemChecked(sum->title().text()), true);

    f.plot->resetCurves();
    for (OptCalcPlotCurve* curve : {sum, position}) {
        QVERIFY(!curve->isValid());
        QVERIFY(!curve->isVisible());
        QCOMPARE(curve->dataSize(), size_t(0));
        QCOMPARE(curve->drawType(), -1);
        QVERIFY(!curve->testItemAttribute(QwtPlotItem::Legend));
    }
    QVERIFY(line->isValid());
    QCOMPARE(told.count(), 1);
    // Their legend entries go, and are no longer found once deleted.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    bool found = true;
    QVERIFY(f.legend->isItemChecked(sum->title().text(), &found));
    QVERIFY(!found);
    QVERIFY(f.legend->isItemChecked(BaseLineTitle, &found));
    QVERIFY(found);
    QCOMPARE(f.plot->curves().size(), 3);

    // The line keeps its place as the height changes, and reaches past zero both ways.
    f.plot->updateBasePriceLine(10, 30, -1.0);
    QCOMPARE(line->sample(0), QPointF(150000 - 1e-5, -1.0));
    QCOMPARE(line->sample(1), QPointF(150000, 0.0));
    QCOMPARE(line->sample(2), QPointF(150000 + 1e-5, 32.0));
    f.plot->updateBasePriceLine(-30, -10, 151000);
    QCOMPARE(line->sample(0), QPointF(151000 - 1e-5, -32.0));
    QCOMPARE(line->sample(2), QPointF(151000 + 1e-5, 1.0));

    // An empty plot: the data rectangle is empty, and the axes stay where they are.
    QCOMPARE(dataRect(f.plot->canvas()), QRectF(0, 0, 0, 0));
    QCOMPARE(dataRect(nullptr), QRectF(0, 0, 0, 0));
    const QwtInterval x0 = axis(f.plot, QwtPlot::xBottom);
    f.plot->panner()->moveCanvas(10, 10);
    QCOMPARE(axis(f.plot, QwtPlot::xBottom), x0);
}

void TestPlot::valuePrecision_data()
{
    QTest::addColumn<int>("plotIndex");
    QTest::addColumn<double>("yLow");
    QTest::addColumn<double>("yHigh");
    QTest::addColumn<double>("valueStep");

    // The profit is told in the positions' price step; Greeks a digit finer than the axis.
    QTest::newRow("profit") << 0 << -50000.0 << 50000.0 << 10.0;
    QTest::newRow("delta over a wide range") << 1 << -4.0 << 4.0 << 1.0;
    QTest::newRow("gamma over a narrow range") << 2 << 0.0 << 0.001 << 0.00001;
    QTest::newRow("theta over a range of one") << 4 << -0.5 << 0.5 << 0.01;
}

void TestPlot::valuePrecision()
{
    QFETCH(int, plotIndex);
    QFETCH(double, yLow);
    QFETCH(double, yHigh);
    QFETCH(double, valueStep);

    PlotFixture f(plotIndex);
    f.holdPositions();
    f.plot->setAxisScale(QwtPlot::yLeft, yLow, yHigh);
    f.plot->replot();
    f.plot->updateValuePrecision();
    QVERIFY2(qAbs(f.plot->valueStep() - valueStep) < valueStep * 1e-9,
             qPrintable(QString::number(f.plot->valueStep())));
}

void TestPlot::renderedCurves()
{
    PlotFixture f;
    f.holdPositions();
    f.plot->enableGrid(true);
    CurveColorGenerator generator;
    generator.setReservedColors({Qt::red, QColor("#e30022"), QColor("#006000"),
                                 QColor("#000000"), QColor("#cccccc"), QColor("#b2beb5")});
    const QList<QColor> palette = generator.colors(3);
    for (int row = 0; row < 3; ++row)
        f.addPosition(row, ExpiryValuation, palette.at(row));
    f.addSum(CurrentValuation, QColor("#006000"));
    f.addSum(ExpiryValuation, QColor("#000000"));
    f.addBaseLine(150000);
    f.showAll();

    const QImage image = f.plot->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QString file = QDir(QCoreApplication::applicationDirPath()).filePath("plot-render.png");
    QVERIFY(image.save(file));
    QVERIFY(QImage(file).size() == image.size());
    for (const QColor& color : palette + QList<QColor>{QColor("#006000"), QColor(Qt::red)})
        QVERIFY2(pixelsNear(image, color) >= 20, qPrintable(color.name()));
    QVERIFY(pixelsNear(image, QColor("#b2beb5")) >= 100);
}

QTEST_MAIN(TestPlot)
#include "tst_plot.moc"
