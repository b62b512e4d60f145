#pragma once

#include "gui_global.h"

#include <QList>
#include <QMenu>
#include <QModelIndex>
#include <QPointer>

class QAbstractItemModel;

// A menu that lists the rows of an item model, filled afresh each time it opens, so that it
// shows the model as it is at that moment. An item's display text, decoration and tool tip
// make its entry; an item with children becomes a submenu. Picking an entry emits
// activated with the item's index.
//
// Each opening runs, in order: prePopulate, which may add entries of its own above the
// model's and may set or refresh the model; createBaseMenu, which adds the model's items;
// postPopulated, which may add entries below them.
class GUI_EXPORT ModelMenu : public QMenu
{
    Q_OBJECT
public:
    explicit ModelMenu(QWidget* parent = nullptr);
    ~ModelMenu() override;

    QAbstractItemModel* model() const;
    // The menu does not own the model.
    virtual void setModel(QAbstractItemModel* model);

signals:
    void activated(const QModelIndex& index);

protected:
    // Before the menu is filled: returns true when it added entries that the model's items
    // should be set apart from by a separator. The default adds nothing.
    virtual bool prePopulate();
    // After the model's items are in; the default adds nothing.
    virtual void postPopulated();
    // Adds the model's items from the top; only called when there is a model.
    virtual void createBaseMenu();

    // Adds the children of parent to menu, with submenus for items that have children.
    void addItems(const QModelIndex& parent, QMenu* menu);

private:
    void populate();
    void addItemsAt(const QModelIndex& parent, QMenu* menu, int depth);
    void clearItems();

    QPointer<QAbstractItemModel> m_model;
    QList<QPointer<QMenu>> m_submenus;
};
