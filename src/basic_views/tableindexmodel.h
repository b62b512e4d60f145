#pragma once

#include "filterindexmodel.h"

#include "database/indexiterative.h"

#include <vector>

// A flat model of the records of a table that pass filter(), in the order of compare().
//
// A batch of the table becomes, in this order: row removals (one per contiguous block of
// rows), moves of the rows whose place in the order changed (a layout change instead when
// many did), row insertions (one per contiguous block) and one dataChanged per contiguous
// block of rows that changed in place, spanning the model columns the changed table
// columns touch.
class BASIC_VIEWS_EXPORT TableIndexModel : public FilterIndexModel, public IndexIterative
{
    Q_OBJECT
public:
    explicit TableIndexModel(Table* table, QObject* parent = nullptr);
    ~TableIndexModel() override;

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    using QObject::parent;
    QModelIndex sibling(int row, int column, const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Record recordByIndex(const QModelIndex& index) const override;

    void clear(bool notifyDependents) override;
    using Index::clear;
    void build(bool notifyDependents) override;
    using Index::build;
    void add(const Record& record) override;
    void preprocess(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                    int lastColumn, const QList<Record>& inserted,
                    const QList<Record>& replaced) override;
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted) override;
    void remove(const Record& record, int position) override;
    // Whether the record stands at its place in the order.
    bool contains(const Record& record) const override;
    void update(const Record& record, int firstColumn, int lastColumn, int position) override;
    int indexOf(const Record& record) const override;
    void endUpdate() override;
    QString getClassName() const override;

    void resort() override;

    // The record of a row; a null Record for a row that does not exist.
    const Record& at(int row) const;
    int count() const { return m_records.count(); }

    // More rows than this changing their place in one batch make a layout change rather
    // than moves.
    static constexpr int MaxMovesPerBatch = 256;

private:
    // A record of the batch being applied, which holds it: no handle needs copying.
    struct Located
    {
        const Record* record;
        int position;
        bool removed;
    };

    int sortedPosition(const Record& record, bool* found) const;
    // The row of a record by the order, then, if it may stand out of order, by a walk.
    int locate(const Record& record, bool mayBeDisplaced) const;
    // Adds to found the rows of the records given, by one walk over the rows.
    void scanFor(const std::vector<Located>& wanted, std::vector<Located>& found) const;
    void applyBatch(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                    int lastColumn, const QList<Record>& inserted, bool prepared);
    void removeRows(std::vector<int>& rows);
    void moveRows(std::vector<Located>& displaced);
    void relayoutRows(const std::vector<Located>& displaced);
    void insertRecords(std::vector<Record>& records);
    // The rows of changed with a position of -1 are looked up.
    void emitChanged(const std::vector<Located>& changed, int firstColumn, int lastColumn);
    void changePersistentRows(const std::vector<int>& newRow);
    void dropPrepared();

    // Where the rows of the announced batch stood before the table changed them: the rows
    // of the removed, then of the updated records, in their order, -1 for a record not
    // found. Valid for the lists it was made for.
    std::vector<int> m_prepared;
    QList<Record> m_preparedRemoved;
    QList<Record> m_preparedUpdated;
    bool m_isPrepared = false;
};
