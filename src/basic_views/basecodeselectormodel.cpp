#include "basecodeselectormodel.h"

#include "database/field.h"
#include "database/table.h"

BaseCodeSelectorModel::BaseCodeSelectorModel(QObject* parent)
    : CheckedItemModelByTable(QStringLiteral("securities"), QStringLiteral("base_code"), parent)
{
}

BaseCodeSelectorModel::BaseCodeSelectorModel(Table* securities, QObject* parent)
    : CheckedItemModelByTable(securities, QStringLiteral("base_code"), parent)
{
}

BaseCodeSelectorModel::~BaseCodeSelectorModel() = default;

void BaseCodeSelectorModel::setFilterSectype(const QChar& sectype)
{
    m_sectype = sectype;
}

void BaseCodeSelectorModel::beginPopulate(const Table* table)
{
    m_sectypeColumn = table ? table->columnIndex(QStringLiteral("sectype")) : -1;
}

bool BaseCodeSelectorModel::filter(const Record& record) const
{
    if (m_sectype.isNull())
        return true;
    return m_sectypeColumn >= 0 && record.data(m_sectypeColumn).toChar() == m_sectype;
}
