#include "optioncalculatorcontainer.h"

#include "optioncalculatormenu.h"

OptionCalculatorContainer::OptionCalculatorContainer(const QByteArray& id, QObject* parent)
    : CommandContainer(id, parent)
{
}

OptionCalculatorContainer::~OptionCalculatorContainer()
{
    delete m_menu;
}

QMenu* OptionCalculatorContainer::createMenu(QWidget*)
{
    // Without a parent, so that the menus that show it neither take nor delete it.
    if (!m_menu)
        m_menu = new OptionCalculatorMenu(nullptr);
    m_menu->setTitle(title());
    m_menu->setIcon(icon());
    return m_menu;
}
