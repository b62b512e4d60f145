#pragma once

#include "database_global.h"
#include "record.h"

#include <QList>
#include <QPointer>
#include <QUndoCommand>

class Table;

// Undoable changes of a table. The records given are kept as detached rows; the table
// receives fresh copies of them, so that they stay detached and can be used again.
namespace Undo {

// Empties a table on redo and puts the rows back on undo.
class DATABASE_EXPORT Clear : public QUndoCommand
{
public:
    explicit Clear(Table* table, QUndoCommand* parent = nullptr);
    void redo() override;
    void undo() override;

private:
    QPointer<Table> m_table;
    QList<Record> m_rows;
};

// Replaces one row: the row with the key of before takes the values of after on redo,
// and back on undo.
class DATABASE_EXPORT Update : public QUndoCommand
{
public:
    Update(Table* table, const Record& before, const Record& after, QUndoCommand* parent = nullptr);
    void redo() override;
    void undo() override;

private:
    QPointer<Table> m_table;
    Record m_before;
    Record m_after;
};

// Groups child commands into one batch of the table. Push it only when childCount() > 0.
class DATABASE_EXPORT Transaction : public QUndoCommand
{
public:
    explicit Transaction(Table* table, QUndoCommand* parent = nullptr);
    Table* table() const;
    void redo() override;
    void undo() override;

private:
    QPointer<Table> m_table;
};

// A child of a Transaction; constructing one registers it in the transaction.
class DATABASE_EXPORT TransCommand : public QUndoCommand
{
public:
    explicit TransCommand(Transaction* transaction);
    Table* table() const;

private:
    Transaction* m_transaction;
};

class DATABASE_EXPORT TransInsert : public TransCommand
{
public:
    TransInsert(const Record& record, Transaction* transaction);
    void redo() override;
    void undo() override;

private:
    Record m_record;
};

class DATABASE_EXPORT TransUpdate : public TransCommand
{
public:
    TransUpdate(const Record& before, const Record& after, Transaction* transaction);
    void redo() override;
    void undo() override;

private:
    Record m_before;
    Record m_after;
};

class DATABASE_EXPORT TransDelete : public TransCommand
{
public:
    TransDelete(const Record& record, Transaction* transaction);
    void redo() override;
    void undo() override;

private:
    Record m_record;
};

} // namespace Undo
