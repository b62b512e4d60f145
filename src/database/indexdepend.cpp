#include "indexdepend.h"

IndexDependBase::~IndexDependBase() = default;

void IndexDependBase::addDependentIndex(Index* index)
{
    if (index && !m_dependents.contains(index))
        m_dependents.append(index);
}

void IndexDependBase::removeDependentIndex(Index* index)
{
    m_dependents.removeAll(index);
}

void IndexDependBase::add(const Record& record)
{
    for (Index* index : QList<Index*>(m_dependents))
        if (index->filter(record))
            index->add(record);
}

void IndexDependBase::remove(const Record& record, int position)
{
    for (Index* index : QList<Index*>(m_dependents))
        index->remove(record, position);
}

void IndexDependBase::update(const Record& record, int firstColumn, int lastColumn, int position)
{
    for (Index* index : QList<Index*>(m_dependents))
        index->update(record, firstColumn, lastColumn, position);
}

void IndexDependBase::build(bool notifyDependents)
{
    for (Index* index : QList<Index*>(m_dependents))
        index->build(notifyDependents);
}

void IndexDependBase::clear(bool notifyDependents)
{
    for (Index* index : QList<Index*>(m_dependents))
        index->clear(notifyDependents);
}

void IndexDependBase::preprocess(const QList<Record>& removed, const QList<Record>& updated,
                                 int firstColumn, int lastColumn, const QList<Record>& inserted,
                                 const QList<Record>& replaced)
{
    for (Index* index : QList<Index*>(m_dependents))
        index->preprocess(removed, updated, firstColumn, lastColumn, inserted, replaced);
}

void IndexDependBase::process(const QList<Record>& removed, const QList<Record>& updated,
                              int firstColumn, int lastColumn, const QList<Record>& inserted)
{
    for (Index* index : QList<Index*>(m_dependents))
        index->process(removed, updated, firstColumn, lastColumn, inserted);
}
