#pragma once

#include "marketdata/optcalcsecurity.h"
#include "positionitem.h"

#include "basic_views/tableindexmodel.h"
#include "database/datetime.h"
#include "database/decimal.h"

#include <QList>
#include <QString>
#include <QVector>

#include <vector>

class Field;
class OptCalcSecurityModel;
class QDataStream;
class SecuritiesOptCalcDirectory;
class SecurityDirectory;
class VolatCoeffDirectory;

// A portfolio of one base code as a table model: the account's real positions over the
// terminal's "positions", or, in VirtualPortfolioModel, the model portfolio over
// "positions_virtual". Besides the rows' own fields it shows market data of each row's
// security, and tells its views when those change: a batch of the securities directory
// becomes one dataChanged per block of neighbouring rows, over the market columns.
//
// Both models have the same columns, but for "waprice", which only the real one has, and
// the market and model columns, which only the model portfolio has.
class PortfolioModel : public TableIndexModel
{
    Q_OBJECT
public:
    PortfolioModel(Table* table, OptCalcSecurityModel* securityModel, QObject* parent = nullptr);
    ~PortfolioModel() override;

    // QAbstractItemModel, in the order of the plug-in contract. Rows are dragged as
    // PositionItems under mimeType(), the real portfolio's with their average price.
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // Index. The real portfolio lists the account's positions in the base code on the
    // futures and options boards.
    bool filter(const Record& record) const override;
    QString getClassName() const override;

    // Filter values; a change rebuilds the rows (the account only while it filters).
    void setAccount(const QString& account);
    const QString& account() const { return m_account; }
    void setBaseCode(const QString& baseCode);
    const QString& baseCode() const { return m_baseCode; }
    void setAccountFilterEnabled(bool enabled);
    bool accountFilterEnabled() const { return m_accountFilterEnabled; }

    // The drag format of positions, "application/x-gui-portfolio".
    static QString mimeType();

    OptCalcSecurityModel* securityModel() const { return m_securityModel; }
    Table* securitiesTable() const { return m_securitiesTable; }

    // Look-ups from a row to its security. A row is one of this model's table; the
    // securities are rows of the terminal's "securities".
    bool securityExists(const Record& row) const;
    Field sectypeOf(const Record& row) const;
    Record securityRecord(const Record& row) const;
    OptCalcRecord optCalcRecord(const Record& row) const;
    // The future an option rests on, or the future itself; a row or a security.
    Record baseRecord(const Record& any) const;
    // The expiry of the row's security; null if it has none.
    datetime expiryDate(const Record& row) const;
    // Whether the row takes part in the calculation: a live security of this base code on
    // the futures or options board, and, honouring the flags of the model portfolio, its
    // check box on.
    bool isRowActive(const Record& row, bool honourFlags) const;
    // The price of a base future: its current price, else its quote, else its settlement
    // price, else the middle of the plot.
    decimal basePrice(const Record& security) const;

public slots:
    // The securities of a batch, sorted by record handle.
    void securitiesChanged(const QList<Record>& securitiesList);
    // Tells the views that the market columns of a row changed; -1 for all rows.
    void emitRowUpdated(int row = -1);
    virtual void onModelDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                                    const QVector<int>& roles = QVector<int>());
    virtual void onRowsInserted(const QModelIndex& parent, int first, int last);
    virtual void onModelReset();

protected:
    // Unsorted, the rows stand in the order of their records, which no change of a field
    // moves; a valuation then costs the views no search for moved rows.
    bool orderDependsOn(int firstColumn, int lastColumn) const override;

    // Column numbers in the model's table; -1 where it has none.
    struct TableColumns
    {
        int stock_id = -1;
        int board_id = -1;
        int sec_id = -1;
        int sec_name = -1;
        int account = -1;
        int sectype = -1;
        int pos = -1;
        int waprice = -1;
        int expdate = -1;
        // The model portfolio's own.
        int miv = -1;
        int mp = -1;
        int miv_mp_flag = -1;
        int delta = -1;
        int gamma = -1;
        int vega = -1;
        int theta = -1;
        int flags = -1;
    };

    // Model column numbers; -1 for a column the model lacks.
    struct ModelColumns
    {
        int sec_name = -1;
        int pos = -1;
        int waprice = -1;
        int expdate = -1;
        int days_to_exercise = -1;
        int sectype = -1;
        int strike = -1;
        int volat = -1;
        int theor_price = -1;
        int delta = -1;
        int gamma = -1;
        int vega = -1;
        int theta = -1;
        int bid = -1;
        int ask = -1;
        int price = -1;
        int cur_kotir_real = -1;
        int miv = -1;
        int mp = -1;
        int miv_mp_flag = -1;
        int flags = -1;
    };

    // Column numbers in "securities", in the order of the construction check.
    struct SecuritiesColumns
    {
        int stock_id = -1;
        int board_id = -1;
        int sec_id = -1;
        int sec_name = -1;
        int expdate = -1;
        int base_code = -1;
        int cur_kotir_real = -1;
        int cur_kotir = -1;
        int old_kotir = -1;
        int base_isin_id = -1;
        int lasttime = -1;
        int volat_min = -1;
        int volat_max = -1;
        int price_step = -1;
        int sectype = -1;
        int europe = -1;
        int option_type = -1;
        // Read by name where an option's base is looked for; not required.
        int main_sec_id = -1;

        void lookUp(const Table* securities);
        QVector<int> toVector() const;
    };

    // Registers the model columns from sec_name to theta; the model portfolio adds its own.
    void addCommonColumns();
    // A column of market data that the model shows through a delegate rather than a field
    // of its table.
    int addComputedColumn(const QString& name, const QString& title, const QString& toolTip);
    // The description of a column of "securities", empty for a column it lacks.
    QString securitiesDescription(const QString& column) const;
    // The first and last model column of the market data; false if the model shows none.
    bool marketColumnSpan(int* left, int* right) const;
    // Tells the views of a change of one cell.
    void dataChangedRow(int row, int column);
    bool isOwnRow(const Record& row) const;
    // The terminal's security of that key; null if there is none.
    Record findSecurity(int stockId, int boardId, qint64 secId) const;
    // The same, given the calculator directory's entry of (stockId, secId).
    Record securityOfEntry(const OptCalcRecord& entry, int stockId, int boardId,
                           qint64 secId) const;
    // Whether the entry's own row is the security of that board.
    bool entryHolds(const OptCalcRecord& entry, int boardId) const;
    // securityRecord() and baseRecord() of a security, for the valuation's inner loop.
    Record securityOf(const Record& row) const;
    Record baseOf(const Record& security) const;

    // A row's securities as securitiesChanged() found them. A tick finds them for every
    // row, so no handle is copied in the common case: the entry stays in the directory,
    // which nothing changes while the valuation runs, and the security is mostly the
    // entry's own row.
    struct FoundSecurity
    {
        const unsigned char* row = nullptr; // the row's block; null for a row not found
        int stock = 0;
        const OptCalcRecord* market = nullptr; // the directory's entry of (stock, sec_id)
        bool ofEntry = false;                  // the security is the entry's own row
        Record other;                          // else the security found the long way
        const Record& security() const { return ofEntry ? market->record : other; }
    };
    // Looks up the securities of a key into found (row is left alone).
    void locateSecurity(int stockId, int boardId, qint64 secId, FoundSecurity& found) const;
    // What securitiesChanged() found for a row of a changed security, while it tells of the
    // change: the valuation that its notices start need not look it up again. Null for
    // another record, or at any other time.
    const FoundSecurity* foundSecurity(int row, const Record& record) const;

    // One position of the drag format: the fields of PositionItem in order, a QString for
    // the name and the raw 64 bits of the price and the expiry.
    static void writePositionItem(QDataStream& out, const PositionItem& item);
    // False, with the stream's status set, when the data ends or is corrupt before the item
    // is whole.
    static bool readPositionItem(QDataStream& in, PositionItem& item);

    TableColumns m_columns;
    ModelColumns m_modelColumns;
    SecuritiesColumns m_securitiesColumns;
    // The base price of last resort, kept by the model portfolio from the plot's range.
    double m_plotMiddle = 0.0;

    SecuritiesOptCalcDirectory* m_optCalcDirectory = nullptr;
    SecurityDirectory* m_securityDirectory = nullptr;
    VolatCoeffDirectory* m_volatCoeffDirectory = nullptr;
    OptCalcSecurityModel* m_securityModel = nullptr;
    Table* m_securitiesTable = nullptr;

private:
    // Filled by securitiesChanged() for the length of its notices.
    const std::vector<FoundSecurity>* m_found = nullptr;
    QString m_account;
    QString m_baseCode;
    bool m_accountFilterEnabled = true;
};
