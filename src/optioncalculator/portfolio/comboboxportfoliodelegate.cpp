#include "comboboxportfoliodelegate.h"

#include <QComboBox>

ComboBoxPortfolioDelegate::ComboBoxPortfolioDelegate(ComboBoxContainerFactory* factory,
                                                     QObject* parent)
    : ComboBoxDelegate(factory, parent)
{
}

ComboBoxPortfolioDelegate::~ComboBoxPortfolioDelegate() = default;

void ComboBoxPortfolioDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    // The factory made the row's own security's value current, which the cell's text does
    // not find in every column (an option type shows as the kind of option).
    auto* box = qobject_cast<QComboBox*>(editor);
    if (box && box->currentIndex() >= 0)
        return;
    ComboBoxDelegate::setEditorData(editor, index);
}

void ComboBoxPortfolioDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                             const QModelIndex& index) const
{
    auto* box = qobject_cast<QComboBox*>(editor);
    if (!box) {
        ComboBoxDelegate::setModelData(editor, model, index);
        return;
    }
    const int row = box->currentIndex();
    if (row < 0 || !box->model())
        return;
    const QVariant security = box->model()->index(row, box->modelColumn()).data(Qt::UserRole);
    commitModelData(model, index, security, Qt::EditRole);
}
