// The tracker of a calculator plot runs on every mouse move: one trackerText() call with
// the curves of 50 positions and the portfolio's sums (153 curves of 1,000 samples), over
// cursor positions across the plot.
#include "benchportfolio.h"
#include "benchutil.h"

#include "plot/curvecolorgenerator.h"
#include "plot/optcalcplot.h"
#include "plot/optcalcplotcurve.h"
#include "plot/optcalcplotlegend.h"
#include "plot/optcalcplotpicker.h"
#include "portfolio/valuationmode.h"

#include "database/tableupdater.h"

#include <QApplication>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace {

constexpr int Positions = 50;
constexpr int Samples = 1000;
constexpr int Cursors = 200;

struct PlotBench : BenchPortfolio
{
    PlotBench()
    {
        fill();
        plot = std::make_unique<OptCalcPlot>(model.get());
        plot->setPlotIndex(0);
        auto* legend = new OptCalcPlotLegend(model.get(), plot.get());
        plot->insertLegend(legend, QwtPlot::RightLegend);
        addCurves();
        plot->resize(1200, 700);
        plot->show();
        plot->updateLegendContents(false);
        plot->setAxisScale(QwtPlot::xBottom, low, high);
        plot->updateAxes();
        plot->updateAutoScale();
        plot->setCurveGroupVisible(0, true);
        plot->setCurveGroupVisible(1, true);
    }
    ~PlotBench() { plot.reset(); }

    // The options of the base code nearest the money, one lot each, long and short in turn.
    void fill()
    {
        std::vector<Record> futures, options;
        double center = 0.0;
        instruments(&futures, &options, &center);
        options.resize(std::min<size_t>(options.size(), Positions));
        low = center * 0.8;
        high = center * 1.2;
        TableUpdater batch(table);
        for (size_t i = 0; i < options.size(); ++i)
            table->insertRecord(positionRow(options[i], i % 2 ? 1 : -1, 0));
    }

    QVector<QPointF> profile(int mode, int row) const
    {
        QVector<QPointF> samples;
        const double step = (high - low) / (Samples - 1);
        for (int i = 0; i < Samples; ++i) {
            const double x = low + i * step;
            samples.append(QPointF(x, model->profilePoint(x, mode, row).profit()));
        }
        return samples;
    }

    void addCurve(int drawType, int mode, int row, const QString& title, const QColor& color)
    {
        auto* curve = new OptCalcPlotCurve(plot.get(), title);
        curve->applyAppearance(color, Qt::SolidLine);
        curve->setDrawType(drawType);
        curve->setValueIndex(0);
        curve->setProfileType(mode);
        if (row >= 0)
            curve->setModelIndex(QPersistentModelIndex(model->index(row, 0)));
        curve->setPlot(plot.get());
        curve->setSamples(profile(mode, row));
        curve->attach(plot.get());
    }

    void addCurves()
    {
        CurveColorGenerator generator;
        const QList<QColor> colors = generator.colors(model->rowCount());
        for (int row = 0; row < model->rowCount(); ++row) {
            for (int mode = 0; mode < ValuationModeCount; ++mode)
                addCurve(0, mode, row,
                         QStringLiteral("%1 (%2)").arg(model->activeRowName(row),
                                                       valuationModeTitle(mode)),
                         colors.value(row, Qt::blue));
        }
        for (int mode = 0; mode < ValuationModeCount; ++mode)
            addCurve(1, mode, -1, valuationModeTitle(mode), Qt::darkGreen);
    }

    // One tracker text at each of the cursor positions, on a diagonal walk of the canvas.
    int trackAcross() const
    {
        const QSize size = plot->canvas()->size();
        int shown = 0;
        for (int i = 0; i < Cursors; ++i) {
            const QPoint pos(size.width() * i / Cursors, size.height() * ((i * 7) % Cursors) / Cursors);
            shown += plot->picker()->trackerText(pos).isEmpty() ? 0 : 1;
        }
        return shown;
    }

    std::unique_ptr<OptCalcPlot> plot;
    double low = 0.0;
    double high = 0.0;
};

PlotBench* theBench = nullptr;

void BM_TrackerText(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(theBench->trackAcross());
    state.SetItemsProcessed(state.iterations() * Cursors);
}
BENCHMARK(BM_TrackerText)->Unit(benchmark::kMillisecond);

void figures()
{
    int shown = 0;
    const double seconds = bestSeconds(5, [&] { shown = theBench->trackAcross(); });
    std::printf("curves %d of %d samples; %d of %d cursor positions show a tracker\n",
                int(theBench->plot->curves().size()), Samples, shown, Cursors);
    printFigure("plot.tracker_ms", seconds * 1e3 / Cursors);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    PlotBench bench;
    theBench = &bench;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    figures();
    return 0;
}
