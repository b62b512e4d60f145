#pragma once

#include "basic_views_global.h"
#include "viewwrapper.h"

class QTableView;

// The wrapper of a table view: an export writes what the view shows, its shown columns in
// the order of the header and its shown rows.
class BASIC_VIEWS_EXPORT ViewWrapperTable : public ViewWrapper
{
    Q_OBJECT
public:
    explicit ViewWrapperTable(QTableView* view);
    ~ViewWrapperTable() override;

    QTableView* tableView() const;

    // Every column of the model, in the model's order.
    static QList<int> columnsAllTable(const QAbstractItemModel* model);

public slots:
    QList<int> columnsAll() const override;
    QList<int> columnsExport() const override;
    QList<int> rowsExport() const override;
};
