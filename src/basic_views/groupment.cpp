#include "groupment.h"

#include "groupmenttreeitem.h"
#include "contact/variantcompare.h"

#include "database/table.h"

Groupment::Groupment(Table* table) : m_table(table) {}

Groupment::~Groupment() = default;

QString Groupment::groupKey(const Record& record) const
{
    Q_UNUSED(record);
    return QString();
}

QString Groupment::groupName(const Record& record) const
{
    return groupKey(record);
}

GroupmentTreeItem* Groupment::createGroup(GroupmentTreeItem* parent, const QString& key,
                                          const Record& record) const
{
    return new GroupmentTreeItem(parent, key, groupName(record), groupValue(record));
}

QVariant Groupment::groupValue(const Record& record) const
{
    return groupKey(record);
}

int Groupment::compareGroups(const GroupmentTreeItem* left, const GroupmentTreeItem* right) const
{
    const int c = variant_compare(left->value(), right->value(), Qt::CaseSensitive);
    if (c != 0)
        return c;
    const int k = QString::compare(left->key(), right->key(), Qt::CaseSensitive);
    return k < 0 ? -1 : (k > 0 ? 1 : 0);
}
