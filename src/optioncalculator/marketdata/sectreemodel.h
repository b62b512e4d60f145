#pragma once

#include "basic_views/groupmentrecordcolumns.h"
#include "basic_views/treeindexfastmodel.h"
#include "basic_views/treematchmodel.h"
#include "database/fieldvalue.h"

#include <QMap>
#include <QPointer>

class OptCalcSecurityModel;

// The distinct values of one column among the securities of an OptCalcSecurityModel,
// narrowed to those that hold the required values in other columns: what a cell's combo box
// offers, one row per value in ascending order. For role 256 a row gives a security that
// holds its value.
//
// The tree follows the table through its source, so it changes only with the source's set
// of rows. It keeps the source alive as one more owner of the source's ObjectDeleter.
class SecTreeModel : public TreeMatchModel<TreeIndexFastModel>
{
    Q_OBJECT
public:
    SecTreeModel(OptCalcSecurityModel* source, int column, QObject* parent = nullptr);
    ~SecTreeModel() override;

    // Table column to the value a security must hold there; the caller then calls build().
    void setFieldFilter(const QMap<int, FieldConstValue>& fieldFilter);
    const QMap<int, FieldConstValue>& fieldFilter() const { return m_fieldFilter; }
    OptCalcSecurityModel* source() const { return m_source.data(); }
    int column() const { return m_column; }

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool filter(const Record& record) const override;
    QString getClassName() const override;

protected:
    bool isSortedOn(int column, int role, const QModelIndex& parent) const override;

private:
    QPointer<OptCalcSecurityModel> m_source;
    int m_column;
    QMap<int, FieldConstValue> m_fieldFilter;
    GroupmentRecordColumns m_groupment;
};
