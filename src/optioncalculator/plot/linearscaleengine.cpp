#include "linearscaleengine.h"

#include "scaleticks.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/table.h"

#include <qwt_scale_div.h>

LinearScaleEngine::LinearScaleEngine(uint base) : QwtLinearScaleEngine(base)
{
    // The strikes' decimals tell how far off a whole price the reference may sit and still
    // be that price; without the table the reference is taken as it is.
    ICore* core = ICore::instance();
    Table* securities =
        core && core->tables() ? core->tables()->table(QStringLiteral("securities")) : nullptr;
    if (!securities)
        return;
    for (const TableColumnDef* def : securities->fieldDefs()) {
        if (def && def->name == QLatin1String("strike")) {
            m_strikeDecimals = def->length;
            break;
        }
    }
}

QwtScaleDiv LinearScaleEngine::divideScale(double x1, double x2, int maxMajorSteps,
                                           int maxMinorSteps, double stepSize) const
{
    QwtScaleDiv div =
        QwtLinearScaleEngine::divideScale(x1, x2, maxMajorSteps, maxMinorSteps, stepSize);
    if (m_reference.isZero() || div.isEmpty())
        return div;

    const ScaleTicks ticks{div.ticks(QwtScaleDiv::MinorTick), div.ticks(QwtScaleDiv::MediumTick),
                           div.ticks(QwtScaleDiv::MajorTick)};
    const std::optional<ScaleTicks> moved =
        shiftTicksToReference(ticks, x1, x2, m_reference.toDouble(), m_strikeDecimals);
    if (moved) {
        div.setTicks(QwtScaleDiv::MinorTick, moved->minor);
        div.setTicks(QwtScaleDiv::MediumTick, moved->medium);
        div.setTicks(QwtScaleDiv::MajorTick, moved->major);
    }
    return div;
}
