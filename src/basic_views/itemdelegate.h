#pragma once

#include "basic_views_global.h"

#include <QStyledItemDelegate>

// The item delegate of the terminal's views.
//
// Models refuse a value by throwing a QString with the reason; every write of this
// delegate goes through commitModelData(), which catches it and tells the user in a
// message box, so that the model keeps what it had and the view goes on.
//
// A cell that holds only a check box has it centred; indicatorRect() says where the box
// lies, for painting and for clicks alike.
class BASIC_VIEWS_EXPORT ItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    explicit ItemDelegate(QObject* parent = nullptr);
    ~ItemDelegate() override;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    // Where the check box of the cell lies; empty for a cell without one.
    virtual QRect indicatorRect(const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // Writes the value into the model; false when the model refused it, with a thrown text
    // shown to the user.
    bool commitModelData(QAbstractItemModel* model, const QModelIndex& index, const QVariant& value,
                         int role) const;

protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

    // Whether the cell shows nothing but its check box.
    static bool isCheckOnly(const QModelIndex& index);

private:
    void showError(const QString& text) const;

    // A refused value leaves the editor open; closing the message box moves the focus,
    // which would commit the same value again.
    mutable bool m_reporting = false;
};
