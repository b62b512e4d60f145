#pragma once

#include "matchmodelcomboboxfactory.h"

// A MatchModelComboBoxFactory whose list shows the offered column through the column
// delegate T: prices with their decimals, dates as dates, option types by name.
template <class T> class MatchModelComboBoxDelegateFactory : public MatchModelComboBoxFactory
{
public:
    using MatchModelComboBoxFactory::MatchModelComboBoxFactory;

    ColumnModelDelegate* createColumnDelegate() const override { return new T; }
};
