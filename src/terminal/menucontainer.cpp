#include "menucontainer.h"

#include <QMenu>

MenuContainer::MenuContainer(const QByteArray& id, QMenu* menu, QObject* parent)
    : CommandContainer(id, parent), m_menu(menu)
{
    setTitle(menu->title());
}

MenuContainer::~MenuContainer()
{
    delete m_menu.data();
}

QMenu* MenuContainer::createMenu(QWidget*)
{
    return m_menu;
}
