#pragma once

#include "basic_views_global.h"

#include "database/fieldtype.h"
#include "database/record.h"

#include <QAbstractItemModel>
#include <QPointer>
#include <QVector>

class ColumnModelDelegate;
class Field;
class Table;

// An item model whose rows are records of a table and whose columns are table columns or
// columns of a ColumnModelDelegate. It knows the columns: their headers, alignment and
// the value of a record's cell for each role; the subclasses know the rows.
//
// Cells of plain table columns answer:
//   Qt::DisplayRole      the text: decimals at their scale, dates as dd.MM.yyyy (with the
//                        time when it is not midnight), nothing for a null cell;
//   Qt::EditRole,
//   Qt::UserRole (256)   the field's own value: int, qlonglong, double, decimal, datetime
//                        or QString; an invalid QVariant for a null cell;
//   Qt::TextAlignmentRole  the column's alignment: numbers right, the rest left, unless
//                        set otherwise.
// Headers give the column's title (its name when it has none), its description as the
// tool tip, and its name for Qt::UserRole.
class BASIC_VIEWS_EXPORT ItemModelWithDelegates : public QAbstractItemModel
{
    Q_OBJECT
public:
    explicit ItemModelWithDelegates(QObject* parent = nullptr);
    ~ItemModelWithDelegates() override;

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // The record shown at an index; a null Record for none.
    virtual Record recordByIndex(const QModelIndex& index) const;

    // Appends a model column that shows a table column; returns its number, or -1 for a
    // column the table lacks.
    int addColumn(int field);
    int addColumn(const QString& fieldName);
    // Appends a model column served by the delegate, over the table column field (or none,
    // -1). The header is the title and tool tip given, or else those of the table column.
    // The model becomes the parent of a delegate that has none.
    int addColumnDelegate(ColumnModelDelegate* delegate, int field = -1,
                          const QString& name = QString(), const QString& title = QString(),
                          const QString& toolTip = QString());
    // Puts a delegate on an existing model column (null removes it).
    void setColumnDelegate(int column, ColumnModelDelegate* delegate);
    ColumnModelDelegate* columnDelegate(int column) const;
    // Removes all model columns.
    void clearColumns();
    void setColumnAlignment(int column, Qt::Alignment alignment);
    Qt::Alignment columnAlignment(int column) const;
    // The model column of the name given (a table column's name, or the name a delegate
    // column was added with); -1 if none.
    int fieldIndex(const QString& name) const;
    // The table column a model column shows; -1 for none.
    int columnField(int column) const;
    QString columnName(int column) const;

    // The text a cell shows by default; empty for a null cell.
    static QString displayText(const Field& field);
    // The value of a record's cell in a model column for a role.
    QVariant recordData(const Record& record, int column, int role) const;

protected:
    // The table whose column definitions the columns take.
    void setColumnsTable(Table* table);
    Table* columnsTable() const;
    // The span of model columns whose values a change of the table columns
    // firstField..lastField can change: those showing one of them, and every delegate
    // column. False if there is none.
    bool changedColumnSpan(int firstField, int lastField, int* left, int* right) const;
    // Tells the views that the cells of a column changed; a model with rows below the top
    // level extends it to them.
    virtual void emitColumnChanged(int column, const QVector<int>& roles);

private:
    struct Column
    {
        int field = -1;
        QPointer<ColumnModelDelegate> delegate;
        QString name;
        QString title;
        QString toolTip;
        FieldType::Type type = FieldType::Invalid;
        bool hiddenByDefault = false;
        Qt::Alignment alignment;
        bool alignmentSet = false;
    };
    int appendColumn(const Column& column);
    Qt::Alignment defaultAlignment(const Column& column) const;
    void adopt(ColumnModelDelegate* delegate);

    QVector<Column> m_columns;
    QPointer<Table> m_columnsTable;
};
