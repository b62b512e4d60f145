#pragma once

#include "database/decimal.h"

#include <QAbstractItemModel>
#include <QPointer>

class PortfolioModel;

// The totals under a portfolio table: one row with the columns of its portfolio model, in
// which the four Greek columns sum what the table shows in them over the positions that
// take part in the calculation. The sums follow the table's changes.
class PortfolioTotalModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    explicit PortfolioTotalModel(PortfolioModel* sourceModel, QObject* parent = nullptr);
    ~PortfolioTotalModel() override;

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    using QObject::parent;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    PortfolioModel* sourceModel() const { return m_sourceModel; }
    decimal totalDelta() const { return m_totalDelta; }
    decimal totalGamma() const { return m_totalGamma; }
    decimal totalVega() const { return m_totalVega; }
    decimal totalTheta() const { return m_totalTheta; }

public slots:
    // Recounts when the changed columns hold a Greek.
    void onDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight);
    void updateTotal();

private:
    // The index 0..3 of a source column among delta, gamma, vega, theta; -1 for another.
    int greekOf(int column) const;
    void lookUpColumns();

    decimal m_totalDelta;
    decimal m_totalGamma;
    decimal m_totalVega;
    decimal m_totalTheta;
    QPointer<PortfolioModel> m_sourceModel;
    int m_greekColumns[4] = {-1, -1, -1, -1};
};
