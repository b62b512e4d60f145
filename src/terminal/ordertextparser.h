#pragma once

#include "orderpackage.h"

#include <QCoreApplication>
#include <QString>

// Reads the text form of a package of postponed orders:
//
//   BASE;ACCOUNT|BOARD_ID;STOCK_ID;SEC_ID;PRICE;QUANTITY|...
//
// A head with the base code and the account, then one part per order; the price with "."
// or "," as its point, the quantity a non-zero whole number whose sign is the side. The
// head alone is a valid package without orders. One bad part refuses the whole package:
// sending part of a package is worse than sending none.
class OrderTextParser
{
    Q_DECLARE_TR_FUNCTIONS(OrderTextParser)

public:
    static OrderPackage parse(const QString& text);
};
