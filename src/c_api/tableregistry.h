#pragma once

// The terminal's in-memory tables by name, reached through ICore::tables(). The host's
// market feeds register the tables they fill ("securities", "positions", "tz.volat_coeff");
// plug-ins look them up. A table may be missing: ask hasTable() first where that can be.
//
// The operations are virtual slots in a fixed order that plug-ins rely on; new ones go at
// the end.

#include "c_api_global.h"

#include <QMap>
#include <QObject>
#include <QPointer>
#include <QStringList>

class Table;

class C_API_EXPORT TableRegistry : public QObject
{
    Q_OBJECT
public:
    explicit TableRegistry(QObject* parent = nullptr);
    ~TableRegistry() override;

public slots:
    // The names of the tables present, sorted.
    virtual QStringList names() const;
    virtual int count() const;
    // The table of that name; null when there is none, also after it was destroyed.
    virtual Table* table(const QString& name) const;
    virtual bool hasTable(const QString& name) const;
    // Host side. The registry does not own the table, and forgets it when it is destroyed.
    // False for an empty name, a null table, or a name held by another live table.
    virtual bool registerTable(const QString& name, Table* table);
    // False when the name was not registered.
    virtual bool unregisterTable(const QString& name);

private:
    QMap<QString, QPointer<Table>> m_tables;
};
