#include "index.h"

#include "masterindex.h"
#include "table.h"
#include "tablelocker.h"

Index::Index(Table* table) : m_table(table), m_tablePointer(table) {}

Index::~Index()
{
    if (Table* t = m_table.data()) {
        t->removeIndex(this);
        t->removeDependentIndex(this);
    }
}

void Index::clear(bool notifyDependents)
{
    Q_UNUSED(notifyDependents);
}

void Index::clear()
{
    clear(true);
}

void Index::build(bool notifyDependents)
{
    Q_UNUSED(notifyDependents);
    addAllRows();
}

void Index::build()
{
    build(true);
}

void Index::rebuild()
{
    clear();
    build();
}

void Index::add(const Record& record)
{
    Q_UNUSED(record);
}

void Index::preprocess(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                       int lastColumn, const QList<Record>& inserted, const QList<Record>& replaced)
{
    Q_UNUSED(removed);
    Q_UNUSED(updated);
    Q_UNUSED(firstColumn);
    Q_UNUSED(lastColumn);
    Q_UNUSED(inserted);
    Q_UNUSED(replaced);
}

void Index::process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                    int lastColumn, const QList<Record>& inserted)
{
    for (const Record& r : removed)
        remove(r, -1);
    for (const Record& r : updated)
        update(r, firstColumn, lastColumn, -1);
    for (const Record& r : inserted)
        if (filter(r))
            add(r);
}

void Index::remove(const Record& record, int position)
{
    Q_UNUSED(record);
    Q_UNUSED(position);
}

bool Index::filter(const Record& record) const
{
    Q_UNUSED(record);
    return true;
}

bool Index::contains(const Record& record) const
{
    Q_UNUSED(record);
    return false;
}

void Index::update(const Record& record, int firstColumn, int lastColumn, int position)
{
    Q_UNUSED(record);
    Q_UNUSED(firstColumn);
    Q_UNUSED(lastColumn);
    Q_UNUSED(position);
}

int Index::indexOf(const Record& record) const
{
    Q_UNUSED(record);
    return -1;
}

void Index::beginUpdate() {}

void Index::endUpdate() {}

void Index::dependentBeginUpdate(Table* table)
{
    Q_UNUSED(table);
}

void Index::dependentEndUpdate(Table* table)
{
    Q_UNUSED(table);
}

QString Index::getClassName() const
{
    return QStringLiteral("Index");
}

void Index::addAllRows()
{
    Table* t = m_table.data();
    if (!t || !t->masterIndex() || t->masterIndex() == this)
        return;
    TableLocker locker(t);
    // A copy of the handles: add() of an override may look at the table again.
    const std::vector<Record> rows = t->masterIndex()->records().toStdVector();
    for (const Record& r : rows)
        if (filter(r))
            add(r);
}
