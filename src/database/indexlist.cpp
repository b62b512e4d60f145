#include "indexlist.h"

IndexList::IndexList(Table* table) : Index(table) {}

IndexList::~IndexList() = default;

int IndexList::pointerPosition(const Record& record, bool* found) const
{
    const unsigned char* row = record.rowBlock();
    const int pos = m_records.lowerBound([row](const Record& e) { return e.rowBlock() < row; });
    *found = pos < m_records.count() && m_records.at(pos) == record;
    return pos;
}

void IndexList::clear(bool notifyDependents)
{
    Q_UNUSED(notifyDependents);
    m_records.clear();
}

void IndexList::build(bool notifyDependents)
{
    Q_UNUSED(notifyDependents);
    m_records.clear();
    addAllRows();
}

void IndexList::add(const Record& record)
{
    if (record.isNull())
        return;
    bool found = false;
    const int pos = pointerPosition(record, &found);
    if (!found)
        m_records.insert(pos, record);
}

void IndexList::remove(const Record& record, int position)
{
    if (position >= 0 && position < m_records.count() && m_records.at(position) == record) {
        m_records.removeAt(position);
        return;
    }
    bool found = false;
    const int pos = pointerPosition(record, &found);
    if (found)
        m_records.removeAt(pos);
}

bool IndexList::contains(const Record& record) const
{
    bool found = false;
    pointerPosition(record, &found);
    return found;
}

bool IndexList::filterDependsOn(int firstColumn, int lastColumn) const
{
    if (!m_filterColumnsKnown)
        return true;
    for (int c : m_filterColumns)
        if (c >= firstColumn && c <= lastColumn)
            return true;
    return false;
}

void IndexList::update(const Record& record, int firstColumn, int lastColumn, int position)
{
    Q_UNUSED(position);
    if (!filterDependsOn(firstColumn, lastColumn))
        return;
    const bool in = contains(record);
    const bool pass = filter(record);
    if (in && !pass)
        remove(record, -1);
    else if (!in && pass)
        add(record);
}

int IndexList::indexOf(const Record& record) const
{
    bool found = false;
    const int pos = pointerPosition(record, &found);
    return found ? pos : -1;
}

QString IndexList::getClassName() const
{
    return QStringLiteral("IndexList");
}
