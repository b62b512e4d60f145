#pragma once

#include "groupment.h"
#include "matchmodel.h"

// A MatchModel over a TreeIndexModel (Base). Records under a group are in the model's sort
// order. The top level of a grouped tree is in the order of the groups' values, which
// column 0 gives for Qt::UserRole and Qt::EditRole, and the model column of the
// groupment's key column for Qt::UserRole; the direction is the model's sort order.
template <class Base> class TreeMatchModel : public MatchModel<Base>
{
public:
    using MatchModel<Base>::MatchModel;

protected:
    bool isSortedOn(int column, int role, const QModelIndex& parent) const override
    {
        const Groupment* groupment = this->groupment();
        if (!groupment || parent.isValid())
            return MatchModel<Base>::isSortedOn(column, role, parent);
        if (column == 0)
            return role == Qt::UserRole || role == Qt::EditRole;
        return role == Qt::UserRole && groupment->keyColumn() >= 0 &&
               this->columnField(column) == groupment->keyColumn() && !this->columnDelegate(column);
    }
};
