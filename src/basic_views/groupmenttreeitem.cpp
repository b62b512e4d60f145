#include "groupmenttreeitem.h"

GroupmentTreeItem::GroupmentTreeItem(GroupmentTreeItem* parent, const QString& key,
                                     const QString& name, const QVariant& value)
    : m_parent(parent), m_key(key), m_name(name), m_value(value)
{
}

GroupmentTreeItem::~GroupmentTreeItem()
{
    qDeleteAll(m_children);
}
