#include "portfoliototalmodel.h"

#include "portfoliomodel.h"

#include "marketdata/frozenclock.h"

#include <QColor>

namespace {

const char* const GreekNames[4] = {"delta", "gamma", "vega", "theta"};

} // namespace

PortfolioTotalModel::PortfolioTotalModel(PortfolioModel* sourceModel, QObject* parent)
    : QAbstractItemModel(parent), m_sourceModel(sourceModel)
{
    lookUpColumns();
    if (sourceModel) {
        connect(sourceModel, SIGNAL(dataChanged(QModelIndex, QModelIndex)), this,
                SLOT(onDataChanged(QModelIndex, QModelIndex)));
        connect(sourceModel, SIGNAL(rowsInserted(QModelIndex, int, int)), this,
                SLOT(updateTotal()));
        connect(sourceModel, SIGNAL(rowsRemoved(QModelIndex, int, int)), this, SLOT(updateTotal()));
        // A reset of the source may change its columns, which are this model's too.
        connect(sourceModel, &QAbstractItemModel::modelAboutToBeReset, this,
                &PortfolioTotalModel::beginResetModel);
        connect(sourceModel, &QAbstractItemModel::modelReset, this, [this] {
            lookUpColumns();
            endResetModel();
            updateTotal();
        });
    }
    updateTotal();
}

PortfolioTotalModel::~PortfolioTotalModel() = default;

void PortfolioTotalModel::lookUpColumns()
{
    for (int i = 0; i < 4; ++i)
        m_greekColumns[i] =
            m_sourceModel ? m_sourceModel->fieldIndex(QLatin1String(GreekNames[i])) : -1;
}

int PortfolioTotalModel::greekOf(int column) const
{
    for (int i = 0; i < 4; ++i)
        if (column >= 0 && m_greekColumns[i] == column)
            return i;
    return -1;
}

QModelIndex PortfolioTotalModel::index(int row, int column, const QModelIndex& parent) const
{
    if (parent.isValid() || !hasIndex(row, column, parent))
        return QModelIndex();
    return createIndex(row, column);
}

QModelIndex PortfolioTotalModel::parent(const QModelIndex& child) const
{
    Q_UNUSED(child);
    return QModelIndex();
}

int PortfolioTotalModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 1;
}

int PortfolioTotalModel::columnCount(const QModelIndex& parent) const
{
    Q_UNUSED(parent);
    return m_sourceModel ? m_sourceModel->columnCount() : 0;
}

Qt::ItemFlags PortfolioTotalModel::flags(const QModelIndex& index) const
{
    return index.isValid() ? Qt::ItemIsEnabled : Qt::NoItemFlags;
}

QVariant PortfolioTotalModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return QVariant();
    const int greek = greekOf(index.column());
    switch (role) {
    case Qt::DisplayRole: {
        if (greek < 0)
            return QVariant();
        const decimal totals[4] = {m_totalDelta, m_totalGamma, m_totalVega, m_totalTheta};
        return totals[greek].toVariant();
    }
    case Qt::TextAlignmentRole:
        return int(Qt::AlignRight);
    case Qt::BackgroundRole:
        return greek < 0 ? QVariant() : QVariant(QColor(255, 255, 186));
    case Qt::UserRole + 1:
        return greek >= 0;
    default:
        return QVariant();
    }
}

void PortfolioTotalModel::onDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight)
{
    for (int column : m_greekColumns) {
        if (column >= 0 && column >= topLeft.column() && column <= bottomRight.column()) {
            updateTotal();
            return;
        }
    }
}

void PortfolioTotalModel::updateTotal()
{
    decimal totals[4];
    if (m_sourceModel) {
        const FrozenClock clock(m_sourceModel->securityModel());
        // The sums are of the values shown: position-scaled, at the scale of the display.
        const int rows = m_sourceModel->rowCount();
        for (int row = 0; row < rows; ++row) {
            if (!m_sourceModel->isRowActive(m_sourceModel->at(row), true))
                continue;
            for (int i = 0; i < 4; ++i) {
                if (m_greekColumns[i] < 0)
                    continue;
                const QVariant shown =
                    m_sourceModel->data(m_sourceModel->index(row, m_greekColumns[i]));
                totals[i] += decimal::fromVariant(shown);
            }
        }
    }
    m_totalDelta = totals[0];
    m_totalGamma = totals[1];
    m_totalVega = totals[2];
    m_totalTheta = totals[3];
    const int columns = columnCount();
    if (columns > 0)
        emit dataChanged(index(0, 0), index(0, columns - 1), QVector<int>());
}
