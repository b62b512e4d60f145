#include "comboboxcontainerfactory.h"

#include "itemdelegate.h"

#include "gui/comboboxsorted.h"

#include <QAbstractItemModel>
#include <QStyleOptionViewItem>

ComboBoxContainerFactory::ComboBoxContainerFactory(QObject* parent) : QObject(parent) {}

ComboBoxContainerFactory::ComboBoxContainerFactory(QAbstractItemModel* choices, int column,
                                                   QObject* parent)
    : QObject(parent), m_choices(choices), m_column(qMax(0, column))
{
}

ComboBoxContainerFactory::~ComboBoxContainerFactory() = default;

QComboBox* ComboBoxContainerFactory::createContainer(QWidget* parent,
                                                     const QStyleOptionViewItem& option,
                                                     const QModelIndex& index) const
{
    Q_UNUSED(option);
    if (!m_choices || m_column >= m_choices->columnCount())
        return nullptr;
    // The row of the choices that holds the cell's value, by value first, then by text.
    int current = -1;
    const QModelIndex start = m_choices->index(0, m_column);
    if (start.isValid()) {
        QModelIndexList found =
            m_choices->match(start, Qt::EditRole, index.data(Qt::EditRole), 1, Qt::MatchExactly);
        if (found.isEmpty())
            found = m_choices->match(start, Qt::DisplayRole, index.data(Qt::DisplayRole), 1,
                                     Qt::MatchFixedString | Qt::MatchCaseSensitive);
        if (!found.isEmpty())
            current = found.first().row();
    }
    auto* box = new ComboBoxSorted(parent);
    box->setItemDelegate(new ItemDelegate(box));
    box->setEditable(m_editable);
    box->setSortedModel(m_choices, m_column, current, Qt::CaseInsensitive);
    return box;
}
