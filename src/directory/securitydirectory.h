#pragma once

#include "directory_global.h"

#include "database/record.h"

#include <QPointer>
#include <QString>

class Table;

// The terminal's reference of securities: the table "securities" of ICore::tables(), looked
// up by key (stock_id, board_id, sec_id) through its master index. Without a core, a table
// or a row, the answers are a null record, an empty text, false and 0.
class DIRECTORY_EXPORT SecurityDirectory
{
public:
    static SecurityDirectory& i();

    // Null while the host has registered no "securities".
    Table* table() const;
    Record recordById(int stockId, int boardId, long long secId) const;
    // The security's base code (column base_code).
    QString baseById(int stockId, int boardId, long long secId) const;
    bool recordExists(int stockId, int boardId, long long secId) const;
    // The number of decimals of the security's prices (column decimals).
    int decimalsById(int stockId, int boardId, long long secId) const;

private:
    SecurityDirectory() = default;
    Q_DISABLE_COPY(SecurityDirectory)

    // Column numbers of the table last seen; looked up again when the table changes.
    struct Columns
    {
        int stockId = -1;
        int boardId = -1;
        int secId = -1;
        int baseCode = -1;
        int decimals = -1;
        bool hasKey() const { return stockId >= 0 && boardId >= 0 && secId >= 0; }
    };
    const Columns& columnsOf(Table* table) const;

    mutable QPointer<Table> m_table;
    mutable Columns m_columns;
};
