#include "comboboxsorted.h"

#include <QSortFilterProxyModel>

ComboBoxSorted::ComboBoxSorted(QWidget* parent)
    : ElideComboBox(parent), m_proxy(new QSortFilterProxyModel(this))
{
    m_proxy->setDynamicSortFilter(true);
}

ComboBoxSorted::~ComboBoxSorted() = default;

void ComboBoxSorted::setSortedModel(QAbstractItemModel* model, int column, int currentRow,
                                    Qt::CaseSensitivity sensitivity)
{
    if (column < 0 || (model && column >= model->columnCount()))
        column = 0;
    m_proxy->setSourceModel(model);
    m_proxy->setSortRole(Qt::DisplayRole);
    m_proxy->setSortCaseSensitivity(sensitivity);
    m_proxy->sort(column, Qt::AscendingOrder);
    if (this->model() != m_proxy)
        setModel(m_proxy);
    setModelColumn(column);
    setCurrentSourceIndex(model ? model->index(currentRow, column) : QModelIndex());
}

QAbstractItemModel* ComboBoxSorted::sourceModel() const
{
    return m_proxy->sourceModel();
}

QModelIndex ComboBoxSorted::currentSourceIndex() const
{
    if (currentIndex() < 0)
        return QModelIndex();
    return m_proxy->mapToSource(m_proxy->index(currentIndex(), modelColumn()));
}

void ComboBoxSorted::setCurrentSourceIndex(const QModelIndex& index)
{
    if (index.isValid() && index.model() != m_proxy->sourceModel())
        return;
    const QModelIndex shown = m_proxy->mapFromSource(index);
    setCurrentIndex(shown.isValid() ? shown.row() : -1);
}
