#include "virtualportfoliomodel.h"

#include "portfoliocolumndelegates.h"

#include "marketdata/frozenclock.h"
#include "marketdata/optcalcsecuritymodel.h"
#include "marketdata/securitiesoptcalcdirectory.h"
#include "marketdata/volatcoeffdirectory.h"

#include "connections_model/connectionsmanager.h"
#include "database/exchangeconventions.h"
#include "database/field.h"
#include "database/masterindex.h"
#include "database/pricing.h"
#include "database/recordstrans.h"
#include "database/recordupdater.h"
#include "database/settings.h"
#include "database/table.h"
#include "database/tablelocker.h"
#include "database/tableupdater.h"
#include "database/undo.h"
#include "directory/boarddirectory.h"
#include "directory/securitydirectory.h"

#include <QDataStream>
#include <QDateTime>
#include <QMimeData>
#include <QSet>
#include <QTimer>
#include <QUndoStack>
#include <QtMath>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using Exchange::SecondsPerYear;

bool nearZero(double value)
{
    return std::fabs(value) <= 1e-12;
}

double theorPrice(const VolatOutputParams& out, bool isPut)
{
    return isPut ? out.putPrice : out.callPrice;
}

// The nearest price of the grid of a positive step, never below one step.
double onPriceGrid(double price, double step)
{
    const double p = std::max(price, step);
    return std::floor((step * 0.5 + p) / step) * step;
}

bool holds(int left, int right, int column)
{
    return column >= 0 && column >= left && column <= right;
}

} // namespace

VirtualPortfolioModel::VirtualPortfolioModel(Table* table, OptCalcSecurityModel* securityModel,
                                             QObject* parent)
    : PortfolioModel(table, securityModel, parent),
      m_plotMinimum(std::numeric_limits<double>::max()),
      m_plotMaximum(std::numeric_limits<double>::lowest()), m_undoStack(new QUndoStack)
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

    // Each Greek written looks its scale up; the columns never change.
    if (table)
        for (int column = 0; column < table->columnCount(); ++column)
            m_scales.append(short(table->columnDef(column).length));
    m_mivScale = scaleOf(m_columns.miv);
    m_mpScale = scaleOf(m_columns.mp);
    m_mivUnit = std::pow(10.0, -m_mivScale);
    m_mivAccuracy = std::pow(10.0, -m_mivScale - 1);
    m_mpAccuracy = std::pow(10.0, -m_mpScale - 1);

    connect(ConnectionsManager::instance(), SIGNAL(serverTimeChanged(int, datetime)), this,
            SLOT(onServerTimeChanged(int, datetime)));
    // The smiles are read once a batch of their table.
    connect(m_volatCoeffDirectory, &VolatCoeffDirectory::dataChanged, this,
            &VirtualPortfolioModel::forgetSmiles);
}

VirtualPortfolioModel::~VirtualPortfolioModel() = default;

void VirtualPortfolioModel::smileOf(int isinId, VolatInputParams& params) const
{
    auto known = std::find_if(m_smiles.cbegin(), m_smiles.cend(),
                              [isinId](const Smile& smile) { return smile.isinId == isinId; });
    if (known == m_smiles.cend()) {
        Smile smile;
        smile.isinId = isinId;
        smile.known = m_volatCoeffDirectory->coefficients(isinId, smile.coefficients);
        m_smiles.push_back(smile);
        known = m_smiles.cend() - 1;
    }
    if (!known->known)
        return;
    const VolatInputParams& c = known->coefficients;
    params.a = c.a;
    params.b = c.b;
    params.c = c.c;
    params.d = c.d;
    params.e = c.e;
    params.s = c.s;
}

void VirtualPortfolioModel::forgetSmiles()
{
    m_smiles.clear();
}

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
    m_ownWrites.written(table(), record, column);
    return true;
}

bool VirtualPortfolioModel::writeDoubleIfChanged(const Record& record, int column, double value)
{
    Field field = record.data(column);
    if (field.type() != FieldType::Decimal)
        return writeDecimalIfChanged(record, column, decimal::fromDouble(value, scaleOf(column)));
    // The valuation writes every Greek of every row this way. At the cell's own scale equal
    // values are equal bits; a value too large for it takes the general path.
    const decimal stored = decimal::fromDouble(value, short(field.length()));
    if (stored.scale() != field.length())
        return writeDecimalIfChanged(record, column, stored);
    if (!stored.isZero() && !field.isNull() && field.toDecimal().raw() == stored.raw())
        return false;
    field = stored;
    m_ownWrites.written(table(), record, column);
    return true;
}

bool VirtualPortfolioModel::writeInt64IfChanged(const Record& record, int column, qint64 value)
{
    Field field = record.data(column);
    if (!field.isValid() || (value != 0 && !field.isNull() && field.toInteger64() == value))
        return false;
    field = static_cast<long long>(value);
    m_ownWrites.written(table(), record, column);
    return true;
}

bool VirtualPortfolioModel::writeIntIfChanged(const Record& record, int column, int value)
{
    Field field = record.data(column);
    if (!field.isValid() || (value != 0 && !field.isNull() && field.toInteger() == value))
        return false;
    field = value;
    m_ownWrites.written(table(), record, column);
    return true;
}

bool VirtualPortfolioModel::clearField(const Record& record, int column)
{
    Field field = record.data(column);
    if (field.isNull())
        return false;
    field.setNull();
    m_ownWrites.written(table(), record, column);
    return true;
}

// --- change propagation ----------------------------------------------------------------

void VirtualPortfolioModel::process(const QList<Record>& removed, const QList<Record>& updated,
                                    int firstColumn, int lastColumn, const QList<Record>& inserted)
{
    m_ownWrites.beginBatch(updated, removed);
    PortfolioModel::process(removed, updated, firstColumn, lastColumn, inserted);
    m_ownWrites.endBatch();
}

void VirtualPortfolioModel::onModelDataChanged(const QModelIndex& topLeft,
                                               const QModelIndex& bottomRight,
                                               const QVector<int>& roles)
{
    // The notices of the valuation's own Greeks and derived values: nothing to value.
    if (m_ownWrites.batchIsInert())
        return;
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
        connections->transportName(index) != Exchange::transportName())
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
    trigger.flag = columns & OwnWrites::bit(m_columns.miv_mp_flag);
    trigger.miv = columns & OwnWrites::bit(m_columns.miv);
    trigger.mp = columns & OwnWrites::bit(m_columns.mp);
    return trigger;
}

void VirtualPortfolioModel::valueRows(const QModelIndex& topLeft, const QModelIndex& bottomRight)
{
    if (!topLeft.isValid() || !bottomRight.isValid())
        return;
    const Trigger ofRange = triggerOfColumns(topLeft.column(), bottomRight.column());
    // Most changes, such as the valuation's own Greeks, touch nothing that values a row.
    if (!ofRange.any() && !m_ownWrites.batchHasWrites())
        return;
    const int first = std::max(0, topLeft.row());
    const int last = std::min(bottomRight.row(), count() - 1);
    const Pass pass(*this);
    // The rows' writes go out as one batch, which the table's models take at once; until
    // then no row moves, so the row numbers hold.
    TableUpdater update(table());
    // The views get the same Greek cells as from one notice a row, one notice a pass.
    int greeksFirst = -1, greeksLast = -1;
    for (int row = first; row <= last; ++row) {
        // No row moves while the batch is held, and so no handle needs holding.
        const Record& record = at(row);
        quint32 written = 0;
        const Trigger trigger =
            m_ownWrites.takeBatchColumns(record, &written) ? triggerOfWrites(written) : ofRange;
        if (trigger.any() && valueRecord(row, record, trigger)) {
            if (greeksFirst < 0)
                greeksFirst = row;
            greeksLast = row;
        }
    }
    if (greeksFirst >= 0)
        emitGreeksChanged(greeksFirst, greeksLast);
}

void VirtualPortfolioModel::emitGreeksChanged(int first, int last)
{
    emit dataChanged(index(first, m_modelColumns.delta), index(last, m_modelColumns.theta),
                     QVector<int>());
}

VirtualPortfolioModel::Pass::Pass(VirtualPortfolioModel& model) : m_model(model)
{
    if (m_model.m_passDepth++ == 0)
        m_model.m_passNow = m_model.now();
}

VirtualPortfolioModel::Pass::~Pass()
{
    if (--m_model.m_passDepth == 0) {
        m_model.m_passBases.clear();
        m_model.m_passExpiries.clear();
    }
}

bool VirtualPortfolioModel::basePriceOf(const Record& base, double* price) const
{
    if (base.isNull())
        return false;
    decimal quote = base.data(m_securitiesColumns.cur_kotir).toDecimal();
    if (quote.value() == 0)
        quote = base.data(m_securitiesColumns.old_kotir).toDecimal();
    if (quote.value() == 0)
        return false;
    *price = quote.toDouble();
    return true;
}

bool VirtualPortfolioModel::passBasePrice(const Record& security, double* price) const
{
    const SecuritiesColumns& s = m_securitiesColumns;
    if (m_passDepth == 0 || security.isNull() || security.table() != m_securitiesTable ||
        s.main_sec_id < 0 || security.data(s.sectype).toChar() == QLatin1Char('F'))
        return basePriceOf(baseOf(security), price);
    const qint64 secId = security.data(s.main_sec_id).toInteger64();
    for (const PassBase& known : m_passBases) {
        if (known.secId == secId) {
            *price = known.price;
            return known.priced;
        }
    }
    PassBase known;
    known.secId = secId;
    known.priced = basePriceOf(baseOf(security), &known.price);
    // A portfolio's options rest on a few futures; past that many the look-up is cheaper.
    if (m_passBases.size() < 16)
        m_passBases.push_back(known);
    *price = known.price;
    return known.priced;
}

void VirtualPortfolioModel::rowSecurity(int row, const Record& record, RowSecurity& s) const
{
    if (const FoundSecurity* found = foundSecurity(row, record)) {
        static_cast<FoundSecurity&>(s) = *found;
        s.exists = found->stock == 1 || securityExists(record);
        return;
    }
    locateSecurity(record.data(m_columns.stock_id).toInteger(),
                   record.data(m_columns.board_id).toInteger(),
                   record.data(m_columns.sec_id).toInteger64(), s);
    s.exists = s.stock == 1 ? !s.security().isNull() : securityExists(record);
}

bool VirtualPortfolioModel::valueRecord(int row, const Record& record, const Trigger& trigger)
{
    if (record.isNull() || !record.inTable() || record.table() != table())
        return false;
    const int before = flagOf(record);
    // A change of how the row is valued, or of the value that is fixed.
    const bool direct =
        trigger.flag || (trigger.mp && (before & MpFixed)) || (trigger.miv && (before & MivFixed));
    // The valuation's own writes name no market column: such a row is passed over at once.
    if (!direct && !trigger.optionMarket && !trigger.futureMarket)
        return false;
    const bool option = sectypeOf(record).toChar() == QLatin1Char('O');
    if (!direct && !(option ? trigger.optionMarket : trigger.futureMarket))
        return false;
    RowSecurity security;
    rowSecurity(row, record, security);
    if (!security.exists)
        return false;
    bool greeks = false;
    {
        // The row's writes are told to the table once, over the columns written.
        // A write of the flag, or of the value the row holds fixed, values the row again.
        const quint32 triggers = OwnWrites::bit(m_columns.miv_mp_flag) |
                                 (before & MivFixed ? OwnWrites::bit(m_columns.miv) : 0u) |
                                 (before & MpFixed ? OwnWrites::bit(m_columns.mp) : 0u);
        const OwnWrites::RowScope writes(m_ownWrites, table(), record, triggers);
        if (option)
            greeks = valueOption(row, record, security, before);
        else
            valueFuture(row, record, security, before);
    }
    if (flagOf(record) != before)
        emitRowUpdated(row);
    return greeks;
}

void VirtualPortfolioModel::valueOptionRow(int row)
{
    const Record record = at(row);
    if (!isOwnRow(record))
        return;
    bool greeks = false;
    {
        // The row's writes go out as one batch.
        TableUpdater update(table());
        RowSecurity security;
        rowSecurity(row, record, security);
        greeks = valueOption(row, record, security, flagOf(record));
    }
    if (greeks)
        emitGreeksChanged(row, row);
}

void VirtualPortfolioModel::valueFutureRow(int row)
{
    const Record record = at(row);
    if (!isOwnRow(record))
        return;
    TableUpdater update(table());
    RowSecurity security;
    rowSecurity(row, record, security);
    valueFuture(row, record, security, flagOf(record));
}

bool VirtualPortfolioModel::valueOption(int row, const Record& record, const RowSecurity& security,
                                        int flag)
{
    if (security.market->isNull())
        return false;
    const OptCalcColumns& c = *security.market->columns;
    const Record& market = security.market->record;

    if (flag == 0) {
        // Market values only: the row mirrors the market, and the delegates show the
        // market's Greeks.
        writeDecimalIfChanged(record, m_columns.miv, market.data(c.volat).toDecimal());
        writeDecimalIfChanged(record, m_columns.mp, market.data(c.theor_price).toDecimal());
        return false;
    }
    VolatInputParams in;
    if (!fillInputs(record, *security.market, security.security(), in))
        return false;
    const VolatBand band = volatBand(security.security());
    const bool isPut = market.data(c.option_type).toChar() == QLatin1Char('P');
    VolatOutputParams out;
    bool haveParams = false;
    double newMp = 0.0;
    bool writeMp = false;

    if (flag & ModelValuesInUse) {
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
                writeDecimalIfChanged(record, m_columns.miv,
                                      decimal::fromDouble(clamped, m_mivScale));
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
                const double accV = m_mivAccuracy;
                double volatility =
                    volatByTheorPrice(in, isPut, price, market.data(c.volat).toDouble(),
                                      band.low - accV, band.high + accV, m_mpAccuracy, accV);
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
                                      decimal::fromDouble(volatility, m_mivScale));
            }
        }
        // Without a grid the price stays as it is.
        if (writeMp && step > 0.0)
            writeDecimalIfChanged(record, m_columns.mp,
                                  decimal::fromDouble(onPriceGrid(newMp, step), m_mpScale));
    }
    if (!haveParams)
        calcVolatParams(out, in, record.data(m_columns.miv).toDouble());

    writeDoubleIfChanged(record, m_columns.delta, isPut ? out.putDelta : out.callDelta);
    writeDoubleIfChanged(record, m_columns.gamma, out.gamma);
    writeDoubleIfChanged(record, m_columns.vega, out.vega);
    writeDoubleIfChanged(record, m_columns.theta, out.theta);

    if ((flag & ModelValuesInUse) && !(flag & (MivFixed | MpFixed))) {
        // Switched on with nothing chosen: the market volatility becomes the fixed one.
        writeIntIfChanged(record, m_columns.miv_mp_flag, flag | MivFixed);
        writeDecimalIfChanged(
            record, m_columns.miv,
            decimal::fromDouble(band.clamp(market.data(c.volat).toDouble()), m_mivScale));
        dataChangedRow(row, m_modelColumns.miv_mp_flag);
    } else if (!(flag & ModelValuesInUse)) {
        // Switched off: only the value that was chosen is kept.
        if (!(flag & MivFixed))
            clearField(record, m_columns.miv);
        if (!(flag & MpFixed))
            clearField(record, m_columns.mp);
    }
    return true;
}

void VirtualPortfolioModel::valueFuture(int row, const Record& record, const RowSecurity& security,
                                        int flag)
{
    if (security.market->isNull())
        return;
    const OptCalcColumns& c = *security.market->columns;
    const Record& market = security.market->record;

    if (flag == 0) {
        writeDecimalIfChanged(record, m_columns.mp, market.data(c.cur_kotir_real).toDecimal());
        return;
    }
    if ((flag & ModelValuesInUse) && !(flag & (MivFixed | MpFixed))) {
        // A future has no volatility: switched on, its price is the fixed value.
        writeIntIfChanged(record, m_columns.miv_mp_flag, flag | MpFixed);
        writeDecimalIfChanged(record, m_columns.mp, market.data(c.cur_kotir_real).toDecimal());
        dataChangedRow(row, m_modelColumns.miv_mp_flag);
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
        writeDecimalIfChanged(record, m_columns.mp, decimal::fromDouble(price, m_mpScale));
    }
}

VolatBand VirtualPortfolioModel::volatBand(const Record& security) const
{
    if (security.isNull() || security.table() != m_securitiesTable ||
        security.data(m_securitiesColumns.sectype).toChar() != QLatin1Char('O'))
        return VolatBand{VolatMinDefault, VolatMaxDefault};
    return bandOfLimits(security.data(m_securitiesColumns.volat_min).toDouble(),
                        security.data(m_securitiesColumns.volat_max).toDouble());
}

VolatBand VirtualPortfolioModel::bandOfLimits(double low, double high) const
{
    VolatBand band;
    // The gateway does publish the limits the wrong way round.
    if (low > high && !nearZero(low) && !nearZero(high) && high >= VolatMinDefault &&
        VolatMaxDefault >= low)
        std::swap(low, high);
    if (nearZero(low))
        low = VolatMinDefault;
    if (nearZero(high))
        high = VolatMaxDefault;
    // Never down to zero: one unit of the last digit that miv keeps.
    band.low = std::max(low, m_mivUnit);
    band.high = std::max(band.low, high);
    return band;
}

bool VirtualPortfolioModel::fillVolatInputParams(const Record& row, VolatInputParams& params) const
{
    return isOwnRow(row) && fillInputs(row, optCalcRecord(row), securityOf(row), params);
}

bool VirtualPortfolioModel::fillInputs(const Record& row, const OptCalcRecord& security,
                                       const Record& option, VolatInputParams& params) const
{
    double basePrice = 0.0;
    if (!passBasePrice(option, &basePrice) || security.isNull())
        return false;
    const OptCalcColumns& c = *security.columns;
    const Record& market = security.record;
    // Without a row of coefficients the defaults, a flat smile, stay in force.
    smileOf(market.data(c.base_isin_id).toInteger(), params);
    params.basePrice = basePrice;
    params.volatLow = market.data(c.volat_min).toDouble();
    params.volatHigh = market.data(c.volat_max).toDouble();
    params.strike = market.data(c.strike).toDouble();

    // The row's own expiry date, at the time stored with it.
    datetime expiry = row.data(m_columns.expdate).toDatetime();
    if (expiry.isNull() && !option.isNull())
        expiry = option.data(m_securitiesColumns.expdate).toDatetime();
    return !expiry.isNull() && sqrtTimeTo(expiry, &params.sqrtTime);
}

bool VirtualPortfolioModel::sqrtTimeTo(const datetime& expiry, double* root) const
{
    if (m_passDepth > 0) {
        for (const PassExpiry& known : m_passExpiries) {
            if (known.expiry == expiry) {
                *root = known.sqrtTime;
                return true;
            }
        }
    }
    double seconds = double(expiry - (m_passDepth > 0 ? m_passNow : now())) / 1000.0;
    if (seconds <= 0.0)
        seconds = 0.01;
    *root = std::sqrt(seconds / SecondsPerYear);
    if (std::isinf(*root))
        return false;
    // A portfolio's options expire on a few dates.
    if (m_passDepth > 0 && m_passExpiries.size() < 16)
        m_passExpiries.push_back({expiry, *root});
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
        const Record option = securityOf(record);
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
        smileOf(market.data(c.base_isin_id).toInteger(), params);
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
    const ExpiryClock clock = m_securityModel ? m_securityModel->expiryClock() : ExpiryClock();
    return ::yearsToExpiry(m_securityModel ? &clock : nullptr, lasttime, expdate, mode,
                           m_shifts);
}

ProfilePoint VirtualPortfolioModel::profilePointOfData(double price, int mode, double years,
                                                       const PositionValuationData& data) const
{
    return ::profilePointOfData(price, mode, years, data, m_shifts);
}

ValuationSnapshot VirtualPortfolioModel::valuationSnapshot() const
{
    ValuationSnapshot snapshot;
    snapshot.shifts = m_shifts;
    if (m_securityModel) {
        snapshot.clock = m_securityModel->expiryClock();
        snapshot.hasClock = true;
    }
    for (int row = 0, n = count(); row < n; ++row) {
        PositionValuationData data = positionValuationData(row);
        if (data.priceStep > 0.0 && !data.sectype.isNull())
            snapshot.rows.append({row, std::move(data)});
    }
    return snapshot;
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

// --- editing ---------------------------------------------------------------------------

namespace {

bool withinLimit(qint64 pos, qint64 limit)
{
    return pos >= -limit && pos <= limit;
}

// The sum of two positions; false when it leaves 64 bits (a position loaded from garbage).
bool addPositionsOf(qint64 a, qint64 b, qint64* sum)
{
    if (b > 0 ? a > std::numeric_limits<qint64>::max() - b
              : a < std::numeric_limits<qint64>::min() - b)
        return false;
    *sum = a + b;
    return true;
}

} // namespace

qint64 VirtualPortfolioModel::positionLimit(int stock, qint64 secId, QChar sectype) const
{
    const bool future = sectype == QLatin1Char('F');
    if (!future && sectype != QLatin1Char('O'))
        return -1;
    Record base = m_securityDirectory->recordById(stock, future ? 1 : 14, secId);
    if (!future && !base.isNull()) {
        const int mainSecId = base.table()->columnIndex(QStringLiteral("main_sec_id"));
        if (mainSecId < 0)
            return -1;
        base = m_securityDirectory->recordById(1, 1, base.data(mainSecId).toInteger64());
    }
    if (base.isNull())
        return -1;
    const qint64 fallback = 1000000;
    const decimal price = basePrice(base);
    if (price.value() == 0)
        return fallback;
    // Position times twice the price must stay within a decimal. A price so high that not
    // one contract fits, or so low that the power leaves 64 bits, gets the fallback.
    const double power =
        std::pow(10.0, std::floor(std::log10(decimal::MaxAbsValue / (price.toDouble() * 2.0))));
    if (!(power >= 1.0) || power >= 9223372036854775808.0)
        return fallback;
    return qint64(power);
}

Qt::ItemFlags VirtualPortfolioModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    const ModelColumns& m = m_modelColumns;
    const int column = index.column();
    Qt::ItemFlags result = Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled;
    if (column == m.pos || column == m.sec_name)
        result |= Qt::ItemIsEditable;
    const Record record = recordByIndex(index);
    if (!securityExists(record))
        return result;
    const bool active = isRowActive(record, false);
    const bool option = sectypeOf(record).toChar() == QLatin1Char('O');
    if ((column == m.miv && option) || column == m.mp)
        result |= Qt::ItemIsEditable;
    if (active && (column == m.miv_mp_flag || column == m.sec_name))
        result |= Qt::ItemIsUserCheckable;
    if (active && option && (column == m.strike || column == m.sectype))
        result |= Qt::ItemIsEditable;
    if (active && column == m.expdate)
        result |= Qt::ItemIsEditable;
    return result;
}

int VirtualPortfolioModel::checkState(const QModelIndex& index, int column) const
{
    const Record record = recordByIndex(index);
    if (!isRowActive(record, false))
        return Qt::Unchecked;
    return record.data(column).toInteger() & 1 ? Qt::Checked : Qt::Unchecked;
}

QVariant VirtualPortfolioModel::data(const QModelIndex& index, int role) const
{
    if (index.isValid() && index.column() == m_modelColumns.miv_mp_flag) {
        // The column is its check box alone.
        if (role == Qt::DisplayRole || role == Qt::EditRole)
            return QVariant();
        if (role == Qt::CheckStateRole)
            return checkState(index, m_columns.miv_mp_flag);
    } else if (index.isValid() && index.column() == m_modelColumns.sec_name &&
               role == Qt::CheckStateRole) {
        return checkState(index, m_columns.flags);
    }
    return PortfolioModel::data(index, role);
}

bool VirtualPortfolioModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    const Record record = recordByIndex(index);
    if (!index.isValid() || record.isNull() || !table())
        return false;
    // Changes go to a copy: a refused value leaves the row as it is.
    const Record before = record.clone();
    Record after = record.clone();
    const ModelColumns& m = m_modelColumns;
    const int column = index.column();
    const Qt::ItemFlags cell = flags(index);
    if (role == Qt::CheckStateRole && (cell & Qt::ItemIsUserCheckable)) {
        const int field = column == m.miv_mp_flag ? m_columns.miv_mp_flag
                          : column == m.sec_name  ? m_columns.flags
                                                  : -1;
        if (field >= 0) {
            const int bits = after.data(field).toInteger();
            after.data(field) = value.toInt() == Qt::Checked ? bits | 1 : bits & ~1;
        }
    } else if (role == Qt::EditRole && (cell & Qt::ItemIsEditable)) {
        if (column == m.pos)
            editPosition(after, value);
        else if (column == m.miv)
            editModelVolatility(after, value);
        else if (column == m.mp)
            editModelPrice(after, value);
        else if ((column == m.sec_name || column == m.strike || column == m.sectype ||
                  column == m.expdate) &&
                 !editInstrument(after, value))
            return true;
    }
    pushCommand(new Undo::Update(table(), before, after), tr("изменение позиции"));
    QTimer::singleShot(0, this, SIGNAL(userDataUpdated()));
    return true;
}

void VirtualPortfolioModel::pushCommand(QUndoCommand* command, const QString& text)
{
    command->setText(text);
    m_undoStack->push(command);
}

namespace {

QString notANumber()
{
    return VirtualPortfolioModel::tr("Невозможно преобразовать указанное значение в число.");
}

decimal decimalOf(const QVariant& value)
{
    bool ok = false;
    const decimal number = decimal::fromAnyString(value.toString(), &ok);
    if (!ok)
        throw notANumber();
    return number;
}

} // namespace

void VirtualPortfolioModel::editPosition(Record& row, const QVariant& value) const
{
    bool ok = false;
    const qint64 pos = value.userType() == QMetaType::QString
                           ? value.toString().trimmed().toLongLong(&ok)
                           : value.toLongLong(&ok);
    if (!ok)
        throw notANumber();
    const qint64 limit =
        positionLimit(row.data(m_columns.stock_id).toInteger(),
                      row.data(m_columns.sec_id).toInteger64(), sectypeOf(row).toChar());
    if (limit < 0 || !withinLimit(pos, limit))
        throw tr("Указанная позиция превышает максимально допустимую.");
    row.data(m_columns.pos) = static_cast<long long>(pos);
}

void VirtualPortfolioModel::editModelVolatility(Record& row, const QVariant& value) const
{
    decimal volatility = decimalOf(value);
    // A future has no volatility to fix.
    if (sectypeOf(row).toChar() != QLatin1Char('O'))
        return;
    const short scale = scaleOf(m_columns.miv);
    const double typed = volatility.toDouble();
    const double clamped = volatBand(securityRecord(row)).clamp(typed);
    if (clamped != typed)
        volatility = decimal::fromDouble(clamped, scale);
    volatility.setScale(scale);
    row.data(m_columns.miv_mp_flag) = ModelValuesInUse | MivFixed;
    row.data(m_columns.miv) = volatility;
}

void VirtualPortfolioModel::editModelPrice(Record& row, const QVariant& value) const
{
    decimal price = decimalOf(value);
    price.setScale(scaleOf(m_columns.mp));
    row.data(m_columns.miv_mp_flag) = ModelValuesInUse | MpFixed;
    row.data(m_columns.mp) = price;
}

bool VirtualPortfolioModel::editInstrument(Record& row, const QVariant& value)
{
    const Record security = value.value<Record>();
    if (security.isNull() || security.table() != m_securitiesTable)
        throw tr("Выбранный инструмент не найден в базе данных.");
    const SecuritiesColumns& s = m_securitiesColumns;
    const TableColumns& c = m_columns;
    Record key(table());
    key.data(c.stock_id) = security.data(s.stock_id);
    key.data(c.board_id) = security.data(s.board_id);
    key.data(c.sec_id) = security.data(s.sec_id);
    if (key.data(c.stock_id) == row.data(c.stock_id) &&
        key.data(c.board_id) == row.data(c.board_id) && key.data(c.sec_id) == row.data(c.sec_id))
        return false;
    if (!table()->masterIndex()->findByKey(key).isNull())
        throw tr("Выбранный инструмент уже присутствует в модельном портфеле.");
    // The row changes its key in place; a sorted view would move it away from the editor.
    sort(-1, Qt::AscendingOrder);
    // Model values of an option mean nothing for a future, and the reverse.
    if (security.data(s.sectype).toChar() != sectypeOf(row).toChar()) {
        row.data(c.miv_mp_flag) = 0;
        row.data(c.miv).setNull();
        row.data(c.mp).setNull();
    }
    row.data(c.stock_id) = security.data(s.stock_id);
    row.data(c.board_id) = security.data(s.board_id);
    row.data(c.sec_id) = security.data(s.sec_id);
    row.data(c.sectype) = security.data(s.sectype);
    row.data(c.sec_name) = security.data(s.sec_name);
    row.data(c.expdate) = security.data(s.expdate);
    return true;
}

Record VirtualPortfolioModel::newPositionRow(const PositionItem& item) const
{
    const TableColumns& c = m_columns;
    Record row(table());
    row.data(c.stock_id) = item.stock_id;
    row.data(c.board_id) = item.board_id;
    row.data(c.sec_id) = static_cast<long long>(item.sec_id);
    row.data(c.sec_name) = item.sec_name;
    row.data(c.sectype) = item.sectype;
    if (!item.expdate.isNull())
        row.data(c.expdate) = item.expdate;
    row.data(c.pos) = static_cast<long long>(item.pos);
    row.data(c.miv_mp_flag) = 0;
    if (!item.price.isZero()) {
        row.data(c.mp) = item.price;
        row.data(c.miv_mp_flag) = MpFixed;
    }
    row.data(c.flags) = 1;
    return row;
}

void VirtualPortfolioModel::mergePosition(Record& row, const PositionItem& item, qint64 limit) const
{
    const TableColumns& c = m_columns;
    qint64 sum = 0;
    if (!addPositionsOf(row.data(c.pos).toInteger64(), item.pos, &sum) || sum == 0 ||
        !withinLimit(sum, limit))
        sum = item.pos;
    row.data(c.pos) = static_cast<long long>(sum);
    if (row.data(c.miv_mp_flag).toInteger() == 0 && !item.price.isZero()) {
        row.data(c.mp) = item.price;
        row.data(c.miv_mp_flag) = MpFixed;
    }
}

void VirtualPortfolioModel::addPositions(const QList<PositionItem*>& items)
{
    if (!table())
        return;
    // The rows as this command leaves them, by key. A security that comes twice adds up as
    // if the items were added one after the other.
    struct Change
    {
        Record before; // null for a new row
        Record after;
    };
    QVector<Change> changes;
    QHash<QString, int> changeOfKey;
    for (const PositionItem* item : items) {
        if (!item)
            continue;
        const qint64 limit = positionLimit(item->stock_id, item->sec_id, item->sectype);
        if (limit < 0 || !withinLimit(item->pos, limit))
            continue;
        const QString key =
            QStringLiteral("%1 %2 %3").arg(item->stock_id).arg(item->board_id).arg(item->sec_id);
        const auto pending = changeOfKey.constFind(key);
        if (pending != changeOfKey.cend()) {
            mergePosition(changes[*pending].after, *item, limit);
            continue;
        }
        const Record row = newPositionRow(*item);
        const Record held = table()->masterIndex()->findByKey(row);
        changeOfKey.insert(key, changes.size());
        if (held.isNull()) {
            changes.append({Record(), row});
        } else {
            changes.append({held.clone(), held.clone()});
            mergePosition(changes.last().after, *item, limit);
        }
    }
    if (changes.isEmpty())
        return;
    auto* transaction = new Undo::Transaction(table());
    for (const Change& change : qAsConst(changes)) {
        if (change.before.isNull())
            new Undo::TransInsert(change.after, transaction);
        else
            new Undo::TransUpdate(change.before, change.after, transaction);
    }
    pushCommand(transaction, tr("изменение портфеля"));
}

void VirtualPortfolioModel::removeRows(const QList<QModelIndex>& indexes)
{
    if (!table())
        return;
    auto* transaction = new Undo::Transaction(table());
    QSet<int> handled;
    for (const QModelIndex& index : indexes) {
        const Record record = recordByIndex(index);
        if (record.isNull() || handled.contains(index.row()))
            continue;
        handled.insert(index.row());
        new Undo::TransDelete(record.clone(), transaction);
    }
    pushCommand(transaction, tr("удаление"));
}

void VirtualPortfolioModel::clearPortfolio()
{
    if (table())
        pushCommand(new Undo::Clear(table()), tr("очистку"));
}

// --- settings and drag -----------------------------------------------------------------

namespace {

const QString SettingsDateFormat = QStringLiteral("yyyy.MM.dd");

// The number of a group "row_N"; -1 for any other group.
int rowGroupNumber(const QString& group)
{
    if (!group.startsWith(QLatin1String("row_")))
        return -1;
    bool ok = false;
    const int number = group.midRef(4).toInt(&ok);
    return ok && number >= 0 && group == QStringLiteral("row_%1").arg(number) ? number : -1;
}

} // namespace

void VirtualPortfolioModel::saveToSettings(Settings& settings) const
{
    const int rows = count();
    // Rows of an earlier, longer portfolio would linger under the new count.
    for (const QString& group : settings.childGroups())
        if (rowGroupNumber(group) >= rows)
            settings.remove(group);
    settings.setValue(QStringLiteral("rowsCount"), rows);
    const MasterIndex* key = table() ? table()->masterIndex() : nullptr;
    for (int row = 0; row < rows; ++row) {
        const QString group = QStringLiteral("row_%1").arg(row);
        settings.remove(group);
        // A row that has left the table meanwhile is an empty group: it loads as zeros.
        const Record record = key ? key->findByKey(at(row)) : Record();
        if (record.isNull())
            continue;
        settings.beginGroup(group);
        saveRow(settings, record);
        settings.endGroup();
    }
}

void VirtualPortfolioModel::saveRow(Settings& settings, const Record& record) const
{
    const TableColumns& c = m_columns;
    settings.setValue(QStringLiteral("stock_id"), record.data(c.stock_id).toInteger());
    settings.setValue(QStringLiteral("board_id"), record.data(c.board_id).toInteger());
    settings.setValue(QStringLiteral("sec_id"), qlonglong(record.data(c.sec_id).toInteger64()));
    settings.setValue(QStringLiteral("sectype"), record.data(c.sectype).toString());
    settings.setValue(QStringLiteral("sec_name"), record.data(c.sec_name).toString());
    settings.setValue(QStringLiteral("pos"), qlonglong(record.data(c.pos).toInteger64()));
    const Field expdate = record.data(c.expdate);
    const QDate date = expdate.isNull() ? expiryDate(record).getDate() : expdate.toQDate();
    settings.setValue(QStringLiteral("expdate"),
                      date.isValid() ? date.toString(SettingsDateFormat) : QString());
    settings.setValue(QStringLiteral("miv_mp_flag"), record.data(c.miv_mp_flag).toInteger());
    settings.setValue(QStringLiteral("miv"), record.data(c.miv).toDouble());
    settings.setValue(QStringLiteral("mp"), record.data(c.mp).toDouble());
    settings.setValue(QStringLiteral("flags"), record.data(c.flags).toInteger());
}

void VirtualPortfolioModel::loadFromSettings(const Settings& settings)
{
    const int rowsCount = settings.value(QStringLiteral("rowsCount")).toInt();
    if (rowsCount < 1 || !table())
        return;
    // The count bounds the rows but is never walked: the groups there are make the rows,
    // and the rows missing among them all load as the same zero-valued row.
    QVector<int> numbers;
    for (const QString& group : settings.childGroups()) {
        const int number = rowGroupNumber(group);
        if (number >= 0 && number < rowsCount)
            numbers.append(number);
    }
    std::sort(numbers.begin(), numbers.end());
    int missing = 0;
    while (missing < numbers.size() && numbers.at(missing) == missing)
        ++missing;
    if (missing < rowsCount)
        numbers.insert(missing, missing);

    TableUpdater batch(table());
    RecordsTrans transaction(table());
    for (int number : qAsConst(numbers))
        loadRow(settings, number, transaction);
}

void VirtualPortfolioModel::loadRow(const Settings& settings, int number, RecordsTrans& transaction)
{
    const TableColumns& c = m_columns;
    settings.beginGroup(QStringLiteral("row_%1").arg(number));
    Record record(table());
    record.data(c.stock_id) = settings.value(QStringLiteral("stock_id")).toInt();
    const QString sectypeText = settings.value(QStringLiteral("sectype")).toString();
    const QChar sectype = sectypeText.size() == 1 ? sectypeText.at(0) : QChar();
    // Older versions saved no board: futures trade on 1, options on 14.
    record.data(c.board_id) = settings.contains(QStringLiteral("board_id"))
                                  ? settings.value(QStringLiteral("board_id")).toInt()
                                  : (sectype == QLatin1Char('F') ? 1 : 14);
    record.data(c.sec_id) =
        static_cast<long long>(settings.value(QStringLiteral("sec_id")).toLongLong());
    {
        RecordUpdater updater(record, transaction);
        auto cell = [&updater](int column) {
            updater.extendColumns(column, column);
            return updater.data(column);
        };
        cell(c.sectype) = sectype;
        cell(c.sec_name) = settings.value(QStringLiteral("sec_name")).toString();
        cell(c.pos) = static_cast<long long>(settings.value(QStringLiteral("pos")).toLongLong());
        const QDateTime expdate = QDateTime::fromString(
            settings.value(QStringLiteral("expdate")).toString(), SettingsDateFormat);
        if (expdate.isValid() && !expdate.isNull())
            cell(c.expdate) = datetime(expdate.date());
        else
            cell(c.expdate).setNull();
        cell(c.miv_mp_flag) = settings.value(QStringLiteral("miv_mp_flag")).toInt();
        cell(c.miv) =
            decimal::fromDouble(settings.value(QStringLiteral("miv")).toDouble(), scaleOf(c.miv));
        cell(c.mp) =
            decimal::fromDouble(settings.value(QStringLiteral("mp")).toDouble(), scaleOf(c.mp));
        cell(c.flags) = settings.value(QStringLiteral("flags"), 1).toInt();
    }
    settings.endGroup();
}

QList<PositionItem*> VirtualPortfolioModel::parseMimeData(const QMimeData* mime) const
{
    QList<PositionItem*> items;
    if (!mime || !mime->hasFormat(mimeType()))
        return items;
    const QByteArray bytes = mime->data(mimeType());
    QDataStream in(bytes);
    while (!in.atEnd()) {
        auto item = std::make_unique<PositionItem>();
        if (!readPositionItem(in, *item))
            break;
        items.append(item.release());
    }
    return items;
}
