#pragma once

#include "basic_views_global.h"
#include "tablefastview.h"

#include <QPointer>

class QTableFastView;

// One fixed row under the cells of a table, such as its totals: it lies in the table's
// footer, and its columns follow the table's: widths, order, hidden columns and the
// horizontal scrolling. Its model is its own (a one-row model with the table's columns);
// it shows the model's first row.
class BASIC_VIEWS_EXPORT FrozenRowView : public TableFastView
{
    Q_OBJECT
public:
    // Becomes the table's footer.
    explicit FrozenRowView(QTableFastView* table);
    ~FrozenRowView() override;

    QTableFastView* table() const { return m_table; }

    void setModel(QAbstractItemModel* model) override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    // Takes the table's columns over: order, hidden, widths, scrolling.
    void syncColumns();

protected:
    void wheelEvent(QWheelEvent* event) override;

private:
    void followTableModel();

    QPointer<QTableFastView> m_table;
    QPointer<QAbstractItemModel> m_followed;
    QList<QMetaObject::Connection> m_modelConnections;
    QList<QMetaObject::Connection> m_tableModelConnections;
};
