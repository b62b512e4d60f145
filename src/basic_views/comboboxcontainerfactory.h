#pragma once

#include "basic_views_global.h"

#include <QAbstractItemModel>
#include <QObject>
#include <QPointer>

class QComboBox;
class QModelIndex;
class QStyleOptionViewItem;
class QWidget;

// Makes the combo boxes that a ComboBoxDelegate edits cells with. This one lists a column
// of a model of choices, sorted by text, with the item of the cell's present value
// current; subclasses build other lists in createContainer().
class BASIC_VIEWS_EXPORT ComboBoxContainerFactory : public QObject
{
    Q_OBJECT
public:
    explicit ComboBoxContainerFactory(QObject* parent = nullptr);
    // The choices are the column of the model, which stays the caller's.
    ComboBoxContainerFactory(QAbstractItemModel* choices, int column, QObject* parent = nullptr);
    ~ComboBoxContainerFactory() override;

    QAbstractItemModel* choices() const { return m_choices; }
    int column() const { return m_column; }
    void setEditable(bool editable) { m_editable = editable; }
    bool isEditable() const { return m_editable; }

    // A combo box that edits the cell, a child of parent; null when there is nothing to
    // choose from.
    virtual QComboBox* createContainer(QWidget* parent, const QStyleOptionViewItem& option,
                                       const QModelIndex& index) const;

private:
    QPointer<QAbstractItemModel> m_choices;
    int m_column = 0;
    bool m_editable = false;
};
