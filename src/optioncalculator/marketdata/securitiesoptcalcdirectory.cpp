#include "securitiesoptcalcdirectory.h"

#include "columncheck.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/masterindex.h"
#include "database/table.h"
#include "database/tablelocker.h"

#include <QSignalBlocker>

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

SecuritiesOptCalcDirectory::SecuritiesOptCalcDirectory() : QObject(nullptr), Index(securitiesTable())
{
    m_nullSecurity.columns = &unsetColumns;
    Table* t = table();
    if (t) {
        t->addIndex(this);
        // The rows cannot be read once their table is gone; the Index base forgets the
        // table by itself.
        connect(t, &QObject::destroyed, this, [this] { m_entries.clear(); });
    }
    m_columns.lookUp(t);
    CHECK_COLUMNS_FUNC(m_columns.toVector());
    build();
}

// The Index base detaches from the table if it still lives.
SecuritiesOptCalcDirectory::~SecuritiesOptCalcDirectory() = default;

const OptCalcSecurity& SecuritiesOptCalcDirectory::find(int stockId, long long secId) const
{
    const auto it = lowerBound(stockId, secId);
    if (it == m_entries.end() || !it->hasKey(stockId, secId))
        return m_nullSecurity;
    return it->security;
}

std::vector<SecuritiesOptCalcDirectory::Entry>::iterator
SecuritiesOptCalcDirectory::lowerBound(int stockId, qint64 secId)
{
    return std::lower_bound(m_entries.begin(), m_entries.end(), Key{stockId, secId});
}

std::vector<SecuritiesOptCalcDirectory::Entry>::const_iterator
SecuritiesOptCalcDirectory::lowerBound(int stockId, qint64 secId) const
{
    return std::lower_bound(m_entries.begin(), m_entries.end(), Key{stockId, secId});
}

SecuritiesOptCalcDirectory::Entry SecuritiesOptCalcDirectory::entryOf(const Record& record) const
{
    return Entry{record.data(m_columns.sec_id).toInteger64(),
                 record.data(m_columns.stock_id).toInteger(),
                 {record, &m_columns}};
}

void SecuritiesOptCalcDirectory::clear()
{
    std::vector<Entry>().swap(m_entries);
}

void SecuritiesOptCalcDirectory::build()
{
    Table* t = table();
    if (!t || !t->masterIndex())
        return;
    TableLocker locker(t);
    // A first fill of the whole market tells nobody.
    const QSignalBlocker blocker(this);

    // The same as add() of each row, with one sort instead of an insertion per row. Rows
    // already held go first, so that among equal keys the row walked last stays, as add()
    // would leave it.
    std::vector<Entry> entries = std::move(m_entries);
    entries.reserve(entries.size() + size_t(t->rowCount()));
    for (const Record& r : t->masterIndex()->records())
        if (filter(r))
            entries.push_back(entryOf(r));
    std::stable_sort(entries.begin(), entries.end());
    m_entries.clear();
    m_entries.reserve(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        const bool replacedByNext = i + 1 < entries.size() && !(entries[i] < entries[i + 1]);
        if (!replacedByNext)
            m_entries.push_back(std::move(entries[i]));
    }
}

void SecuritiesOptCalcDirectory::add(const Record& record)
{
    Entry entry = entryOf(record);
    const int stockId = entry.stockId;
    const qint64 secId = entry.secId;
    const auto it = lowerBound(stockId, secId);
    if (it != m_entries.end() && it->hasKey(stockId, secId))
        it->security = std::move(entry.security);
    else
        m_entries.insert(it, std::move(entry));
    emit rowsInserted(stockId, secId);
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
    const Entry key = entryOf(record);
    const auto it = lowerBound(key.stockId, key.secId);
    if (it == m_entries.end() || !it->hasKey(key.stockId, key.secId))
        return;
    m_entries.erase(it);
    emit rowsRemoved(key.stockId, key.secId);
}

bool SecuritiesOptCalcDirectory::filter(const Record& record) const
{
    if (record.data(m_columns.stock_id).toInteger() != 1)
        return false;
    const int board = record.data(m_columns.board_id).toInteger();
    return board == 1 || board == 14;
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
