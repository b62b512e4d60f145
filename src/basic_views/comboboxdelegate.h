#pragma once

#include "basic_views_global.h"
#include "comboboxcontainerfactory.h"
#include "itemdelegate.h"

#include <QPointer>

// Edits cells with a combo box from a factory. The value written is the chosen item's
// edit value, or the typed text of an editable box; choosing an item writes it at once.
class BASIC_VIEWS_EXPORT ComboBoxDelegate : public ItemDelegate
{
    Q_OBJECT
public:
    // Takes the factory as a child unless it has a parent already.
    explicit ComboBoxDelegate(ComboBoxContainerFactory* factory, QObject* parent = nullptr);
    ~ComboBoxDelegate() override;

    ComboBoxContainerFactory* factory() const { return m_factory; }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;

private:
    QPointer<ComboBoxContainerFactory> m_factory;
};
