#pragma once

#include "gui/commandcontainer.h"

#include <QPointer>

#include <QMenu>

// A container whose menu the host keeps and fills by itself, such as the list of windows:
// createMenu() hands out that one menu as it is.
class MenuContainer : public CommandContainer
{
    Q_OBJECT

public:
    // Takes the menu, which must have no parent.
    MenuContainer(const QByteArray& id, QMenu* menu, QObject* parent = nullptr);
    ~MenuContainer() override;

    QMenu* menu() const { return m_menu; }

    QMenu* createMenu(QWidget* parent) override;

private:
    QPointer<QMenu> m_menu;
};
