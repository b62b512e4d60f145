#pragma once

#include "singletonguard.h"

#include "database/index.h"

#include <QObject>

#include <memory>

class MasterIndex_Column;
struct VolatInputParams;

// The calculator's access to the exchange's volatility smile: the coefficients of each
// option series in the table "tz.volat_coeff", found by the series' isin_id. It holds no
// rows of its own; it looks them up through a key of its own over the table, and tells its
// listeners when a batch of the table ended.
//
// One directory serves the whole process; it is made on first use.
class VolatCoeffDirectory : public QObject, public Index
{
    Q_OBJECT
public:
    // The directory over "tz.volat_coeff" of ICore::instance(). Without that table it
    // throws the message for the user as a QString, and the next call tries again.
    static VolatCoeffDirectory* instance();
    // Destroys the directory, so that the next instance() makes one over the tables
    // registered then: for a host that replaces its tables, and for tests.
    static void resetInstance();

    ~VolatCoeffDirectory() override;

    // Whether the series has a row; false once the table is gone.
    bool hasCoefficients(int isinId) const;
    // Copies the series' a, b, c, d, e, s into out. False, with out untouched, when the
    // series has no row or the table is gone.
    bool coefficients(int isinId, VolatInputParams& out) const;

    void clear() override;
    using Index::clear;
    void build() override;
    using Index::build;
    void add(const Record& record) override;
    void remove(const Record& record, int position) override;
    bool filter(const Record& record) const override;
    bool contains(const Record& record) const override;
    void dependentEndUpdate(Table* table) override;
    QString getClassName() const override;

signals:
    // The table ended a batch.
    void dataChanged();

private:
    friend class SingletonGuard<VolatCoeffDirectory>;

    struct Columns
    {
        int isin_id = -1;
        int a = -1;
        int b = -1;
        int c = -1;
        int d = -1;
        int e = -1;
        int s = -1;
    };

    VolatCoeffDirectory();
    // The position of the series' row in the key; -1 if there is none.
    int position(int isinId) const;

    Columns m_columns;
    std::unique_ptr<MasterIndex_Column> m_index;
};
