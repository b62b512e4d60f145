#include "optcalcsecuritymodel.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "connections_model/connectionsmanager.h"
#include "contact/objectdeleter.h"
#include "database/exchangeconventions.h"
#include "database/table.h"

namespace {


Table* securitiesTable()
{
    const ICore* core = ICore::instance();
    return core ? core->tables()->table(QStringLiteral("securities")) : nullptr;
}

} // namespace

OptCalcSecurityModel::OptCalcSecurityModel(const QString& baseCode, QObject* parent)
    : IndexDepend<TableIndexModel>(securitiesTable(), parent), m_baseCode(baseCode),
      m_connections(ConnectionsManager::instance()),
      m_transportIndex(m_connections->index(Exchange::transportName()))
{
    if (const Table* t = table()) {
        m_columns.stockId = t->columnIndex(QStringLiteral("stock_id"));
        m_columns.boardId = t->columnIndex(QStringLiteral("board_id"));
        m_columns.secId = t->columnIndex(QStringLiteral("sec_id"));
        m_columns.sectype = t->columnIndex(QStringLiteral("sectype"));
        m_columns.expdate = t->columnIndex(QStringLiteral("expdate"));
        m_columns.baseCode = t->columnIndex(QStringLiteral("base_code"));
        m_columns.lasttime = t->columnIndex(QStringLiteral("lasttime"));
        m_columns.secName = t->columnIndex(QStringLiteral("sec_name"));
        m_columns.optionType = t->columnIndex(QStringLiteral("option_type"));
        m_columns.strike = t->columnIndex(QStringLiteral("strike"));
    }
}

OptCalcSecurityModel::~OptCalcSecurityModel() = default;

OptCalcSecurityModel* OptCalcSecurityModel::createSecurityModel(const QString& baseCode,
                                                                QObject* owner)
{
    auto* deleter = new ObjectDeleter;
    deleter->addParent(owner);
    return new OptCalcSecurityModel(baseCode, deleter);
}

long long OptCalcSecurityModel::secondsToExpiry(const datetime& lastTime, const datetime& expDate,
                                                long long offset) const
{
    return expiryClock().secondsToExpiry(lastTime, expDate, offset);
}

ExpiryClock OptCalcSecurityModel::expiryClock() const
{
    ExpiryClock clock;
    clock.now = m_useFixedNow ? m_fixedNow : datetime::now();
    clock.serverTime = m_connections->transportTime(m_transportIndex);
    clock.connected = m_connections->transportStatus(m_transportIndex) == ITransport::Connected;
    return clock;
}

void OptCalcSecurityModel::setFixedNow(const datetime& now)
{
    m_fixedNow = now;
}

void OptCalcSecurityModel::setUseFixedNow(bool use)
{
    m_useFixedNow = use;
}

bool OptCalcSecurityModel::filter(const Record& record) const
{
    if (record.data(m_columns.stockId).toInteger() != 1)
        return false;
    const int board = record.data(m_columns.boardId).toInteger();
    if (board != 1 && board != 14)
        return false;
    if (record.data(m_columns.baseCode).asSharedString() != m_baseCode)
        return false;
    if (secondsToExpiry(record.data(m_columns.lasttime).toDatetime(),
                        record.data(m_columns.expdate).toDatetime(), 0) < 1)
        return false;
    return IndexDepend<TableIndexModel>::filter(record);
}

void OptCalcSecurityModel::preprocess(const QList<Record>& removed, const QList<Record>& updated,
                                      int firstColumn, int lastColumn,
                                      const QList<Record>& inserted, const QList<Record>& replaced)
{
    if (removed.isEmpty() && inserted.isEmpty())
        return;
    IndexDepend<TableIndexModel>::preprocess(removed, updated, firstColumn, lastColumn, inserted,
                                             replaced);
}

void OptCalcSecurityModel::process(const QList<Record>& removed, const QList<Record>& updated,
                                   int firstColumn, int lastColumn, const QList<Record>& inserted)
{
    if (removed.isEmpty() && inserted.isEmpty())
        return;
    IndexDepend<TableIndexModel>::process(removed, updated, firstColumn, lastColumn, inserted);
}
