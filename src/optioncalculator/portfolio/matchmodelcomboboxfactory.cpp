#include "matchmodelcomboboxfactory.h"

#include "portfoliomodel.h"

#include "marketdata/optcalcsecuritymodel.h"
#include "marketdata/sectreemodel.h"

#include "basic_views/itemdelegate.h"
#include "contact/objectdeleter.h"
#include "gui/comboboxsorted.h"

MatchModelComboBoxFactory::MatchModelComboBoxFactory(OptCalcSecurityModel* model, int column,
                                                     const QList<int>& matchColumns,
                                                     QObject* parent)
    : ComboBoxContainerFactory(parent), m_model(model), m_column(column),
      m_matchColumns(matchColumns)
{
}

MatchModelComboBoxFactory::~MatchModelComboBoxFactory() = default;

QMap<int, FieldConstValue> MatchModelComboBoxFactory::matchValues(const Record& security) const
{
    QMap<int, FieldConstValue> values;
    for (int column : m_matchColumns)
        values.insert(column, FieldConstValue::fromValue(security.data(column)));
    return values;
}

ColumnModelDelegate* MatchModelComboBoxFactory::createColumnDelegate() const
{
    return nullptr;
}

QComboBox* MatchModelComboBoxFactory::createContainer(QWidget* parent,
                                                      const QStyleOptionViewItem& option,
                                                      const QModelIndex& index) const
{
    Q_UNUSED(option);
    const auto* portfolio = qobject_cast<const PortfolioModel*>(index.model());
    if (!m_model || !portfolio || m_column < 0)
        return nullptr;
    const Record security = portfolio->securityRecord(portfolio->recordByIndex(index));
    if (security.isNull())
        return nullptr;

    auto* box = new ComboBoxSorted(parent);
    box->setItemDelegate(new ItemDelegate(box));
    box->setEditable(isEditable());
    // The list lives as long as the box.
    auto* deleter = new ObjectDeleter;
    deleter->addParent(box);
    auto* choices = new SecTreeModel(m_model, m_column, deleter);
    choices->setFieldFilter(matchValues(security));
    if (ColumnModelDelegate* delegate = createColumnDelegate())
        choices->setColumnDelegate(m_column, delegate);
    choices->build();

    const QVariant current = choices->recordData(security, m_column, Qt::EditRole);
    const QModelIndexList found =
        choices->match(choices->index(0, m_column), Qt::EditRole, current, 1, Qt::MatchExactly);
    box->setSortedModel(choices, m_column, found.isEmpty() ? -1 : found.first().row(),
                        Qt::CaseInsensitive);
    return box;
}
