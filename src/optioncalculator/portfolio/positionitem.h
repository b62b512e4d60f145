#pragma once

#include "database/datetime.h"
#include "database/decimal.h"

#include <QChar>
#include <QString>

// A position to add to the model portfolio, as a drag, the real portfolio, a dialog or an
// import hands it over. The fields, in this order, are also the drag format's.
struct PositionItem
{
    int stock_id = 0;
    int board_id = 0;
    qint64 sec_id = 0;
    QString sec_name;
    QChar sectype;
    qint64 pos = 0;
    // The price the position was opened at; zero when there is none.
    decimal price;
    datetime expdate;
};
