#pragma once

#include "market_global.h"
#include "marketfeed.h"

#include <QStringList>

class Table;

// The snapshot feed: fills the market tables from CSV files of a directory,
// "securities.csv", "positions.csv" and "volat_coeff.csv".
//
// A file starts with a header line of column names of its table, in any order and any
// subset (the key columns must be there); the lines below hold the rows. Cells are
// separated by ";", decimals written with ".", dates as yyyy-MM-dd (a time may follow,
// "yyyy-MM-dd hh:mm[:ss[.zzz]]"); an empty cell is null in a nullable column and empty
// text in a text column. Blank lines are skipped.
//
// A table takes the content of its file whole or not at all: every line is read into rows
// apart from the table first, and only a file without a fault replaces the table's rows, in
// one batch. Each fault is reported as "FILE:LINE: reason", FILE as given and LINE counted
// from 1, the header being line 1; faults of the file as a whole (missing, unreadable) are
// at line 0. There is no exchange behind a snapshot: the transport stays disconnected.
class MARKET_EXPORT CsvMarketLoader : public MarketFeed
{
    Q_OBJECT
public:
    explicit CsvMarketLoader(MarketTables* tables, QObject* parent = nullptr);
    ~CsvMarketLoader() override;

    // Loads the three files of the directory, each into its table. True when all three
    // loaded; a table whose file has a fault keeps its rows.
    bool load(const QString& directory);
    // Loads one file into a table, whole or not at all.
    bool loadTable(Table* table, const QString& filePath);
    // The faults found by the last load, one "FILE:LINE: reason" each.
    QStringList errors() const { return m_errors; }

    static QString securitiesFileName();
    static QString positionsFileName();
    static QString volatCoeffFileName();

private:
    bool loadFile(Table* table, const QString& filePath);

    QStringList m_errors;
};
