#include "filterindexmodel.h"

FilterIndexModel::FilterIndexModel(Table* table, QObject* parent) : ItemIndexModel(table, parent) {}

FilterIndexModel::~FilterIndexModel() = default;

bool FilterIndexModel::filter(const Record& record) const
{
    if (record.isNull())
        return false;
    for (auto it = m_columnFilters.constBegin(); it != m_columnFilters.constEnd(); ++it)
        if (record.data(it.key()).compare(it.value()) != 0)
            return false;
    return true;
}

QString FilterIndexModel::getClassName() const
{
    return QStringLiteral("FilterIndexModel");
}

void FilterIndexModel::setColumnFilter(int column, const FieldValue& value)
{
    m_columnFilters.insert(column, value);
}

void FilterIndexModel::removeColumnFilter(int column)
{
    m_columnFilters.remove(column);
}

void FilterIndexModel::clearColumnFilters()
{
    m_columnFilters.clear();
}
