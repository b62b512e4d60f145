#pragma once

#include <QVector>

class Table;

// The numbers of the columns of "securities" that the calculator reads, looked up once so
// that rows are read by number and never by name. The members bear the columns' names;
// their order is the block's, by which a failed check reports them.
struct OptCalcColumns
{
    static constexpr int Count = 23;

    int stock_id = -1;
    int board_id = -1;
    int sec_id = -1;
    int sectype = -1;
    int option_type = -1;
    int strike = -1;
    int volat = -1;
    int theor_price = -1;
    int decimals = -1;
    int delta = -1;
    int gamma = -1;
    int vega = -1;
    int theta = -1;
    int base_code = -1;
    int bid = -1;
    int ask = -1;
    int price = -1;
    int price_step = -1;
    int cur_kotir_real = -1;
    int volat_min = -1;
    int volat_max = -1;
    int base_isin_id = -1;
    int europe = -1;

    // Sets every member to -1, then to the number of its column in table, where it has one.
    void lookUp(const Table* table);
    // The numbers in block order.
    QVector<int> toVector() const;
};
