#include "modelmenu.h"

#include <QAbstractItemModel>
#include <QAction>
#include <QIcon>
#include <QImage>
#include <QPersistentModelIndex>
#include <QPixmap>

namespace {

// Deeper trees are cut here rather than overflowing the stack.
const int MaxDepth = 32;

QIcon iconOf(const QModelIndex& index)
{
    const QVariant decoration = index.data(Qt::DecorationRole);
    switch (decoration.userType()) {
    case QMetaType::QIcon:
        return decoration.value<QIcon>();
    case QMetaType::QPixmap:
        return QIcon(decoration.value<QPixmap>());
    case QMetaType::QImage:
        return QIcon(QPixmap::fromImage(decoration.value<QImage>()));
    default:
        return QIcon();
    }
}

} // namespace

ModelMenu::ModelMenu(QWidget* parent) : QMenu(parent)
{
    setToolTipsVisible(true);
    connect(this, &QMenu::aboutToShow, this, &ModelMenu::populate);
}

ModelMenu::~ModelMenu() = default;

QAbstractItemModel* ModelMenu::model() const
{
    return m_model;
}

void ModelMenu::setModel(QAbstractItemModel* model)
{
    m_model = model;
}

bool ModelMenu::prePopulate()
{
    return false;
}

void ModelMenu::postPopulated() {}

void ModelMenu::createBaseMenu()
{
    if (m_model)
        addItems(QModelIndex(), this);
}

void ModelMenu::addItems(const QModelIndex& parent, QMenu* menu)
{
    addItemsAt(parent, menu, 0);
}

void ModelMenu::populate()
{
    clearItems();
    const bool leading = prePopulate();
    if (m_model) {
        if (leading && m_model->rowCount() > 0)
            addSeparator();
        createBaseMenu();
    }
    postPopulated();
}

void ModelMenu::addItemsAt(const QModelIndex& parent, QMenu* menu, int depth)
{
    if (!m_model || !menu || depth >= MaxDepth)
        return;
    const int rows = m_model->rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        const QModelIndex index = m_model->index(row, 0, parent);
        if (!index.isValid())
            continue;
        const QString text = index.data(Qt::DisplayRole).toString();
        const bool enabled = index.flags() & Qt::ItemIsEnabled;
        if (m_model->hasChildren(index)) {
            auto* submenu = new QMenu(text, menu);
            m_submenus.append(submenu);
            submenu->setIcon(iconOf(index));
            submenu->setToolTipsVisible(true);
            submenu->menuAction()->setToolTip(index.data(Qt::ToolTipRole).toString());
            submenu->menuAction()->setEnabled(enabled);
            addItemsAt(index, submenu, depth + 1);
            menu->addMenu(submenu);
            continue;
        }
        auto* action = new QAction(iconOf(index), text, menu);
        action->setToolTip(index.data(Qt::ToolTipRole).toString());
        action->setEnabled(enabled);
        if (index.flags() & Qt::ItemIsUserCheckable) {
            action->setCheckable(true);
            action->setChecked(index.data(Qt::CheckStateRole).toInt() == Qt::Checked);
        }
        const QPersistentModelIndex item(index);
        connect(action, &QAction::triggered, this, [this, item] {
            // The model may have changed since the menu opened.
            if (item.isValid())
                emit activated(QModelIndex(item));
        });
        menu->addAction(action);
    }
}

void ModelMenu::clearItems()
{
    clear();
    for (const QPointer<QMenu>& submenu : qAsConst(m_submenus))
        delete submenu.data();
    m_submenus.clear();
}
