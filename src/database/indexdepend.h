#pragma once

#include "database_global.h"
#include "index.h"

#include <QList>

// Keeps a list of dependent indexes and passes each notification on to them.
class DATABASE_EXPORT IndexDependBase
{
public:
    virtual ~IndexDependBase();

    void addDependentIndex(Index* index);
    void removeDependentIndex(Index* index);
    const QList<Index*>& dependentIndexes() const { return m_dependents; }

    void add(const Record& record);
    void remove(const Record& record, int position);
    void update(const Record& record, int firstColumn, int lastColumn, int position);
    void build(bool notifyDependents);
    void clear(bool notifyDependents);
    void preprocess(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                    int lastColumn, const QList<Record>& inserted, const QList<Record>& replaced);
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted);

private:
    QList<Index*> m_dependents;
};

// A model class that is an Index, joined with dependents that see the same notifications.
// Single changes made while a batch is processed reach the dependents with the batch only.
template <class Model> class IndexDepend : public Model, public IndexDependBase
{
public:
    using Model::Model;

    void clear(bool notifyDependents) override
    {
        Model::clear(notifyDependents);
        if (notifyDependents)
            IndexDependBase::clear(notifyDependents);
    }
    using Model::clear;
    void build(bool notifyDependents) override
    {
        Model::build(notifyDependents);
        if (notifyDependents)
            IndexDependBase::build(notifyDependents);
    }
    using Model::build;
    void add(const Record& record) override
    {
        Model::add(record);
        if (!m_inBatch)
            IndexDependBase::add(record);
    }
    void preprocess(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                    int lastColumn, const QList<Record>& inserted,
                    const QList<Record>& replaced) override
    {
        Model::preprocess(removed, updated, firstColumn, lastColumn, inserted, replaced);
        IndexDependBase::preprocess(removed, updated, firstColumn, lastColumn, inserted, replaced);
    }
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted) override
    {
        m_inBatch = true;
        Model::process(removed, updated, firstColumn, lastColumn, inserted);
        m_inBatch = false;
        IndexDependBase::process(removed, updated, firstColumn, lastColumn, inserted);
    }
    void remove(const Record& record, int position) override
    {
        Model::remove(record, position);
        if (!m_inBatch)
            IndexDependBase::remove(record, -1);
    }
    void update(const Record& record, int firstColumn, int lastColumn, int position) override
    {
        Model::update(record, firstColumn, lastColumn, position);
        if (!m_inBatch)
            IndexDependBase::update(record, firstColumn, lastColumn, -1);
    }
    QString getClassName() const override
    {
        return QStringLiteral("IndexDepend::") + Model::getClassName();
    }

private:
    bool m_inBatch = false;
};
