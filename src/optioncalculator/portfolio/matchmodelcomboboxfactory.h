#pragma once

#include "marketdata/optcalcsecuritymodel.h"

#include "basic_views/comboboxcontainerfactory.h"
#include "database/fieldvalue.h"

#include <QList>
#include <QMap>
#include <QPointer>

class ColumnModelDelegate;
class Record;

// Makes the combo box of an instrument cell of a portfolio table: the distinct values of
// one column of "securities" among the calculator's securities that agree with the row's
// own security in the match columns. So choosing a strike keeps the row's expiry and type,
// and the choice is always a security that exists.
class MatchModelComboBoxFactory : public ComboBoxContainerFactory
{
    Q_OBJECT
public:
    // column and matchColumns are columns of the securities table of model.
    MatchModelComboBoxFactory(OptCalcSecurityModel* model, int column,
                              const QList<int>& matchColumns, QObject* parent = nullptr);
    ~MatchModelComboBoxFactory() override;

    // Null for a cell of no portfolio model or a row whose security is gone.
    QComboBox* createContainer(QWidget* parent, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const override;
    // What an offered security must hold: match column to the row's security's value.
    virtual QMap<int, FieldConstValue> matchValues(const Record& security) const;
    // The delegate that shows the offered column in the list; none by default.
    virtual ColumnModelDelegate* createColumnDelegate() const;

    OptCalcSecurityModel* securityModel() const { return m_model.data(); }
    int offeredColumn() const { return m_column; }
    const QList<int>& matchColumns() const { return m_matchColumns; }

private:
    QPointer<OptCalcSecurityModel> m_model;
    int m_column;
    QList<int> m_matchColumns;
};
