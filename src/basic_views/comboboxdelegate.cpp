#include "comboboxdelegate.h"

#include "comboboxcontainerfactory.h"

#include <QComboBox>

ComboBoxDelegate::ComboBoxDelegate(ComboBoxContainerFactory* factory, QObject* parent)
    : ItemDelegate(parent), m_factory(factory)
{
    if (factory && !factory->parent())
        factory->setParent(this);
}

ComboBoxDelegate::~ComboBoxDelegate() = default;

QWidget* ComboBoxDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                        const QModelIndex& index) const
{
    if (!m_factory)
        return nullptr;
    QComboBox* box = m_factory->createContainer(parent, option, index);
    if (!box)
        return nullptr;
    auto* self = const_cast<ComboBoxDelegate*>(this);
    connect(box, QOverload<int>::of(&QComboBox::activated), self, [self, box] {
        emit self->commitData(box);
        emit self->closeEditor(box);
    });
    return box;
}

void ComboBoxDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    auto* box = qobject_cast<QComboBox*>(editor);
    if (!box) {
        ItemDelegate::setEditorData(editor, index);
        return;
    }
    int row = box->findData(index.data(Qt::EditRole), Qt::EditRole);
    if (row < 0)
        row = box->findText(index.data(Qt::DisplayRole).toString());
    if (row >= 0)
        box->setCurrentIndex(row);
    else if (box->isEditable())
        box->setEditText(index.data(Qt::DisplayRole).toString());
}

void ComboBoxDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                    const QModelIndex& index) const
{
    auto* box = qobject_cast<QComboBox*>(editor);
    if (!box) {
        ItemDelegate::setModelData(editor, model, index);
        return;
    }
    const int row = box->currentIndex();
    if (box->isEditable() && (row < 0 || box->itemText(row) != box->currentText())) {
        commitModelData(model, index, box->currentText(), Qt::EditRole);
        return;
    }
    if (row >= 0)
        commitModelData(model, index, box->itemData(row, Qt::EditRole), Qt::EditRole);
}
