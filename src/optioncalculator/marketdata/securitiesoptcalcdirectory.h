#pragma once

#include "optcalccolumns.h"
#include "optcalcsecurity.h"
#include "singletonguard.h"

#include "database/index.h"

#include <QHash>
#include <QList>
#include <QObject>

#include <vector>

// The calculator's directory of derivatives: the rows of "securities" of the derivatives
// market (stock_id 1) on the futures board (1) and the options board (14). It follows the
// table as one of its indexes, finds an instrument by (stock_id, sec_id) without any string
// work, keeps them in the order of that key, and tells the models which instruments
// changed.
//
// One directory serves the whole process; it is made on first use.
class SecuritiesOptCalcDirectory : public QObject, public Index
{
    Q_OBJECT
public:
    // The directory over the "securities" table of ICore::instance(). A table that lacks a
    // column the calculator reads stops the program.
    static SecuritiesOptCalcDirectory* instance();
    // Destroys the directory, so that the next instance() makes one over the tables
    // registered then: for a host that replaces its tables, and for tests.
    static void resetInstance();

    ~SecuritiesOptCalcDirectory() override;

    // The instrument with that key; the null security when there is none. The reference
    // stays valid until the directory next changes.
    const OptCalcSecurity& find(int stockId, long long secId) const;
    // What a failed look-up gives: a null record over a block of -1s.
    const OptCalcSecurity& nullSecurity() const { return m_nullSecurity; }
    const OptCalcColumns& columns() const { return m_columns; }
    // The instruments in the order of their keys.
    int count() const { return int(m_keys.size()); }
    const OptCalcSecurity& at(int i) const;

    void clear() override;
    using Index::clear;
    void build() override;
    using Index::build;
    void add(const Record& record) override;
    void process(const QList<Record>& removed, const QList<Record>& updated, int firstColumn,
                 int lastColumn, const QList<Record>& inserted) override;
    void remove(const Record& record, int position) override;
    bool filter(const Record& record) const override;
    bool contains(const Record& record) const override;
    void update(const Record& record, int firstColumn, int lastColumn, int position) override;
    QString getClassName() const override;

signals:
    // Instruments present before the batch changed; one signal per batch, the records in
    // the order of their rows.
    void processUpdate(const QList<Record>& updateList);
    void rowsInserted(int _stock_id, qint64 _sec_id);
    void rowsRemoved(int _stock_id, qint64 _sec_id);

private:
    friend class SingletonGuard<SecuritiesOptCalcDirectory>;

    struct Key
    {
        int stockId;
        qint64 secId;

        bool operator<(const Key& other) const
        {
            return stockId != other.stockId ? stockId < other.stockId : secId < other.secId;
        }
        bool operator==(const Key& other) const
        {
            return stockId == other.stockId && secId == other.secId;
        }
        friend uint qHash(const Key& key, uint seed = 0)
        {
            return ::qHash(key.secId, seed) ^ uint(key.stockId);
        }
    };

    SecuritiesOptCalcDirectory();
    Key keyOf(const Record& record) const;

    OptCalcColumns m_columns;
    // The keys in their order, and the instruments by key: the order serves the walks, the
    // hash the look-ups of valuation, which a search by halves would make several times
    // dearer.
    std::vector<Key> m_keys;
    QHash<Key, OptCalcSecurity> m_securities;
    OptCalcSecurity m_nullSecurity;
};
