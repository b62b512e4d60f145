#include "tableregistry.h"

#include "database/table.h"

TableRegistry::TableRegistry(QObject* parent) : QObject(parent) {}

TableRegistry::~TableRegistry() = default;

QStringList TableRegistry::names() const
{
    QStringList result;
    for (auto it = m_tables.cbegin(); it != m_tables.cend(); ++it) {
        if (it.value())
            result.append(it.key());
    }
    return result;
}

int TableRegistry::count() const
{
    return names().size();
}

Table* TableRegistry::table(const QString& name) const
{
    return m_tables.value(name);
}

bool TableRegistry::hasTable(const QString& name) const
{
    return table(name) != nullptr;
}

bool TableRegistry::registerTable(const QString& name, Table* table)
{
    if (name.isEmpty() || !table)
        return false;
    Table* present = this->table(name);
    if (present && present != table) {
        qWarning("TableRegistry: the name \"%s\" is taken by another table", qPrintable(name));
        return false;
    }
    m_tables.insert(name, table);
    return true;
}

bool TableRegistry::unregisterTable(const QString& name)
{
    return m_tables.remove(name) > 0;
}
