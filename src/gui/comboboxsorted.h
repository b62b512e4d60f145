#pragma once

#include "elidecombobox.h"
#include "gui_global.h"

#include <QModelIndex>

class QAbstractItemModel;
class QSortFilterProxyModel;

// A combo box that lists a model sorted by the texts of one column, and keeps it sorted as
// the model changes. The model stays the caller's; the box reads it through a proxy, so
// rows of the box are not rows of the model: currentSourceIndex maps back.
class GUI_EXPORT ComboBoxSorted : public ElideComboBox
{
    Q_OBJECT
public:
    explicit ComboBoxSorted(QWidget* parent = nullptr);
    ~ComboBoxSorted() override;

    // Shows model's column sorted by display text, compared with the case sensitivity given,
    // and makes the item of the model's row currentRow the current one (none for a row out
    // of range). A null model empties the box.
    void setSortedModel(QAbstractItemModel* model, int column, int currentRow,
                        Qt::CaseSensitivity sensitivity);
    QAbstractItemModel* sourceModel() const;

    // The model's index of the current item; invalid when there is none.
    QModelIndex currentSourceIndex() const;
    // Makes the item of the model's index current; an index of another model is ignored.
    void setCurrentSourceIndex(const QModelIndex& index);

private:
    QSortFilterProxyModel* m_proxy;
};
