#pragma once

#include "columndef.h"
#include "database_global.h"
#include "field.h"
#include "record.h"
#include "rowmap.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QRecursiveMutex>
#include <QSet>
#include <QVector>

#include <vector>

class Index;
class MasterIndex;

// An in-memory table of fixed-layout rows. It owns its rows, its master index (the key:
// no two rows have equal key columns) and knows its indexes, which it tells of every change.
//
// Changes come in batches between beginUpdate() and endUpdate() (through TableUpdater);
// brackets nest, and the indexes see one batch at the outer end: preprocess, the change
// of the rows, process, endUpdate, then dependentEndUpdate of the dependent indexes.
// A change made outside any bracket is a batch of its own.
class DATABASE_EXPORT Table : public QObject
{
    Q_OBJECT
public:
    Table(const QString& name, const QString& description = QString(), QObject* parent = nullptr);
    ~Table() override;

    // Columns are appended while the table holds no rows; each returns the new column's
    // number, or -1 when it cannot be added (duplicate name, bad type, rows present).
    int addColumn(const QString& name, FieldType::Type type, int length, bool nullable,
                  const QString& title, bool visible = true,
                  const QString& description = QString());
    int addColumn(const QString& name, const FieldDef& def, bool nullable, const QString& title,
                  bool visible = true, const QString& description = QString());
    int addColumn(const TableColumnDef& def);

    // Makes the index the table's key and takes it; rows present move into it.
    void setMasterIndex(MasterIndex* index);
    MasterIndex* masterIndex() const { return m_master; }

    void addIndex(Index* index);
    void removeIndex(Index* index);
    const QList<Index*>& indexes() const { return m_indexes; }
    void addDependentIndex(Index* index);
    void removeDependentIndex(Index* index);

    int columnIndex(const QString& name) const { return m_columnByName.value(name, -1); }
    // The definition of a column; an empty one (type Invalid) for a column that is absent.
    const TableColumnDef& columnDef(int column) const;
    const TableColumnDef& columnDef(const QString& name) const;
    QList<ColumnDef> columns() const;
    QList<TableColumnDef*> fieldDefs() const;
    int columnCount() const { return m_columns.size(); }

    QString name() const { return m_name; }
    QString description() const { return m_description; }
    int rowCount() const;
    // Bytes of a row's column area, the null bytes included.
    int rowSize() const { return m_rowSize; }
    int nullBytesOffset() const { return m_nullOffset; }

    // Removes all rows.
    void clear();
    // Tells the indexes of an in-place change of a row in the columns given.
    void updated(const Record& record, int firstColumn, int lastColumn, int position = -1);

    // Row changes, as RecordsTrans and the undo commands make them. Inside a bracket they
    // join its batch; outside they are a batch of their own.
    // A detached row enters the table; if its key is present, that row takes its values.
    void insertRecord(const Record& record);
    // A row of the table leaves it.
    void removeRecord(const Record& record);
    // A row of the table takes the values of another row of this layout.
    void updateRecord(const Record& record, const Record& values, int firstColumn, int lastColumn);
    // The values a row will have at the end of the open batch.
    Record pendingValues(const Record& record) const;
    // The row with the key of the record given, as the open batch leaves the table: a row
    // waiting to be inserted counts, a row waiting to be removed does not.
    Record findRow(const Record& key) const;

    bool isUpdating() const { return m_updateDepth > 0; }

protected:
    void beginUpdate();
    void endUpdate();
    void lock();
    void unlock();
private:
    friend class Record;
    friend class TableUpdater;
    friend class TableLocker;
    friend class RecordsTrans;

    struct Batch
    {
        QList<Record> removed;
        RowMap removedSet;
        QList<Record> updated;
        // The new values of the updated rows, kept only once an update brings values of
        // its own: until then every row is its own new value.
        QList<Record> replaced;
        bool replacing = false;
        RowMap updatedAt; // position in updated
        QList<Record> inserted;
        RowMap insertedSet;
        int firstColumn = -1;
        int lastColumn = -1;
        bool isEmpty() const
        {
            return removed.isEmpty() && updated.isEmpty() && inserted.isEmpty();
        }
        const Record& valuesAt(int at) const { return replacing ? replaced.at(at) : updated.at(at); }
        void setValues(int at, const Record& values);
        void appendUpdate(const Record& row, const Record& values);
        // Takes the sets' storage of a told batch, so that a tick allocates none of its own.
        void reuseSets(Batch& told);
    };

    // Notes an update in the open batch (or the one being told).
    void noteUpdate(const Record& record, const Record& values, int firstColumn, int lastColumn);
    void widenColumns(Batch& batch, int first, int last);
    void dispatch(Batch& batch);
    void resolveInserts(Batch& batch);
    void applyRows(Batch& batch);
    void removeUpdate(Batch& batch, const Record& record);

    QString m_name;
    QString m_description;
    QVector<TableColumnDef> m_columns;
    std::vector<ColumnSlot> m_slots; // one per column, in column order
    RowLayout m_layout; // what the rows point to
    QHash<QString, int> m_columnByName;
    int m_columnsEnd = 0; // end of the last column's data
    int m_nullOffset = 0;
    int m_rowSize = 0;
    MasterIndex* m_master = nullptr;
    QList<Index*> m_indexes;
    QList<Index*> m_dependents;
    mutable bool m_rowsMade = false; // the layout is fixed once a row exists
    int m_updateDepth = 0;
    bool m_dispatching = false;
    Batch m_batch;
    QRecursiveMutex m_mutex;
};
