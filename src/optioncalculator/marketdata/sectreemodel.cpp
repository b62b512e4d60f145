#include "sectreemodel.h"

#include "optcalcsecuritymodel.h"

#include "contact/objectdeleter.h"
#include "database/table.h"

SecTreeModel::SecTreeModel(OptCalcSecurityModel* source, int column, QObject* parent)
    : TreeMatchModel<TreeIndexFastModel>(source ? source->table() : nullptr, parent),
      m_source(source), m_column(column), m_groupment(source ? source->table() : nullptr, column)
{
    // The source hands on the batches that concern it; the table's own would come twice.
    if (Table* t = table())
        t->removeIndex(this);
    if (source) {
        source->addDependentIndex(this);
        if (auto* deleter = qobject_cast<ObjectDeleter*>(source->QObject::parent()))
            deleter->addParent(this);
    }
    setGroupmentList({&m_groupment});
    setSort(column, Qt::AscendingOrder);
}

SecTreeModel::~SecTreeModel()
{
    // The source outlives this call: its deleter waits for this object's destroyed().
    if (m_source)
        m_source->removeDependentIndex(this);
}

void SecTreeModel::setFieldFilter(const QMap<int, FieldConstValue>& fieldFilter)
{
    m_fieldFilter = fieldFilter;
}

QVariant SecTreeModel::data(const QModelIndex& index, int role) const
{
    if (role == Qt::UserRole)
        return QVariant::fromValue(recordByIndex(index));
    return TreeMatchModel<TreeIndexFastModel>::data(index, role);
}

bool SecTreeModel::filter(const Record& record) const
{
    if (!m_source || !m_source->filter(record))
        return false;
    for (auto it = m_fieldFilter.cbegin(); it != m_fieldFilter.cend(); ++it)
        if (record.data(it.key()).compare(it.value()) != 0)
            return false;
    return true;
}

QString SecTreeModel::getClassName() const
{
    return QStringLiteral("SecTreeModel");
}

bool SecTreeModel::isSortedOn(int column, int role, const QModelIndex& parent) const
{
    // Role 256 gives the securities, which do not stand in the order of the values; the
    // edit role gives the values themselves, in the column shown as in column 0.
    if (role == Qt::UserRole)
        return false;
    if (role == Qt::EditRole && column != 0)
        return TreeMatchModel<TreeIndexFastModel>::isSortedOn(column, Qt::UserRole, parent);
    return TreeMatchModel<TreeIndexFastModel>::isSortedOn(column, role, parent);
}
