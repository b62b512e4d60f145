#include "virtualportfoliomodel.h"

#include "portfoliocolumndelegates.h"

#include "marketdata/optcalcsecuritymodel.h"
#include "marketdata/securitiesoptcalcdirectory.h"
#include "marketdata/volatcoeffdirectory.h"

#include "connections_model/connectionsmanager.h"
#include "database/field.h"
#include "database/masterindex.h"
#include "database/pricing.h"
#include "database/table.h"
#include "database/tablelocker.h"
#include "database/tableupdater.h"
#include "directory/boarddirectory.h"

#include <QtMath>

#include <cmath>
#include <limits>

namespace {

constexpr double SecondsPerYear = 3.1536e7;
constexpr qint64 SecondsPerDay = 86400;

// Holds the security model's clock at one instant for the length of a walk, unless it is
// held already, so that the whole walk sees one "now".
class FrozenClock
{
public:
    explicit FrozenClock(OptCalcSecurityModel* model)
        : m_model(model && !model->useFixedNow() ? model : nullptr)
    {
        if (m_model) {
            m_model->setFrozenTime(datetime::now());
            m_model->setClockFrozen(true);
        }
    }
    ~FrozenClock()
    {
        if (m_model)
            m_model->setClockFrozen(false);
    }
    FrozenClock(const FrozenClock&) = delete;
    FrozenClock& operator=(const FrozenClock&) = delete;

private:
    OptCalcSecurityModel* m_model;
};

bool nearZero(double value)
{
    return std::fabs(value) <= 1e-12;
}

double theorPrice(const VolatOutputParams& out, bool isPut)
{
    return isPut ? out.putPrice : out.callPrice;
}

// The nearest price of the grid of step, never below one step; the price itself when the
// grid is unknown.
double onPriceGrid(double price, double step)
{
    const double p = std::max(price, step);
    return std::floor((step * 0.5 + p) / step) * step;
}

bool holds(int left, int right, int column)
{
    return column >= 0 && column >= left && column <= right;
}

quint32 columnBit(int column)
{
    return column >= 0 && column < 32 ? 1u << column : 0u;
}

} // namespace

VirtualPortfolioModel::VirtualPortfolioModel(Table* table, OptCalcSecurityModel* securityModel,
                                             QObject* parent)
    : PortfolioModel(table, securityModel, parent),
      m_plotMinimum(std::numeric_limits<double>::max()),
      m_plotMaximum(std::numeric_limits<double>::lowest())
{
    if (table) {
        m_columns.miv = table->columnIndex(QStringLiteral("miv"));
        m_columns.mp = table->columnIndex(QStringLiteral("mp"));
        m_columns.miv_mp_flag = table->columnIndex(QStringLiteral("miv_mp_flag"));
        m_columns.delta = table->columnIndex(QStringLiteral("delta"));
        m_columns.gamma = table->columnIndex(QStringLiteral("gamma"));
        m_columns.vega = table->columnIndex(QStringLiteral("vega"));
        m_columns.theta = table->columnIndex(QStringLiteral("theta"));
        m_columns.flags = table->columnIndex(QStringLiteral("flags"));
    }
    auto securitiesColumn = [this](const char* name) {
        const QString column = QLatin1String(name);
        const TableColumnDef& def =
            m_securitiesTable ? m_securitiesTable->columnDef(column) : TableColumnDef();
        return addColumnDelegate(nullptr, -1, column, def.title, def.description);
    };
    m_modelColumns.bid = securitiesColumn("bid");
    m_modelColumns.ask = securitiesColumn("ask");
    m_modelColumns.price = securitiesColumn("price");
    m_modelColumns.cur_kotir_real = securitiesColumn("cur_kotir_real");
    for (int column : {m_modelColumns.bid, m_modelColumns.ask, m_modelColumns.price,
                       m_modelColumns.cur_kotir_real})
        setColumnAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    m_modelColumns.miv = addColumn(m_columns.miv);
    m_modelColumns.mp = addColumn(m_columns.mp);
    m_modelColumns.miv_mp_flag = addColumn(m_columns.miv_mp_flag);
    m_modelColumns.flags = addColumn(m_columns.flags);
    PortfolioColumnDelegates::install(this);

    connect(ConnectionsManager::instance(), SIGNAL(serverTimeChanged(int, datetime)), this,
            SLOT(onServerTimeChanged(int, datetime)));
}

VirtualPortfolioModel::~VirtualPortfolioModel() = default;

Qt::DropActions VirtualPortfolioModel::supportedDragActions() const
{
    return Qt::CopyAction;
}

bool VirtualPortfolioModel::filter(const Record& record) const
{
    Q_UNUSED(record);
    return true;
}

datetime VirtualPortfolioModel::now() const
{
    return m_securityModel && m_securityModel->useFixedNow() ? m_securityModel->fixedNow()
                                                             : datetime::now();
}

// --- writes ----------------------------------------------------------------------------

void VirtualPortfolioModel::noteWrite(const Record& record, int column)
{
    if (!record.inTable() || record.table() != table())
        return;
    m_pendingWrites[record] |= columnBit(column);
    table()->updated(record, column, column, -1);
}

bool VirtualPortfolioModel::writeDecimalIfChanged(const Record& record, int column,
                                                  const decimal& value)
{
    Field field = record.data(column);
    if (!field.isValid())
        return false;
    // What the cell would hold: its own scale.
    decimal stored = value;
    if (field.type() == FieldType::Decimal && stored.scale() != field.length())
        stored.setScale(short(field.length()));
    if (!stored.isZero() && !field.isNull() && field.toDecimal() == stored)
        return false;
    field = stored;
    noteWrite(record, column);
    return true;
}

bool VirtualPortfolioModel::writeDoubleIfChanged(const Record& record, int column, double value)
{
    return writeDecimalIfChanged(record, column, decimal::fromDouble(value, scaleOf(column)));
}

short VirtualPortfolioModel::scaleOf(int column) const
{
    const Table* t = table();
    return t ? short(t->columnDef(column).length) : 0;
}

bool VirtualPortfolioModel::writeInt64IfChanged(const Record& record, int column, qint64 value)
{
    Field field = record.data(column);
    if (!field.isValid() || (!field.isNull() && field.toInteger64() == value))
        return false;
    field = static_cast<long long>(value);
    noteWrite(record, column);
    return true;
}

bool VirtualPortfolioModel::writeIntIfChanged(const Record& record, int column, int value)
{
    Field field = record.data(column);
    if (!field.isValid() || (!field.isNull() && field.toInteger() == value))
        return false;
    field = value;
    noteWrite(record, column);
    return true;
}

bool VirtualPortfolioModel::clearField(const Record& record, int column)
{
    Field field = record.data(column);
    if (field.isNull())
        return false;
    field.setNull();
    noteWrite(record, column);
    return true;
}

// --- change propagation ----------------------------------------------------------------

void VirtualPortfolioModel::process(const QList<Record>& removed, const QList<Record>& updated,
                                    int firstColumn, int lastColumn, const QList<Record>& inserted)
{
    // Writes made while this batch is told of go out with the next one, and stay pending.
    for (const Record& record : updated) {
        const auto it = m_pendingWrites.constFind(record);
        if (it != m_pendingWrites.cend()) {
            m_batchWrites.insert(record, *it);
            m_pendingWrites.erase(it);
        }
    }
    for (const Record& record : removed)
        m_pendingWrites.remove(record);
    PortfolioModel::process(removed, updated, firstColumn, lastColumn, inserted);
    m_batchWrites.clear();
}

void VirtualPortfolioModel::onModelDataChanged(const QModelIndex& topLeft,
                                               const QModelIndex& bottomRight,
                                               const QVector<int>& roles)
{
    if (roles.isEmpty() || roles.contains(Qt::DisplayRole))
        valueRows(topLeft, bottomRight);
}

void VirtualPortfolioModel::onRowsInserted(const QModelIndex& parent, int first, int last)
{
    if (parent.isValid() || columnCount() == 0)
        return;
    valueRows(index(first, 0), index(last, columnCount() - 1));
}

void VirtualPortfolioModel::onModelReset()
{
    if (rowCount() > 0)
        valueRows(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

void VirtualPortfolioModel::onServerTimeChanged(int index, const datetime& time)
{
    const ConnectionsManager* connections = ConnectionsManager::instance();
    if (index < 0 || index >= connections->count() ||
        connections->transportName(index) != QLatin1String("KESTREL"))
        return;
    // Once per connection: the time goes back to null when the connection is lost.
    const bool known = m_serverTime.isNull() && !time.isNull();
    m_serverTime = time;
    if (known)
        emit serverTimeChanged();
}

// --- valuation of the rows -------------------------------------------------------------

VirtualPortfolioModel::Trigger VirtualPortfolioModel::triggerOfColumns(int left, int right) const
{
    Trigger trigger;
    trigger.flag = holds(left, right, m_modelColumns.miv_mp_flag);
    trigger.miv = holds(left, right, m_modelColumns.miv);
    trigger.mp = holds(left, right, m_modelColumns.mp);
    trigger.optionMarket =
        holds(left, right, m_modelColumns.theor_price) || holds(left, right, m_modelColumns.volat);
    trigger.futureMarket = holds(left, right, m_modelColumns.cur_kotir_real);
    return trigger;
}

VirtualPortfolioModel::Trigger VirtualPortfolioModel::triggerOfWrites(quint32 columns) const
{
    Trigger trigger;
    trigger.flag = columns & columnBit(m_columns.miv_mp_flag);
    trigger.miv = columns & columnBit(m_columns.miv);
    trigger.mp = columns & columnBit(m_columns.mp);
    return trigger;
}

void VirtualPortfolioModel::valueRows(const QModelIndex& topLeft, const QModelIndex& bottomRight)
{
    if (!topLeft.isValid() || !bottomRight.isValid())
        return;
    const int first = std::max(0, topLeft.row());
    const int last = std::min(bottomRight.row(), count() - 1);
    // By record: a valuation's writes may move rows of a sorted model.
    QVector<Record> records;
    records.reserve(std::max(0, last - first + 1));
    for (int row = first; row <= last; ++row)
        records.append(at(row));
    for (const Record& record : records) {
        const auto own = m_batchWrites.find(record);
        if (own != m_batchWrites.end()) {
            const Trigger trigger = triggerOfWrites(*own);
            m_batchWrites.erase(own);
            valueRecord(record, trigger);
        } else {
            valueRecord(record, triggerOfColumns(topLeft.column(), bottomRight.column()));
        }
    }
}

void VirtualPortfolioModel::valueRecord(const Record& record, const Trigger& trigger)
{
    if (record.isNull() || !record.inTable() || !securityExists(record))
        return;
    const int before = record.data(m_columns.miv_mp_flag).toInteger();
    // A change of how the row is valued, or of the value that is fixed.
    const bool direct =
        trigger.flag || (trigger.mp && (before & MpFixed)) || (trigger.miv && (before & MivFixed));
    if (sectypeOf(record).toChar() == QLatin1Char('O')) {
        if (direct || trigger.optionMarket)
            valueOption(record);
    } else if (direct || trigger.futureMarket) {
        valueFuture(record);
    }
    if (record.data(m_columns.miv_mp_flag).toInteger() != before) {
        const int row = indexOf(record);
        if (row >= 0)
            emitRowUpdated(row);
    }
}

void VirtualPortfolioModel::valueOptionRow(int row)
{
    valueOption(at(row));
}

void VirtualPortfolioModel::valueFutureRow(int row)
{
    valueFuture(at(row));
}

void VirtualPortfolioModel::valueOption(const Record& record)
{
    const OptCalcRecord security = optCalcRecord(record);
    if (record.isNull() || security.isNull())
        return;
    const OptCalcColumns& c = *security.columns;
    const Record& market = security.record;
    const VolatBand band = volatBand(securityRecord(record));
    const int flag = record.data(m_columns.miv_mp_flag).toInteger();
    TableUpdater update(table());

    if (flag == 0) {
        // Market values only: the row mirrors the market, and the delegates show the
        // market's Greeks.
        writeDecimalIfChanged(record, m_columns.miv, market.data(c.volat).toDecimal());
        writeDecimalIfChanged(record, m_columns.mp, market.data(c.theor_price).toDecimal());
        return;
    }
    VolatInputParams in;
    if (!fillVolatInputParams(record, in))
        return;
    const bool isPut = market.data(c.option_type).toChar() == QLatin1Char('P');
    VolatOutputParams out;
    bool haveParams = false;
    double newMp = 0.0;
    bool writeMp = false;

    if (flag & ModelValuesInUse) {
        const short mivScale = scaleOf(m_columns.miv);
        const short mpScale = scaleOf(m_columns.mp);
        const double step = market.data(c.price_step).toDouble();
        if (flag & MivFixed) {
            const double volatility = record.data(m_columns.miv).toDouble();
            const double clamped = band.clamp(volatility);
            if (volatility == clamped) {
                calcVolatParams(out, in, volatility);
                haveParams = true;
                newMp = theorPrice(out, isPut);
                writeMp = true;
            } else {
                // The bound is stored; the change that follows values the row at it.
                const decimal bound = decimal::fromDouble(clamped, mivScale);
                if (bound != record.data(m_columns.miv).toDecimal())
                    writeDecimalIfChanged(record, m_columns.miv, bound);
            }
        }
        if (flag & MpFixed) {
            const double price = record.data(m_columns.mp).toDouble();
            const double steps = price / step;
            if (!(step > 0.0) || !qFuzzyCompare(steps, std::floor(steps)) || steps < 1.0) {
                // Off the grid: put it on the grid first, derive in the pass that follows.
                newMp = price;
                writeMp = true;
            } else {
                const double accV = std::pow(10.0, -mivScale - 1);
                const double accP = std::pow(10.0, -mpScale - 1);
                double volatility =
                    volatByTheorPrice(in, isPut, price, market.data(c.volat).toDouble(),
                                      band.low - accV, band.high + accV, accP, accV);
                if (!band.contains(volatility)) {
                    // Out of reach: the nearer bound, the lower one only when strictly so.
                    VolatOutputParams atLow, atHigh;
                    calcVolatParams(atLow, in, band.low);
                    calcVolatParams(atHigh, in, band.high);
                    const bool low = std::fabs(price - theorPrice(atHigh, isPut)) >
                                     std::fabs(price - theorPrice(atLow, isPut));
                    volatility = low ? band.low : band.high;
                    const double boundPrice = theorPrice(low ? atLow : atHigh, isPut);
                    if (boundPrice != price) {
                        newMp = boundPrice;
                        writeMp = true;
                    }
                }
                writeDecimalIfChanged(record, m_columns.miv,
                                      decimal::fromDouble(volatility, mivScale));
            }
        }
        // Without a grid the price stays as it is.
        if (writeMp && step > 0.0)
            writeDecimalIfChanged(record, m_columns.mp,
                                  decimal::fromDouble(onPriceGrid(newMp, step), mpScale));
    }
    if (!haveParams)
        calcVolatParams(out, in, record.data(m_columns.miv).toDouble());

    writeDoubleIfChanged(record, m_columns.delta, isPut ? out.putDelta : out.callDelta);
    writeDoubleIfChanged(record, m_columns.gamma, out.gamma);
    writeDoubleIfChanged(record, m_columns.vega, out.vega);
    writeDoubleIfChanged(record, m_columns.theta, out.theta);
    const int row = indexOf(record);
    if (row >= 0)
        emit dataChanged(index(row, m_modelColumns.delta), index(row, m_modelColumns.theta),
                         QVector<int>());

    if ((flag & ModelValuesInUse) && !(flag & (MivFixed | MpFixed))) {
        // Switched on with nothing chosen: the market volatility becomes the fixed one.
        writeIntIfChanged(record, m_columns.miv_mp_flag, flag | MivFixed);
        writeDecimalIfChanged(record, m_columns.miv,
                              decimal::fromDouble(band.clamp(market.data(c.volat).toDouble()),
                                                  scaleOf(m_columns.miv)));
        dataChangedRow(indexOf(record), m_modelColumns.miv_mp_flag);
    } else if (!(flag & ModelValuesInUse)) {
        // Switched off: only the value that was chosen is kept.
        if (!(flag & MivFixed))
            clearField(record, m_columns.miv);
        if (!(flag & MpFixed))
            clearField(record, m_columns.mp);
    }
}

void VirtualPortfolioModel::valueFuture(const Record& record)
{
    const OptCalcRecord security = optCalcRecord(record);
    if (record.isNull() || security.isNull())
        return;
    const OptCalcColumns& c = *security.columns;
    const Record& market = security.record;
    const int flag = record.data(m_columns.miv_mp_flag).toInteger();
    TableUpdater update(table());

    if (flag == 0) {
        writeDecimalIfChanged(record, m_columns.mp, market.data(c.cur_kotir_real).toDecimal());
        return;
    }
    if ((flag & ModelValuesInUse) && !(flag & (MivFixed | MpFixed))) {
        // A future has no volatility: switched on, its price is the fixed value.
        writeIntIfChanged(record, m_columns.miv_mp_flag, flag | MpFixed);
        writeDecimalIfChanged(record, m_columns.mp, market.data(c.cur_kotir_real).toDecimal());
        dataChangedRow(indexOf(record), m_modelColumns.miv_mp_flag);
    }
    if (!(flag & ModelValuesInUse)) {
        if (!(flag & MivFixed))
            clearField(record, m_columns.miv);
        if (!(flag & MpFixed))
            clearField(record, m_columns.mp);
    }
    const double step = market.data(c.price_step).toDouble();
    if ((flag & ModelValuesInUse) && (flag & MpFixed) && step > 0.0) {
        const double price = onPriceGrid(record.data(m_columns.mp).toDouble(), step);
        writeDecimalIfChanged(record, m_columns.mp,
                              decimal::fromDouble(price, scaleOf(m_columns.mp)));
    }
}

VolatBand VirtualPortfolioModel::volatBand(const Record& security) const
{
    VolatBand band{VolatMinDefault, VolatMaxDefault};
    if (security.isNull() || security.table() != m_securitiesTable ||
        security.data(m_securitiesColumns.sectype).toChar() != QLatin1Char('O'))
        return band;
    double low = security.data(m_securitiesColumns.volat_min).toDouble();
    double high = security.data(m_securitiesColumns.volat_max).toDouble();
    // The gateway does publish the limits the wrong way round.
    if (low > high && !nearZero(low) && !nearZero(high) && high >= VolatMinDefault &&
        VolatMaxDefault >= low)
        std::swap(low, high);
    if (nearZero(low))
        low = VolatMinDefault;
    if (nearZero(high))
        high = VolatMaxDefault;
    // Never down to zero: one unit of the last digit that miv keeps.
    band.low = std::max(low, std::pow(10.0, -scaleOf(m_columns.miv)));
    band.high = std::max(band.low, high);
    return band;
}

bool VirtualPortfolioModel::fillVolatInputParams(const Record& row, VolatInputParams& params) const
{
    const Record base = baseRecord(row);
    if (base.isNull())
        return false;
    const OptCalcRecord security = optCalcRecord(row);
    if (security.isNull())
        return false;
    decimal price = base.data(m_securitiesColumns.cur_kotir).toDecimal();
    if (price.value() == 0)
        price = base.data(m_securitiesColumns.old_kotir).toDecimal();
    if (price.value() == 0)
        return false;
    const OptCalcColumns& c = *security.columns;
    const Record& market = security.record;
    // Without a row of coefficients the defaults, a flat smile, stay in force.
    m_volatCoeffDirectory->coefficients(market.data(c.base_isin_id).toInteger(), params);
    params.basePrice = price.toDouble();
    params.volatLow = market.data(c.volat_min).toDouble();
    params.volatHigh = market.data(c.volat_max).toDouble();
    params.strike = market.data(c.strike).toDouble();

    // The row's own expiry date, at the time stored with it.
    datetime expiry = row.data(m_columns.expdate).toDatetime();
    if (expiry.isNull())
        expiry = expiryDate(row);
    if (expiry.isNull())
        return false;
    double seconds = double(expiry - now()) / 1000.0;
    if (seconds <= 0.0)
        seconds = 0.01;
    const double root = std::sqrt(seconds / SecondsPerYear);
    if (std::isinf(root))
        return false;
    params.sqrtTime = root;
    return true;
}

// --- valuation at any price ------------------------------------------------------------

PositionValuationData VirtualPortfolioModel::positionValuationData(int row) const
{
    const PositionValuationData none;
    if (row < 0 || row >= count())
        return none;
    const Record& record = at(row);
    if (record.isNull() || !record.inTable() || !isRowActive(record, true))
        return none;
    const OptCalcRecord security = optCalcRecord(record);
    if (security.isNull())
        return none;
    const OptCalcColumns& c = *security.columns;
    const Record& market = security.record;
    const QChar sectype = market.data(c.sectype).toChar();
    if (sectype != QLatin1Char('F') && sectype != QLatin1Char('O'))
        return none;

    PositionValuationData data;
    if (sectype == QLatin1Char('O')) {
        const Record option = securityRecord(record);
        if (option.isNull())
            return none;
        const VolatBand band = volatBand(option);
        if (band.low > band.high)
            return none;
        data.volatLow = band.low;
        data.volatHigh = band.high;
        data.lasttime = option.data(m_securitiesColumns.lasttime).toDatetime();
        data.expdate = option.data(m_securitiesColumns.expdate).toDatetime();
        VolatInputParams params;
        m_volatCoeffDirectory->coefficients(market.data(c.base_isin_id).toInteger(), params);
        data.params = params;
    }
    data.pos = record.data(m_columns.pos).toInteger64();
    data.miv = record.data(m_columns.miv).toDecimal();
    data.mivMpFlag = record.data(m_columns.miv_mp_flag).toInteger();
    data.optionType = market.data(c.option_type).toChar();
    data.sectype = sectype;
    data.strike = market.data(c.strike).toDouble();
    data.priceStep = market.data(c.price_step).toDouble();
    data.theorPrice = market.data(c.theor_price).toDouble();
    data.curKotirReal = market.data(c.cur_kotir_real).toDouble();
    data.volat = market.data(c.volat).toDecimal();
    return data;
}

double VirtualPortfolioModel::yearsToExpiry(const datetime& lasttime, const datetime& expdate,
                                            int mode) const
{
    if (mode > ExpiryValuation)
        return 0.0;
    // A hundredth of a second: at expiry an option is worth its intrinsic value.
    const double tiny = 0.01 / SecondsPerYear;
    if (mode == ExpiryValuation || !m_securityModel)
        return tiny;
    const qint64 offset =
        mode == WhatIfValuation && m_daysShiftEnabled ? qint64(m_daysShift) * SecondsPerDay : 0;
    const qint64 seconds = m_securityModel->secondsToExpiry(lasttime, expdate, offset);
    return seconds > 0 ? double(seconds) / SecondsPerYear : tiny;
}

ProfilePoint VirtualPortfolioModel::profilePointOfData(double price, int mode, double years,
                                                       const PositionValuationData& data) const
{
    ProfilePoint point;
    if (!(price > 0.0) || mode >= ValuationModeCount || !(years > 0.0) || !(data.priceStep > 0.0) ||
        data.sectype.isNull())
        return point;

    VolatOutputParams out;
    if (data.sectype == QLatin1Char('O')) {
        VolatInputParams in = data.params;
        in.strike = data.strike;
        in.basePrice = price;
        in.sqrtTime = std::sqrt(years);
        if (std::isinf(in.sqrtTime))
            return point;
        in.volatLow = data.volatLow;
        in.volatHigh = data.volatHigh;
        // Only the what-if profile sees model volatility and the trader's shift.
        decimal volatility =
            mode == WhatIfValuation && (data.mivMpFlag & ModelValuesInUse) ? data.miv : data.volat;
        if (mode == WhatIfValuation && m_volatShiftEnabled)
            volatility += m_volatShift;
        const double clamped =
            std::max(std::min(volatility.toDouble(), data.volatHigh), data.volatLow);
        calcVolatParams(out, in, decimal::fromDouble(clamped, volatility.scale()).toDouble());
    }

    const double quantity = double(data.pos);
    double change = 0.0;
    double delta = 0.0;
    if (data.optionType == QLatin1Char('C')) {
        change = out.callPrice - data.theorPrice;
        delta = quantity * out.callDelta;
    } else if (data.optionType == QLatin1Char('P')) {
        change = out.putPrice - data.theorPrice;
        delta = quantity * out.putDelta;
    } else if (data.sectype == QLatin1Char('F') && data.optionType.isNull()) {
        change = price - data.curKotirReal;
        delta = quantity;
    } else {
        return point;
    }
    // Whole price steps, halves up.
    point.values[ProfilePoint::Profit] =
        std::floor(change / data.priceStep + 0.5) * data.priceStep * quantity;
    point.values[ProfilePoint::Delta] = delta;
    point.values[ProfilePoint::Gamma] = quantity * out.gamma;
    point.values[ProfilePoint::Vega] = quantity * out.vega;
    point.values[ProfilePoint::Theta] = quantity * out.theta;
    for (int i = 0; i < ProfilePoint::ValueCount; ++i)
        point.valid[i] = ProfilePoint::isUsable(point.values[i]);
    return point;
}

ProfilePoint VirtualPortfolioModel::profilePointOfRow(double price, int mode, int row) const
{
    if (price <= 0.0 || mode > ExpiryValuation || row < 0 || row >= count())
        return ProfilePoint();
    const PositionValuationData data = positionValuationData(row);
    if (data.priceStep <= 0.0 || data.sectype.isNull())
        return ProfilePoint();
    const double years = yearsToExpiry(data.lasttime, data.expdate, mode);
    return years > 0.0 ? profilePointOfData(price, mode, years, data) : ProfilePoint();
}

ProfilePoint VirtualPortfolioModel::profilePoint(double price, int mode, int row) const
{
    if (price <= 0.0)
        return ProfilePoint();
    if (row >= 0)
        return profilePointOfRow(price, mode, row);
    const QList<int> rows = activeRows();
    if (rows.isEmpty())
        return ProfilePoint();
    const FrozenClock clock(m_securityModel);
    ProfilePoint sum;
    std::fill(std::begin(sum.valid), std::end(sum.valid), true);
    for (int active : rows) {
        const ProfilePoint point = profilePointOfRow(price, mode, active);
        for (int i = 0; i < ProfilePoint::ValueCount; ++i) {
            sum.values[i] += point.values[i];
            if (!point.valid[i] || !ProfilePoint::isUsable(sum.values[i]))
                sum.valid[i] = false;
        }
    }
    return sum;
}

// --- active rows -----------------------------------------------------------------------

QList<int> VirtualPortfolioModel::activeRows() const
{
    const FrozenClock clock(m_securityModel);
    QList<int> rows;
    for (int row = 0; row < count(); ++row)
        if (isRowActive(at(row), true))
            rows.append(row);
    return rows;
}

int VirtualPortfolioModel::activeRowCount() const
{
    return activeRows().size();
}

bool VirtualPortfolioModel::noActiveRows() const
{
    return activeRows().isEmpty();
}

bool VirtualPortfolioModel::allActiveOfSectype(const QChar& sectype) const
{
    const QList<int> rows = activeRows();
    if (sectype.isNull() || rows.isEmpty())
        return false;
    for (int row : rows)
        if (sectypeOf(at(row)).toChar() != sectype)
            return false;
    return true;
}

int VirtualPortfolioModel::activeRowAt(int n) const
{
    return activeRows().value(n, -1);
}

QString VirtualPortfolioModel::activeRowName(int row) const
{
    const Record& record = at(row);
    return isRowActive(record, true) ? record.data(m_columns.sec_name).toString() : QString();
}

QString VirtualPortfolioModel::activeRowKey(const QString& name) const
{
    for (int row : activeRows()) {
        const Record& record = at(row);
        if (record.data(m_columns.sec_name).toString() == name)
            return record.toString();
    }
    return QString();
}

QString VirtualPortfolioModel::activeRowNameByKey(const QString& key) const
{
    for (int row : activeRows()) {
        const Record& record = at(row);
        if (record.toString() == key)
            return record.data(m_columns.sec_name).toString();
    }
    return QString();
}

// --- reference points ------------------------------------------------------------------

Record VirtualPortfolioModel::nearestFuture() const
{
    if (!m_securitiesTable || !m_securitiesTable->masterIndex())
        return Record();
    const SecuritiesColumns& s = m_securitiesColumns;
    const TableLocker lock(m_securitiesTable);
    Record nearest;
    datetime earliest;
    for (const Record& security : m_securitiesTable->masterIndex()->records()) {
        if (security.data(s.sectype).toChar() != QLatin1Char('F') ||
            security.data(s.base_code).asSharedString() != baseCode() ||
            !BoardDirectory::i().isAnonymById(security.data(s.stock_id).toInteger(),
                                              security.data(s.board_id).toInteger()))
            continue;
        const datetime expiry = security.data(s.expdate).toDatetime();
        if (nearest.isNull() || expiry < earliest) {
            nearest = security;
            earliest = expiry;
        }
    }
    return nearest;
}

double VirtualPortfolioModel::baseFuturePriceStep() const
{
    const Record future = nearestFuture();
    return future.isNull() ? 1.0 : future.data(m_securitiesColumns.price_step).toDouble();
}

Record VirtualPortfolioModel::nearestPositionFuture() const
{
    const FrozenClock clock(m_securityModel);
    // Options first: they are what the base price is read for.
    for (int board : {14, 1}) {
        Record nearest;
        datetime earliest;
        for (int row = 0; row < count(); ++row) {
            const Record& record = at(row);
            if (record.data(m_columns.board_id).toInteger() != board || !isRowActive(record, true))
                continue;
            datetime expiry = record.data(m_columns.expdate).toDatetime();
            if (expiry.isNull())
                expiry = expiryDate(record);
            if (nearest.isNull() || expiry < earliest) {
                nearest = record;
                earliest = expiry;
            }
        }
        if (!nearest.isNull())
            return nearest;
    }
    return Record();
}

decimal VirtualPortfolioModel::strikeNearest(const decimal& price) const
{
    const OptCalcColumns& c = m_optCalcDirectory->columns();
    decimal nearest = decimal::zero;
    double distance = std::numeric_limits<double>::infinity();
    for (int i = 0; i < m_optCalcDirectory->count(); ++i) {
        const Record& option = m_optCalcDirectory->at(i).record;
        if (option.data(c.sectype).toChar() != QLatin1Char('O') ||
            option.data(c.base_code).asSharedString() != baseCode())
            continue;
        const decimal strike = option.data(c.strike).toDecimal();
        const double d = std::fabs((strike - price).toDouble());
        if (d < distance) {
            distance = d;
            nearest = strike;
        }
    }
    return nearest;
}

decimal VirtualPortfolioModel::centralStrike() const
{
    Record reference = nearestPositionFuture();
    if (reference.isNull() && m_securitiesTable && m_securitiesTable->masterIndex()) {
        // No position: the nearest option series of the base code.
        const SecuritiesColumns& s = m_securitiesColumns;
        const TableLocker lock(m_securitiesTable);
        datetime earliest;
        for (const Record& security : m_securitiesTable->masterIndex()->records()) {
            const int board = security.data(s.board_id).toInteger();
            if (board != 14 || security.data(s.base_code).asSharedString() != baseCode() ||
                !BoardDirectory::i().isAnonymById(security.data(s.stock_id).toInteger(), board))
                continue;
            const datetime expiry = security.data(s.expdate).toDatetime();
            if (reference.isNull() || expiry < earliest) {
                reference = security;
                earliest = expiry;
            }
        }
    }
    if (reference.isNull())
        return decimal::zero;
    const Record base = baseRecord(reference);
    if (base.isNull() || base.data(m_securitiesColumns.sectype).toChar() != QLatin1Char('F'))
        return decimal::zero;
    const decimal price = basePrice(base);
    const bool isFuture =
        reference.table() == m_securitiesTable
            ? reference.data(m_securitiesColumns.sectype).toChar() == QLatin1Char('F')
            : sectypeOf(reference).toChar() == QLatin1Char('F');
    return isFuture ? price : strikeNearest(price);
}
