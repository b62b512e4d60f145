#include "optcalccolumns.h"

#include "database/table.h"

namespace {

struct ColumnName
{
    const char* name;
    int OptCalcColumns::*member;
};

const ColumnName columnNames[OptCalcColumns::Count] = {
    {"stock_id", &OptCalcColumns::stock_id},
    {"board_id", &OptCalcColumns::board_id},
    {"sec_id", &OptCalcColumns::sec_id},
    {"sectype", &OptCalcColumns::sectype},
    {"option_type", &OptCalcColumns::option_type},
    {"strike", &OptCalcColumns::strike},
    {"volat", &OptCalcColumns::volat},
    {"theor_price", &OptCalcColumns::theor_price},
    {"decimals", &OptCalcColumns::decimals},
    {"delta", &OptCalcColumns::delta},
    {"gamma", &OptCalcColumns::gamma},
    {"vega", &OptCalcColumns::vega},
    {"theta", &OptCalcColumns::theta},
    {"base_code", &OptCalcColumns::base_code},
    {"bid", &OptCalcColumns::bid},
    {"ask", &OptCalcColumns::ask},
    {"price", &OptCalcColumns::price},
    {"price_step", &OptCalcColumns::price_step},
    {"cur_kotir_real", &OptCalcColumns::cur_kotir_real},
    {"volat_min", &OptCalcColumns::volat_min},
    {"volat_max", &OptCalcColumns::volat_max},
    {"base_isin_id", &OptCalcColumns::base_isin_id},
    {"europe", &OptCalcColumns::europe},
};

} // namespace

void OptCalcColumns::lookUp(const Table* table)
{
    for (const ColumnName& column : columnNames)
        this->*column.member = -1;
    if (!table)
        return;
    for (const ColumnName& column : columnNames)
        this->*column.member = table->columnIndex(QLatin1String(column.name));
}

QVector<int> OptCalcColumns::toVector() const
{
    QVector<int> numbers;
    numbers.reserve(Count);
    for (const ColumnName& column : columnNames)
        numbers.append(this->*column.member);
    return numbers;
}
