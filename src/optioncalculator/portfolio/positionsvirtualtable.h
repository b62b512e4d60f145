#pragma once

#include <QCoreApplication>
#include <QString>

class QObject;
class Table;

// Builds the calculator's own table of the model portfolio, "positions_virtual": one row per
// security, keyed by (stock_id, board_id, sec_id), with the position, the model volatility
// and price, the flags of how the row is valued, and its valuation's Greeks. The columns
// that mirror the terminal's are copied from "positions" and "securities", so that they
// show and compare as the terminal's do.
//
// The table belongs to the calculator window that makes it and is not registered with the
// terminal.
class PositionsVirtualTable
{
    Q_DECLARE_TR_FUNCTIONS(PositionsVirtualTable)

public:
    static QString name();
    // A new empty table; the terminal's "positions" and "securities" must be registered.
    static Table* create(QObject* parent = nullptr);
};
