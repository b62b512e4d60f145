#pragma once

#include "ownwrites.h"
#include "portfoliomodel.h"
#include "positionvaluationdata.h"
#include "profilepoint.h"
#include "valuationmode.h"
#include "positionvaluation.h"
#include "volatband.h"

#include "database/datetime.h"
#include "database/decimal.h"
#include "database/pricing.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QVector>

#include <memory>
#include <utility>
#include <vector>

class QMimeData;
class QUndoCommand;
class QUndoStack;
class RecordsTrans;
class Settings;
struct VolatInputParams;

// The model portfolio over the calculator's table "positions_virtual". Besides the rows it
// keeps each row's valuation true: a row may follow the market, or hold a model volatility
// ("miv") from which the model price ("mp") follows, or a model price from which the
// volatility follows. The bits of "miv_mp_flag" say which: bit 0 model values in use, bit 1
// the volatility is the fixed one, bit 2 the price is. Every change of a row or of its
// security's market data values the row anew and writes what changed.
//
// It also values a position at any base price for the profile curves, and holds the
// trader's what-if shifts of volatility and time for that.
//
// Every change the trader makes is one command of the model's undo stack, made on copies of
// the rows: a value the model refuses is thrown as a QString with the message for the user
// (the host's ItemDelegate shows it), and the row stays as it was.
class VirtualPortfolioModel : public PortfolioModel
{
    Q_OBJECT
public:
    VirtualPortfolioModel(Table* table, OptCalcSecurityModel* securityModel,
                          QObject* parent = nullptr);
    ~VirtualPortfolioModel() override;

    Qt::DropActions supportedDragActions() const override;
    // Which cells the trader may edit and check: the market columns only while the row's
    // security is live in this base code.
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // The check boxes: model values in use ("miv_mp_flag") and the row in the calculation
    // (on the name).
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    // An edit of one cell as one command; the instrument cells take a Record of
    // "securities". Throws a QString when it refuses the value.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    // Every row of the table belongs to the model portfolio.
    bool filter(const Record& record) const override;
    // Sees which rows of a batch hold the valuation's own writes.
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted) override;

    // Editing, each call one command. Positions of a security already held add up to it; a
    // sum of zero or over the limit replaces it, so that a closing trade keeps the row.
    // Items over the limit or of unknown securities are left out. The caller keeps the items.
    void addPositions(const QList<PositionItem*>& items);
    void removeRows(const QList<QModelIndex>& indexes);
    void clearPortfolio();
    // The largest position of the security whose value at twice its base price a decimal
    // still holds; -1 for an unknown security.
    qint64 positionLimit(int stock, qint64 secId, QChar sectype) const;
    QUndoStack* undoStack() const { return m_undoStack.get(); }

    // The rows in the settings' current group, and back. Loading adds to the rows there are
    // and is no command; missing or garbage values load as zero.
    void saveToSettings(Settings& settings) const;
    void loadFromSettings(const Settings& settings);
    // The positions of a drag, in its order; a truncated or corrupt payload ends the list.
    // The caller owns the items.
    QList<PositionItem*> parseMimeData(const QMimeData* mime) const;

    // Valuation of the rows.
    void valueRows(const QModelIndex& topLeft, const QModelIndex& bottomRight);
    void valueOptionRow(int row);
    void valueFutureRow(int row);
    // The range a model volatility of the security may take: its limits, repaired where the
    // gateway publishes them swapped or empty, and never down to zero.
    VolatBand volatBand(const Record& security) const;
    // The inputs of the pricing functions for the row at its base future's quote and the
    // time left; false when some of it is missing.
    bool fillVolatInputParams(const Record& row, VolatInputParams& params) const;

    // Valuation at any base price, for the profiles; mode is a ValuationMode.
    PositionValuationData positionValuationData(int row) const;
    double yearsToExpiry(const datetime& lasttime, const datetime& expdate, int mode) const;
    ProfilePoint profilePointOfData(double price, int mode, double years,
                                    const PositionValuationData& data) const;
    ProfilePoint profilePointOfRow(double price, int mode, int row) const;
    // The what-if settings as one value, and the active rows as one pass values them.
    WhatIfShifts whatIfShifts() const { return m_shifts; }
    ValuationSnapshot valuationSnapshot() const;
    // The point of one row, or with row -1 the sum over the active rows.
    ProfilePoint profilePoint(double price, int mode, int row) const;

    // The rows that take part in the calculation.
    QList<int> activeRows() const;
    int activeRowCount() const;
    bool noActiveRows() const;
    bool allActiveOfSectype(const QChar& sectype) const;
    // The row number of the n-th active row; -1 if there is none.
    int activeRowAt(int n) const;

    // Reference points of the base asset.
    Record nearestFuture() const;
    Record nearestPositionFuture() const;
    decimal centralStrike() const;
    decimal strikeNearest(const decimal& price) const;
    double baseFuturePriceStep() const;

    // Active rows by name and by the text of their key, for the plot's legend.
    QString activeRowName(int row) const;
    QString activeRowKey(const QString& name) const;
    QString activeRowNameByKey(const QString& key) const;

    // What-if state.
    void setVolatShift(const decimal& shift) { m_shifts.volatShift = shift; }
    decimal volatShift() const { return m_shifts.volatShift; }
    void setVolatShiftEnabled(bool enabled) { m_shifts.volatShiftEnabled = enabled; }
    bool volatShiftEnabled() const { return m_shifts.volatShiftEnabled; }
    void setDaysShift(int days) { m_shifts.daysShift = days; }
    int daysShift() const { return m_shifts.daysShift; }
    void setDaysShiftEnabled(bool enabled) { m_shifts.daysShiftEnabled = enabled; }
    bool daysShiftEnabled() const { return m_shifts.daysShiftEnabled; }
    void setPlotMinimum(double value) { m_plotMinimum = value; }
    double plotMinimum() const { return m_plotMinimum; }
    void setPlotMiddle(double value) { m_plotMiddle = value; }
    double plotMiddle() const { return m_plotMiddle; }
    void setPlotMaximum(double value) { m_plotMaximum = value; }
    double plotMaximum() const { return m_plotMaximum; }
    datetime serverTime() const { return m_serverTime; }

    // Writes of one field of a row that write, and tell the table, only on a change; false
    // when nothing was written. A decimal compares at the column's scale; a zero is always
    // written.
    bool writeDecimalIfChanged(const Record& record, int column, const decimal& value);
    bool writeInt64IfChanged(const Record& record, int column, qint64 value);
    bool writeIntIfChanged(const Record& record, int column, int value);
    bool clearField(const Record& record, int column);

signals:
    void userDataUpdated();
    // The server's time became known again.
    void serverTimeChanged();

public slots:
    void onModelDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                            const QVector<int>& roles = QVector<int>()) override;
    void onRowsInserted(const QModelIndex& parent, int first, int last) override;
    void onModelReset() override;
    void onServerTimeChanged(int index, const datetime& time);

private:
    // Which of the columns that decide a row's valuation a change touched.
    struct Trigger
    {
        bool flag = false;
        bool miv = false;
        bool mp = false;
        bool optionMarket = false; // theor_price or volat
        bool futureMarket = false; // cur_kotir_real

        bool any() const { return flag || miv || mp || optionMarket || futureMarket; }
    };
    // The securities of a row, looked up once for its valuation.
    struct RowSecurity : FoundSecurity
    {
        bool exists = false;
    };

    // Editing steps on the copy of a row; they throw what the trader is told.
    void editPosition(Record& row, const QVariant& value) const;
    void editModelVolatility(Record& row, const QVariant& value) const;
    void editModelPrice(Record& row, const QVariant& value) const;
    // False when the security chosen is the row's own.
    bool editInstrument(Record& row, const QVariant& value);
    void mergePosition(Record& row, const PositionItem& item, qint64 limit) const;
    Record newPositionRow(const PositionItem& item) const;
    void pushCommand(QUndoCommand* command, const QString& text);
    int checkState(const QModelIndex& index, int column) const;
    void loadRow(const Settings& settings, int number, RecordsTrans& transaction);
    void saveRow(Settings& settings, const Record& record) const;

    // One pass of valuation over the rows. The securities do not change while it runs, so
    // the price of an option series' base future is looked up once a pass; and the clock
    // is read once, since a pass values all rows at one moment.
    class Pass
    {
    public:
        explicit Pass(VirtualPortfolioModel& model);
        ~Pass();
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

    private:
        VirtualPortfolioModel& m_model;
    };
    // The quote of a base future: cur_kotir, else old_kotir; false without either.
    bool basePriceOf(const Record& base, double* price) const;
    // basePriceOf() the base of a security, remembered for the pass that runs.
    bool passBasePrice(const Record& security, double* price) const;
    // The square root of the years from the valuation's clock to an expiry (a moment past
    // it counts as a hundredth of a second), remembered for the pass that runs; false when
    // it is not finite.
    bool sqrtTimeTo(const datetime& expiry, double* root) const;

    Trigger triggerOfColumns(int left, int right) const;
    Trigger triggerOfWrites(quint32 columns) const;
    // The row's securities; those securitiesChanged() found when it is the one telling.
    void rowSecurity(int row, const Record& record, RowSecurity& security) const;
    // True when the row's Greeks were valued; the caller tells the views.
    bool valueRecord(int row, const Record& record, const Trigger& trigger);
    // flag: the row's miv_mp_flag as the valuation starts.
    bool valueOption(int row, const Record& record, const RowSecurity& security, int flag);
    void emitGreeksChanged(int first, int last);
    void valueFuture(int row, const Record& record, const RowSecurity& security, int flag);
    int flagOf(const Record& row) const { return row.data(m_columns.miv_mp_flag).toInteger(); }
    // The band of the limits a security publishes.
    VolatBand bandOfLimits(double low, double high) const;
    // The valuation's clock: the security model's fixed "now" while it is in use.
    datetime now() const;
    bool fillInputs(const Record& row, const OptCalcRecord& security, const Record& option,
                    VolatInputParams& params) const;
    // The smile coefficients of an option series, read once a batch of their table.
    void smileOf(int isinId, VolatInputParams& params) const;
    void forgetSmiles();
    // A value of a decimal column, rounded to the column's scale.
    bool writeDoubleIfChanged(const Record& record, int column, double value);
    short scaleOf(int column) const { return m_scales.value(column, 0); }

    WhatIfShifts m_shifts;
    double m_plotMinimum;
    double m_plotMaximum;
    datetime m_serverTime;

    // What the valuation itself wrote, so that its own writes do not value a row anew.
    OwnWrites m_ownWrites;

    // The smiles read from their table, by the isin_id of the base: a calculator's options
    // rest on a few, which a short list finds at once.
    struct Smile
    {
        int isinId = 0;
        bool known = false;
        VolatInputParams coefficients;
    };
    mutable std::vector<Smile> m_smiles;
    int m_passDepth = 0;
    datetime m_passNow; // the clock as the outermost pass started
    // The prices of the base futures found in the pass that runs, by the sec_id an option
    // names.
    struct PassBase
    {
        qint64 secId = 0;
        bool priced = false;
        double price = 0.0;
    };
    mutable std::vector<PassBase> m_passBases;
    // The square roots of the years to the expiries met in the pass that runs.
    struct PassExpiry
    {
        datetime expiry;
        double sqrtTime = 0.0;
    };
    mutable std::vector<PassExpiry> m_passExpiries;
    QVector<short> m_scales; // by column of the table
    short m_mivScale = 0;
    short m_mpScale = 0;
    double m_mivUnit = 1.0; // one unit of miv's last digit
    // What the volatility search must hit: a tenth of the last digit of miv and of mp.
    double m_mivAccuracy = 0.1;
    double m_mpAccuracy = 0.1;

    std::unique_ptr<QUndoStack> m_undoStack;
};
