#pragma once

#include "optcalccolumns.h"
#include "optcalcsecurity.h"
#include "singletonguard.h"

#include "database/index.h"

#include <QList>
#include <QObject>

#include <vector>

// The calculator's directory of derivatives: the rows of "securities" of the derivatives
// market (stock_id 1) on the futures board (1) and the options board (14). It follows the
// table as one of its indexes, keeps the instruments in the order of (stock_id, sec_id) for
// a look-up without any string work, and tells the models which instruments changed.
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
    const OptCalcColumns& columns() const { return m_columns; }
    // The instruments in the order of their keys.
    int count() const { return int(m_entries.size()); }
    const OptCalcSecurity& at(int i) const { return m_entries.at(size_t(i)).security; }

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
    };
    struct Entry
    {
        qint64 secId;
        int stockId;
        OptCalcSecurity security;

        bool hasKey(int stock, qint64 sec) const { return stockId == stock && secId == sec; }
        bool operator<(const Key& key) const
        {
            return stockId != key.stockId ? stockId < key.stockId : secId < key.secId;
        }
        bool operator<(const Entry& other) const { return *this < Key{other.stockId, other.secId}; }
    };

    SecuritiesOptCalcDirectory();
    Entry entryOf(const Record& record) const;
    std::vector<Entry>::iterator lowerBound(int stockId, qint64 secId);
    std::vector<Entry>::const_iterator lowerBound(int stockId, qint64 secId) const;

    OptCalcColumns m_columns;
    std::vector<Entry> m_entries;
    OptCalcSecurity m_nullSecurity;
};
