#pragma once

#include "orderpackage.h"

#include "database/table.h"

#include <QCoreApplication>

// The terminal's table "orders": the orders the user sent, one row each, keyed by a number
// that grows with each order. With no connection to an exchange an order stays here with
// the state that says so.
class OrdersTable : public Table
{
    Q_OBJECT

public:
    explicit OrdersTable(QObject* parent = nullptr);
    ~OrdersTable() override;

    // Writes the orders of a valid package in one batch with the state given; the instrument
    // names come from the securities reference where it knows them. Gives the count written.
    int record(const OrderPackage& package, const QString& state);

private:
    qint64 m_nextOrderNo = 1;
};
