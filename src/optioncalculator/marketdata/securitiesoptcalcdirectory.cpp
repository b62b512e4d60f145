#include "securitiesoptcalcdirectory.h"

#include "columncheck.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/exchangeconventions.h"
#include "database/masterindex.h"
#include "database/table.h"
#include "database/tablelocker.h"

#include <algorithm>

namespace {

SingletonGuard<SecuritiesOptCalcDirectory> directory;

// What the null security points to: every column unset.
const OptCalcColumns unsetColumns;

Table* securitiesTable()
{
    const ICore* core = ICore::instance();
    return core ? core->tables()->table(QStringLiteral("securities")) : nullptr;
}

} // namespace

SecuritiesOptCalcDirectory* SecuritiesOptCalcDirectory::instance()
{
    return directory.instance();
}

void SecuritiesOptCalcDirectory::resetInstance()
{
    directory.reset();
}

SecuritiesOptCalcDirectory::SecuritiesOptCalcDirectory()
    : QObject(nullptr), Index(securitiesTable())
{
    // Queued listeners receive the lists of processUpdate.
    qRegisterMetaType<QList<Record>>("QList<Record>");
    m_nullSecurity.columns = &unsetColumns;
    Table* t = table();
    if (t) {
        t->addIndex(this);
        // The rows cannot be read once their table is gone; the Index base forgets the
        // table by itself.
        connect(t, &QObject::destroyed, this, [this] { clear(); });
    }
    m_columns.lookUp(t);
    CHECK_COLUMNS_FUNC(m_columns.toVector());
    build();
}

// The Index base detaches from the table if it still lives.
SecuritiesOptCalcDirectory::~SecuritiesOptCalcDirectory() = default;

const OptCalcSecurity& SecuritiesOptCalcDirectory::find(int stockId, long long secId) const
{
    const auto it = m_securities.constFind(Key{stockId, secId});
    return it == m_securities.cend() ? m_nullSecurity : *it;
}

const OptCalcSecurity& SecuritiesOptCalcDirectory::at(int i) const
{
    return *m_securities.constFind(m_keys.at(size_t(i)));
}

SecuritiesOptCalcDirectory::Key SecuritiesOptCalcDirectory::keyOf(const Record& record) const
{
    return Key{record.data(m_columns.stock_id).toInteger(),
               record.data(m_columns.sec_id).toInteger64()};
}

void SecuritiesOptCalcDirectory::clear()
{
    std::vector<Key>().swap(m_keys);
    m_securities = QHash<Key, OptCalcSecurity>();
}

void SecuritiesOptCalcDirectory::build()
{
    Table* t = table();
    if (!t || !t->masterIndex())
        return;
    TableLocker locker(t);
    // The same as add() of each row, with one sort of the keys at the end instead of an
    // insertion into their order per row, and without a signal: a first fill of the whole
    // market tells nobody.
    m_securities.reserve(m_securities.size() + t->rowCount());
    for (const Record& r : t->masterIndex()->records())
        if (filter(r))
            m_securities.insert(keyOf(r), OptCalcSecurity{r, &m_columns});
    m_keys.clear();
    m_keys.reserve(size_t(m_securities.size()));
    for (auto it = m_securities.cbegin(); it != m_securities.cend(); ++it)
        m_keys.push_back(it.key());
    std::sort(m_keys.begin(), m_keys.end());
}

void SecuritiesOptCalcDirectory::add(const Record& record)
{
    const Key key = keyOf(record);
    const auto it = m_securities.find(key);
    if (it != m_securities.end()) {
        it->record = record;
    } else {
        m_securities.insert(key, OptCalcSecurity{record, &m_columns});
        m_keys.insert(std::lower_bound(m_keys.begin(), m_keys.end(), key), key);
    }
    emit rowsInserted(key.stockId, key.secId);
}

void SecuritiesOptCalcDirectory::process(const QList<Record>& removed, const QList<Record>& updated,
                                         int firstColumn, int lastColumn,
                                         const QList<Record>& inserted)
{
    Q_UNUSED(firstColumn);
    Q_UNUSED(lastColumn);
    for (const Record& r : removed)
        remove(r, -1);

    QList<Record> changed;
    for (const Record& r : updated)
        if (filter(r))
            changed.append(r);
    if (!changed.isEmpty()) {
        std::sort(changed.begin(), changed.end());
        emit processUpdate(changed);
    }

    for (const Record& r : inserted)
        if (filter(r))
            add(r);
}

void SecuritiesOptCalcDirectory::remove(const Record& record, int position)
{
    Q_UNUSED(position);
    const Key key = keyOf(record);
    if (m_securities.remove(key) == 0)
        return;
    m_keys.erase(std::lower_bound(m_keys.begin(), m_keys.end(), key));
    emit rowsRemoved(key.stockId, key.secId);
}

bool SecuritiesOptCalcDirectory::filter(const Record& record) const
{
    if (record.data(m_columns.stock_id).toInteger() != Exchange::DerivativesMarket)
        return false;
    return Exchange::isDerivativesBoard(record.data(m_columns.board_id).toInteger());
}

bool SecuritiesOptCalcDirectory::contains(const Record& record) const
{
    Q_UNUSED(record);
    return true;
}

void SecuritiesOptCalcDirectory::update(const Record& record, int firstColumn, int lastColumn,
                                        int position)
{
    // Single rows are not followed: the models learn of changes by batch.
    Q_UNUSED(record);
    Q_UNUSED(firstColumn);
    Q_UNUSED(lastColumn);
    Q_UNUSED(position);
}

QString SecuritiesOptCalcDirectory::getClassName() const
{
    return QStringLiteral("SecuritiesOptCalcDirectory");
}
