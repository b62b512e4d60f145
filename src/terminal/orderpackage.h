#pragma once

#include "database/decimal.h"

#include <QString>
#include <QVector>

// One postponed order: a signed quantity, positive to buy and negative to sell.
struct PostponedOrder
{
    int boardId = 0;
    int stockId = 0;
    qint64 secId = 0;
    decimal price;
    qint64 quantity = 0;

    bool isBuy() const { return quantity > 0; }
};

// A package of postponed orders for one account, as the calculator hands it over.
struct OrderPackage
{
    QString baseCode;
    QString account;
    QVector<PostponedOrder> orders;
    // Set when the text could not be read; the package then holds nothing else.
    QString error;

    bool isValid() const { return error.isEmpty(); }
};
