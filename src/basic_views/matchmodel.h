#pragma once

#include "contact/variantcompare.h"

#include <QAbstractItemModel>
#include <QString>

// A model (Base: an ItemIndexModel) whose match() finds values in a sorted column by a
// search by halves instead of a walk over all rows.
//
// The sorted search serves a match among the siblings of start, in start's column, for the
// role whose values the rows are sorted by, with MatchExactly, MatchStartsWith or
// MatchFixedString (the last two only on texts, and only with the case sensitivity of the
// order); anything else goes to the base's walk. Both give the same rows in the same order.
// A subclass with an order of its own tells it through the hooks.
template <class Base> class MatchModel : public Base
{
public:
    using Base::Base;

    QModelIndexList match(const QModelIndex& start, int role, const QVariant& value, int hits = 1,
                          Qt::MatchFlags flags = Qt::MatchFlags(Qt::MatchStartsWith |
                                                                Qt::MatchWrap)) const override
    {
        if (!start.isValid() || start.model() != this || hits == 0)
            return Base::match(start, role, value, hits, flags);
        const QModelIndex parent = start.parent();
        const int column = start.column();
        const int type = int(flags & 0x0F);
        const bool text = type == Qt::MatchStartsWith || type == Qt::MatchFixedString;
        const Qt::CaseSensitivity cs =
            flags.testFlag(Qt::MatchCaseSensitive) ? Qt::CaseSensitive : Qt::CaseInsensitive;
        const Qt::CaseSensitivity orderCs = sortCaseSensitivity(column, role, parent);
        if ((type != Qt::MatchExactly && !text) || flags.testFlag(Qt::MatchRecursive) ||
            !isSortedOn(column, role, parent) || (text && cs != orderCs) ||
            (text && !holdsTexts(start, role)))
            return Base::match(start, role, value, hits, flags);
        return sortedMatch(start, role, value, hits, type, flags.testFlag(Qt::MatchWrap), orderCs);
    }

    // The case sensitivity of the order of a column's values for a role.
    virtual Qt::CaseSensitivity sortCaseSensitivity(int column, int role,
                                                    const QModelIndex& parent) const
    {
        Q_UNUSED(column);
        Q_UNUSED(role);
        Q_UNUSED(parent);
        return Qt::CaseSensitive;
    }

protected:
    // Whether the rows under parent stand in the order of their values in column for role.
    virtual bool isSortedOn(int column, int role, const QModelIndex& parent) const
    {
        Q_UNUSED(parent);
        return column >= 0 && column == this->sortColumn() && role == this->sortRole();
    }
    // The direction of that order.
    virtual Qt::SortOrder sortOrderOf(const QModelIndex& parent) const
    {
        Q_UNUSED(parent);
        return this->sortOrder();
    }

    // Whether the values of start's column are texts, whose order a text match follows.
    // Nulls stand at one end of the order: the two ends and start tell.
    bool holdsTexts(const QModelIndex& start, int role) const
    {
        const int last = this->rowCount(start.parent()) - 1;
        for (const QModelIndex& probe :
             {start, start.sibling(0, start.column()), start.sibling(last, start.column())}) {
            const QVariant v = this->data(probe, role);
            if (v.isValid())
                return v.userType() == QMetaType::QString;
        }
        return true;
    }

    // How a row's value stands to the value searched, in the direction of the order: less
    // than zero before it, zero at it, greater than zero after it. A text match compares
    // texts, MatchStartsWith the row's text cut to the length of the searched one.
    int compareInOrder(const QVariant& rowValue, const QVariant& value, int type,
                       Qt::CaseSensitivity cs, bool descending) const
    {
        int c = 0;
        if (type == Qt::MatchExactly) {
            c = variant_compare(rowValue, value, cs);
        } else {
            const QString searched = value.toString();
            QString rowText = rowValue.toString();
            if (type == Qt::MatchStartsWith)
                rowText.truncate(searched.size());
            c = QString::compare(rowText, searched, cs);
        }
        c = c < 0 ? -1 : (c > 0 ? 1 : 0);
        return descending ? -c : c;
    }

    // The test of the base's walk for a row's value: the same case for an exact match, the
    // texts of a text match compared as the walk compares them (a null text starts with
    // nothing, not even an empty text).
    static bool accepts(const QVariant& rowValue, const QVariant& value, int type,
                        Qt::CaseSensitivity cs)
    {
        switch (type) {
        case Qt::MatchExactly:
            return variant_compare(rowValue, value, Qt::CaseSensitive) == 0;
        case Qt::MatchStartsWith:
            return rowValue.toString().startsWith(value.toString(), cs);
        default:
            return QString::compare(rowValue.toString(), value.toString(), cs) == 0;
        }
    }

    // The first row in [from, to) under parent that does not stand before value; to if none.
    int lowerBound(const QModelIndex& parent, int column, int role, const QVariant& value, int type,
                   int from, int to, Qt::CaseSensitivity cs, bool descending) const
    {
        while (from < to) {
            const int mid = from + (to - from) / 2;
            const QVariant v = this->data(this->index(mid, column, parent), role);
            if (compareInOrder(v, value, type, cs, descending) < 0)
                from = mid + 1;
            else
                to = mid;
        }
        return from;
    }

    QModelIndexList sortedMatch(const QModelIndex& start, int role, const QVariant& value, int hits,
                                int type, bool wrap, Qt::CaseSensitivity orderCs) const
    {
        const QModelIndex parent = start.parent();
        const int column = start.column();
        const bool descending = sortOrderOf(parent) == Qt::DescendingOrder;
        const int rows = this->rowCount(parent);
        QModelIndexList result;
        int from = start.row(), to = rows;
        for (int pass = 0; pass < (wrap ? 2 : 1); ++pass) {
            if (pass == 1) {
                to = start.row();
                from = 0;
            }
            for (int row =
                     lowerBound(parent, column, role, value, type, from, to, orderCs, descending);
                 row < to; ++row) {
                const QModelIndex index = this->index(row, column, parent);
                const QVariant v = this->data(index, role);
                if (compareInOrder(v, value, type, orderCs, descending) != 0)
                    break;
                // Equal in the order's sense; whether it matches is the walk's test.
                if (!accepts(v, value, type, orderCs))
                    continue;
                result.append(index);
                if (hits > 0 && result.size() >= hits)
                    return result;
            }
        }
        return result;
    }
};
