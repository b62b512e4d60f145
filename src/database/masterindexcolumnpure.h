#pragma once

#include "masterindex.h"

#include <QStringList>
#include <QVector>

// A key over a list of columns, compared field by field.
class DATABASE_EXPORT MasterIndex_Column_Pure : public MasterIndex
{
public:
    MasterIndex_Column_Pure(Table* table, const QStringList& columns);
    MasterIndex_Column_Pure(Table* table, const QVector<int>& columns);
    ~MasterIndex_Column_Pure() override;

    int compare(const Record& a, const Record& b) const override;
    QString getClassName() const override;

    // The key's text: the key cells' texts joined by "|" (a "|" or "\" inside a text is
    // escaped by "\").
    virtual QString toText(const Record& record) const;
    // A detached key record of the table filled from such a text; null if the text does not
    // have as many parts as the key has columns.
    virtual Record fromText(const QString& text) const;

    const QVector<int>& keyColumns() const { return m_columns; }
    QStringList keyColumnNames() const;

protected:
    QVector<int> m_columns;
};
