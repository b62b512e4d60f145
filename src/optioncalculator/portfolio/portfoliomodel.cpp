#include "portfoliomodel.h"

#include "portfoliocolumndelegates.h"
#include "rowintervals.h"

#include "marketdata/columncheck.h"
#include "marketdata/optcalcsecuritymodel.h"
#include "marketdata/securitiesoptcalcdirectory.h"
#include "marketdata/volatcoeffdirectory.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/exchangeconventions.h"
#include "database/field.h"
#include "database/masterindex.h"
#include "database/table.h"
#include "directory/securitydirectory.h"

#include <QDataStream>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QSet>
#include <QtEndian>

#include <algorithm>

namespace {

Table* terminalTable(const QString& name)
{
    const ICore* core = ICore::instance();
    return core ? core->tables()->table(name) : nullptr;
}

bool isPortfolioBoard(int board)
{
    return Exchange::isDerivativesBoard(board);
}

} // namespace

void PortfolioModel::SecuritiesColumns::lookUp(const Table* securities)
{
    *this = SecuritiesColumns();
    if (!securities)
        return;
    auto column = [securities](const char* name) {
        return securities->columnIndex(QLatin1String(name));
    };
    stock_id = column("stock_id");
    board_id = column("board_id");
    sec_id = column("sec_id");
    sec_name = column("sec_name");
    expdate = column("expdate");
    base_code = column("base_code");
    cur_kotir_real = column("cur_kotir_real");
    cur_kotir = column("cur_kotir");
    old_kotir = column("old_kotir");
    base_isin_id = column("base_isin_id");
    lasttime = column("lasttime");
    volat_min = column("volat_min");
    volat_max = column("volat_max");
    price_step = column("price_step");
    sectype = column("sectype");
    europe = column("europe");
    option_type = column("option_type");
    main_sec_id = column("main_sec_id");
}

QVector<int> PortfolioModel::SecuritiesColumns::toVector() const
{
    return {stock_id,       board_id,   sec_id,    sec_name,     expdate,    base_code,
            cur_kotir_real, cur_kotir,  old_kotir, base_isin_id, lasttime,   volat_min,
            volat_max,      price_step, sectype,   europe,       option_type};
}

PortfolioModel::PortfolioModel(Table* table, OptCalcSecurityModel* securityModel, QObject* parent)
    : TableIndexModel(table, parent), m_optCalcDirectory(SecuritiesOptCalcDirectory::instance()),
      m_securityDirectory(&SecurityDirectory::i()),
      m_volatCoeffDirectory(VolatCoeffDirectory::instance()), m_securityModel(securityModel)
{
    // Kept as the design has it; the model is already on its way out when this fires.
    connect(this, SIGNAL(destroyed()), this, SLOT(deleteLater()));
    connect(m_optCalcDirectory, SIGNAL(processUpdate(QList<Record>)), this,
            SLOT(securitiesChanged(QList<Record>)));
    connect(this, SIGNAL(dataChanged(QModelIndex, QModelIndex, QVector<int>)), this,
            SLOT(onModelDataChanged(QModelIndex, QModelIndex, QVector<int>)));
    connect(this, SIGNAL(rowsInserted(QModelIndex, int, int)), this,
            SLOT(onRowsInserted(QModelIndex, int, int)));
    connect(this, SIGNAL(modelReset()), this, SLOT(onModelReset()));

    const Table* positions = terminalTable(QStringLiteral("positions"));
    if (table) {
        m_columns.stock_id = table->columnIndex(QStringLiteral("stock_id"));
        m_columns.board_id = table->columnIndex(QStringLiteral("board_id"));
        m_columns.sec_id = table->columnIndex(QStringLiteral("sec_id"));
        m_columns.sec_name = table->columnIndex(QStringLiteral("sec_name"));
        m_columns.sectype = table->columnIndex(QStringLiteral("sectype"));
        m_columns.pos = table->columnIndex(QStringLiteral("pos"));
        m_columns.expdate = table->columnIndex(QStringLiteral("expdate"));
        if (table == positions) {
            m_columns.account = table->columnIndex(QStringLiteral("account"));
            m_columns.waprice = table->columnIndex(QStringLiteral("waprice"));
        }
    }

    m_securitiesTable = terminalTable(QStringLiteral("securities"));
    addCommonColumns();
    m_securitiesColumns.lookUp(m_securitiesTable);
    // A terminal whose "securities" lacks a column read here must not run the calculator.
    CHECK_COLUMNS_FUNC(m_securitiesColumns.toVector());
    PortfolioColumnDelegates::install(this);
}

PortfolioModel::~PortfolioModel() = default;

void PortfolioModel::addCommonColumns()
{
    // The table's own columns came with the base; the portfolio shows its own choice.
    clearColumns();
    m_modelColumns = ModelColumns();
    m_modelColumns.sec_name = addColumn(m_columns.sec_name);
    m_modelColumns.pos = addColumn(m_columns.pos);
    if (m_columns.waprice >= 0)
        m_modelColumns.waprice = addColumn(m_columns.waprice);
    m_modelColumns.expdate = addColumn(m_columns.expdate);
    m_modelColumns.days_to_exercise =
        addComputedColumn(QStringLiteral("days_to_exercise"), tr("Дней до экспирации"),
                          tr("Количество дней до экспирации инструмента"));
    m_modelColumns.sectype = addColumn(m_columns.sectype);
    m_modelColumns.strike = addComputedColumn(QStringLiteral("strike"), tr("Страйк"),
                                              securitiesDescription(QStringLiteral("strike")));
    m_modelColumns.volat = addComputedColumn(QStringLiteral("volat"), tr("Волатильность, %"),
                                             tr("Вмененная волатильность, %"));
    m_modelColumns.theor_price =
        addComputedColumn(QStringLiteral("theor_price"), tr("Теор. цена"),
                          securitiesDescription(QStringLiteral("theor_price")));
    m_modelColumns.delta = addComputedColumn(QStringLiteral("delta"), tr("Дельта"),
                                             securitiesDescription(QStringLiteral("delta")));
    m_modelColumns.gamma = addComputedColumn(QStringLiteral("gamma"), tr("Гамма"),
                                             securitiesDescription(QStringLiteral("gamma")));
    m_modelColumns.vega = addComputedColumn(QStringLiteral("vega"), tr("Вега"),
                                            securitiesDescription(QStringLiteral("vega")));
    m_modelColumns.theta = addComputedColumn(QStringLiteral("theta"), tr("Тета"),
                                             securitiesDescription(QStringLiteral("theta")));
}

int PortfolioModel::addComputedColumn(const QString& name, const QString& title,
                                      const QString& toolTip)
{
    const int column = addColumnDelegate(nullptr, -1, name, title, toolTip);
    setColumnAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    return column;
}

QString PortfolioModel::securitiesDescription(const QString& column) const
{
    if (column.isEmpty() || !m_securitiesTable)
        return QString();
    for (const ColumnDef& def : m_securitiesTable->columns())
        if (def.name == column)
            return def.description;
    return QString();
}

// --- drag and flags --------------------------------------------------------------------

QString PortfolioModel::mimeType()
{
    return QStringLiteral("application/x-gui-portfolio");
}

QStringList PortfolioModel::mimeTypes() const
{
    return {mimeType()};
}

QMimeData* PortfolioModel::mimeData(const QModelIndexList& indexes) const
{
    QSet<int> rows;
    for (const QModelIndex& index : indexes)
        if (index.isValid() && index.model() == this)
            rows.insert(index.row());
    const MasterIndex* key = table() ? table()->masterIndex() : nullptr;
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    for (int row : qAsConst(rows)) {
        const Record& shown = at(row);
        const Record record = key && !shown.isNull() ? key->findByKey(shown) : Record();
        if (record.isNull())
            continue;
        PositionItem item;
        item.stock_id = record.data(m_columns.stock_id).toInteger();
        item.board_id = record.data(m_columns.board_id).toInteger();
        item.sec_id = record.data(m_columns.sec_id).toInteger64();
        item.sec_name = record.data(m_columns.sec_name).toString();
        item.sectype = record.data(m_columns.sectype).toChar();
        item.pos = record.data(m_columns.pos).toInteger64();
        // The model portfolio has no average price: its rows carry none.
        item.price = record.data(m_columns.waprice).toDecimal();
        const Field expdate = record.data(m_columns.expdate);
        item.expdate = expdate.isNull() ? expiryDate(record) : expdate.toDatetime();
        // A position without an expiry can't be valued where it lands.
        if (item.expdate.isNull())
            continue;
        writePositionItem(out, item);
    }
    auto* mime = new QMimeData;
    mime->setData(mimeType(), bytes);
    return mime;
}

void PortfolioModel::writePositionItem(QDataStream& out, const PositionItem& item)
{
    out << qint32(item.stock_id) << qint32(item.board_id) << qint64(item.sec_id) << item.sec_name
        << item.sectype << qint64(item.pos) << item.price << item.expdate;
}

bool PortfolioModel::readPositionItem(QDataStream& in, PositionItem& item)
{
    qint32 stock = 0, board = 0;
    qint64 secId = 0, pos = 0;
    in >> stock >> board >> secId;
    // QDataStream would size a string by the length it reads; corrupt data must not make
    // it reserve more than the bytes that are there.
    QIODevice* device = in.device();
    uchar length[4];
    if (in.status() != QDataStream::Ok || !device ||
        device->peek(reinterpret_cast<char*>(length), 4) != 4) {
        in.setStatus(QDataStream::ReadPastEnd);
        return false;
    }
    const quint32 bytes = in.byteOrder() == QDataStream::BigEndian
                              ? qFromBigEndian<quint32>(length)
                              : qFromLittleEndian<quint32>(length);
    const quint32 nullString = 0xffffffff;
    if (bytes != nullString && qint64(bytes) > device->bytesAvailable() - 4) {
        in.setStatus(QDataStream::ReadCorruptData);
        return false;
    }
    in >> item.sec_name >> item.sectype >> pos >> item.price >> item.expdate;
    if (in.status() != QDataStream::Ok)
        return false;
    item.stock_id = stock;
    item.board_id = board;
    item.sec_id = secId;
    item.pos = pos;
    return true;
}

Qt::DropActions PortfolioModel::supportedDragActions() const
{
    return Qt::CopyAction | Qt::MoveAction;
}

Qt::ItemFlags PortfolioModel::flags(const QModelIndex& index) const
{
    const Qt::ItemFlags base = TableIndexModel::flags(index);
    return index.isValid() ? base | Qt::ItemIsDragEnabled : base | Qt::ItemIsDropEnabled;
}

// --- rows ------------------------------------------------------------------------------

bool PortfolioModel::filter(const Record& record) const
{
    if (record.data(m_columns.account).asSharedString() != m_account)
        return false;
    const int board = record.data(m_columns.board_id).toInteger();
    if (!isPortfolioBoard(board) || record.data(m_columns.pos).isNull())
        return false;
    if (m_securityDirectory->baseById(1, board, record.data(m_columns.sec_id).toInteger64()) !=
        m_baseCode)
        return false;
    return TableIndexModel::filter(record);
}

QString PortfolioModel::getClassName() const
{
    return QStringLiteral("PortfolioModel");
}

void PortfolioModel::setAccount(const QString& account)
{
    if (account == m_account)
        return;
    m_account = account;
    if (m_accountFilterEnabled)
        rebuild();
}

void PortfolioModel::setBaseCode(const QString& baseCode)
{
    if (baseCode == m_baseCode)
        return;
    m_baseCode = baseCode;
    rebuild();
}

void PortfolioModel::setAccountFilterEnabled(bool enabled)
{
    m_accountFilterEnabled = enabled;
}

bool PortfolioModel::orderDependsOn(int firstColumn, int lastColumn) const
{
    return sortColumn() >= 0 && TableIndexModel::orderDependsOn(firstColumn, lastColumn);
}

bool PortfolioModel::isOwnRow(const Record& row) const
{
    return !row.isNull() && row.table() == table();
}

// --- look-ups --------------------------------------------------------------------------

Record PortfolioModel::findSecurity(int stockId, int boardId, qint64 secId) const
{
    return securityOfEntry(m_optCalcDirectory->find(stockId, secId), stockId, boardId, secId);
}

Record PortfolioModel::securityOfEntry(const OptCalcRecord& entry, int stockId, int boardId,
                                       qint64 secId) const
{
    return entryHolds(entry, boardId) ? entry.record
                                      : m_securityDirectory->recordById(stockId, boardId, secId);
}

bool PortfolioModel::entryHolds(const OptCalcRecord& entry, int boardId) const
{
    // The calculator's directory holds the derivatives by (stock_id, sec_id) in a hash; it
    // is the same row that the terminal's reference finds by its whole key, at a fraction of
    // the cost. Other boards, and a row that has just left the table, go the long way.
    const Record& known = entry.record;
    return !known.isNull() && known.inTable() &&
           known.data(m_securitiesColumns.board_id).toInteger() == boardId;
}

void PortfolioModel::locateSecurity(int stockId, int boardId, qint64 secId,
                                    FoundSecurity& found) const
{
    found.stock = stockId;
    found.market = &m_optCalcDirectory->find(stockId, secId);
    found.ofEntry = entryHolds(*found.market, boardId);
    found.other = found.ofEntry ? Record()
                                : m_securityDirectory->recordById(stockId, boardId, secId);
}

bool PortfolioModel::securityExists(const Record& row) const
{
    if (row.isNull())
        return false;
    return !findSecurity(1, row.data(m_columns.board_id).toInteger(),
                         row.data(m_columns.sec_id).toInteger64())
                .isNull();
}

Field PortfolioModel::sectypeOf(const Record& row) const
{
    return row.data(m_columns.sectype);
}

Record PortfolioModel::securityRecord(const Record& row) const
{
    if (!isOwnRow(row))
        return Record();
    return findSecurity(row.data(QStringLiteral("stock_id")).toInteger(),
                        row.data(m_columns.board_id).toInteger(),
                        row.data(QStringLiteral("sec_id")).toInteger64());
}

OptCalcRecord PortfolioModel::optCalcRecord(const Record& row) const
{
    if (!isOwnRow(row))
        return m_optCalcDirectory->nullSecurity();
    return m_optCalcDirectory->find(row.data(m_columns.stock_id).toInteger(),
                                    row.data(m_columns.sec_id).toInteger64());
}

Record PortfolioModel::baseRecord(const Record& any) const
{
    return baseOf(isOwnRow(any) ? securityRecord(any) : any);
}

Record PortfolioModel::securityOf(const Record& row) const
{
    if (!isOwnRow(row))
        return Record();
    return findSecurity(row.data(m_columns.stock_id).toInteger(),
                        row.data(m_columns.board_id).toInteger(),
                        row.data(m_columns.sec_id).toInteger64());
}

Record PortfolioModel::baseOf(const Record& security) const
{
    if (security.isNull() || security.table() != m_securitiesTable)
        return Record();
    if (security.data(m_securitiesColumns.sectype).toChar() == QLatin1Char('F'))
        return security;
    if (m_securitiesColumns.main_sec_id < 0)
        return Record();
    return findSecurity(1, 1, security.data(m_securitiesColumns.main_sec_id).toInteger64());
}

datetime PortfolioModel::expiryDate(const Record& row) const
{
    const Record security = securityRecord(row);
    if (security.isNull())
        return datetime();
    const Field expdate = security.data(m_securitiesColumns.expdate);
    return expdate.isNull() ? datetime() : expdate.toDatetime();
}

bool PortfolioModel::isRowActive(const Record& row, bool honourFlags) const
{
    if (row.isNull())
        return false;
    const int board = row.data(m_columns.board_id).toInteger();
    if (!isPortfolioBoard(board))
        return false;
    const Record security = findSecurity(1, board, row.data(m_columns.sec_id).toInteger64());
    if (security.isNull())
        return false;
    // Only the model portfolio has the check box; the real one has no such column.
    if (honourFlags && m_columns.flags >= 0 && !(row.data(m_columns.flags).toInteger() & 1))
        return false;
    if (security.data(m_securitiesColumns.base_code).asSharedString() != m_baseCode)
        return false;
    // An expired security stays in the portfolio and drops out of the calculation.
    return m_securityModel && m_securityModel->secondsToExpiry(
                                  security.data(m_securitiesColumns.lasttime).toDatetime(),
                                  security.data(m_securitiesColumns.expdate).toDatetime(), 0) > 0;
}

decimal PortfolioModel::basePrice(const Record& security) const
{
    if (security.isNull() || security.table() != m_securitiesTable)
        return decimal::zero;
    for (int column : {m_securitiesColumns.cur_kotir_real, m_securitiesColumns.cur_kotir,
                       m_securitiesColumns.old_kotir}) {
        const Field price = security.data(column);
        if (!price.isNull())
            return price.toDecimal();
    }
    return decimal::fromDouble(m_plotMiddle, 5);
}

// --- change propagation ----------------------------------------------------------------

bool PortfolioModel::marketColumnSpan(int* left, int* right) const
{
    *left = columnCount() - 1;
    *right = 0;
    for (int column :
         {m_modelColumns.theor_price, m_modelColumns.volat, m_modelColumns.delta,
          m_modelColumns.gamma, m_modelColumns.vega, m_modelColumns.theta, m_modelColumns.bid,
          m_modelColumns.ask, m_modelColumns.price, m_modelColumns.cur_kotir_real}) {
        if (column < 0)
            continue;
        *left = std::min(*left, column);
        *right = std::max(*right, column);
    }
    return *left <= *right;
}

void PortfolioModel::securitiesChanged(const QList<Record>& securitiesList)
{
    if (securitiesList.isEmpty() || count() == 0)
        return;
    RowIntervals changed;
    std::vector<FoundSecurity> found(static_cast<size_t>(count()));
    for (int row = 0; row < count(); ++row) {
        const Record& record = at(row);
        if (!isOwnRow(record))
            continue;
        FoundSecurity& f = found[size_t(row)];
        locateSecurity(record.data(m_columns.stock_id).toInteger(),
                       record.data(m_columns.board_id).toInteger(),
                       record.data(m_columns.sec_id).toInteger64(), f);
        const Record& security = f.security();
        if (security.isNull())
            continue;
        const auto hit = std::lower_bound(securitiesList.begin(), securitiesList.end(), security);
        if (hit != securitiesList.end() && *hit == security) {
            changed.insert(row, row + 1);
            f.row = record.rowBlock();
        }
    }
    int left = 0, right = 0;
    if (changed.isEmpty() || !marketColumnSpan(&left, &right))
        return;
    // Nothing changes the rows' keys or the securities while the notices go out. The
    // look-ups are dropped however the notices end.
    const QScopedValueRollback<const std::vector<FoundSecurity>*> restore(m_found, &found);
    for (int i = 0; i < changed.count(); ++i)
        emit dataChanged(index(changed.first(i), left), index(changed.end(i) - 1, right),
                         QVector<int>());
}

const PortfolioModel::FoundSecurity* PortfolioModel::foundSecurity(int row,
                                                                   const Record& record) const
{
    if (!m_found || row < 0 || size_t(row) >= m_found->size())
        return nullptr;
    const FoundSecurity& f = (*m_found)[size_t(row)];
    return f.row && f.row == record.rowBlock() ? &f : nullptr;
}

void PortfolioModel::emitRowUpdated(int row)
{
    const int rows = count();
    int left = 0, right = 0;
    if (rows == 0 || row < -1 || row >= rows || !marketColumnSpan(&left, &right))
        return;
    const int first = row < 0 ? 0 : row;
    const int last = row < 0 ? rows - 1 : row;
    emit dataChanged(index(first, left), index(last, right), QVector<int>());
}

void PortfolioModel::dataChangedRow(int row, int column)
{
    const QModelIndex cell = index(row, column);
    if (cell.isValid())
        emit dataChanged(cell, cell, QVector<int>());
}

void PortfolioModel::onModelDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                                        const QVector<int>& roles)
{
    Q_UNUSED(topLeft);
    Q_UNUSED(bottomRight);
    Q_UNUSED(roles);
}

void PortfolioModel::onRowsInserted(const QModelIndex& parent, int first, int last)
{
    Q_UNUSED(parent);
    Q_UNUSED(first);
    Q_UNUSED(last);
}

void PortfolioModel::onModelReset() {}
