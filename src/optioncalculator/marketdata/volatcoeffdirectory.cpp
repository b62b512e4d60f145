#include "volatcoeffdirectory.h"

#include "columncheck.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/masterindexcolumn.h"
#include "database/pricing.h"
#include "database/table.h"

namespace {

SingletonGuard<VolatCoeffDirectory> directory;

const QString tableName = QStringLiteral("tz.volat_coeff");

// Without the table the calculator cannot run: the window that asked fails with the
// message, at the terminal's level.
Table* coefficientsTable()
{
    const ICore* core = ICore::instance();
    TableRegistry* tables = core ? core->tables() : nullptr;
    Table* table = tables && tables->hasTable(tableName) ? tables->table(tableName) : nullptr;
    if (!table)
        throw VolatCoeffDirectory::tr("Таблица tz.volat_coeff отсутствует");
    return table;
}

} // namespace

VolatCoeffDirectory* VolatCoeffDirectory::instance()
{
    return directory.instance();
}

void VolatCoeffDirectory::resetInstance()
{
    directory.reset();
}

VolatCoeffDirectory::VolatCoeffDirectory() : QObject(nullptr), Index(coefficientsTable())
{
    Table* t = table();
    // A dependent index hears of the end of each batch, and of no row.
    t->addDependentIndex(this);

    m_columns.isin_id = t->columnIndex(QStringLiteral("isin_id"));
    m_columns.a = t->columnIndex(QStringLiteral("a"));
    m_columns.b = t->columnIndex(QStringLiteral("b"));
    m_columns.c = t->columnIndex(QStringLiteral("c"));
    m_columns.d = t->columnIndex(QStringLiteral("d"));
    m_columns.e = t->columnIndex(QStringLiteral("e"));
    m_columns.s = t->columnIndex(QStringLiteral("s"));
    CHECK_COLUMNS_FUNC((QVector<int>{m_columns.isin_id, m_columns.a, m_columns.b, m_columns.c,
                                     m_columns.d, m_columns.e, m_columns.s}));

    m_index = std::make_unique<MasterIndex_Column>(t, QVector<int>{m_columns.isin_id});
    t->addIndex(m_index.get());
    m_index->build();
}

// The key and the Index base each detach from the table if it still lives.
VolatCoeffDirectory::~VolatCoeffDirectory() = default;

int VolatCoeffDirectory::position(int isinId) const
{
    Table* t = table();
    if (!t)
        return -1;
    Record key(t);
    key.data(m_columns.isin_id) = isinId;
    const int found = m_index->search(key, -1);
    return found < 0 ? -1 : found;
}

bool VolatCoeffDirectory::hasCoefficients(int isinId) const
{
    return position(isinId) >= 0;
}

bool VolatCoeffDirectory::coefficients(int isinId, VolatInputParams& out) const
{
    const int found = position(isinId);
    if (found < 0)
        return false;
    const Record& row = m_index->at(found);
    out.a = row.data(m_columns.a).toDouble();
    out.b = row.data(m_columns.b).toDouble();
    out.c = row.data(m_columns.c).toDouble();
    out.d = row.data(m_columns.d).toDouble();
    out.e = row.data(m_columns.e).toDouble();
    out.s = row.data(m_columns.s).toDouble();
    return true;
}

void VolatCoeffDirectory::clear() {}

void VolatCoeffDirectory::build() {}

void VolatCoeffDirectory::add(const Record& record)
{
    Q_UNUSED(record);
}

void VolatCoeffDirectory::remove(const Record& record, int position)
{
    Q_UNUSED(record);
    Q_UNUSED(position);
}

bool VolatCoeffDirectory::filter(const Record& record) const
{
    Q_UNUSED(record);
    return true;
}

bool VolatCoeffDirectory::contains(const Record& record) const
{
    Q_UNUSED(record);
    return true;
}

void VolatCoeffDirectory::dependentEndUpdate(Table* table)
{
    // Once the table is gone the pointer is null, and only a null table matches it.
    if (table == this->table())
        emit dataChanged();
}

QString VolatCoeffDirectory::getClassName() const
{
    return QString::fromLatin1(metaObject()->className());
}
