#pragma once

#include "gui/commandcontainer.h"

class OptionCalculatorMenu;

// The trade menu's entry of the calculator: its submenu lists the base codes with options
// rather than commands, and is one menu kept for the container's life.
class OptionCalculatorContainer : public CommandContainer
{
    Q_OBJECT

public:
    explicit OptionCalculatorContainer(const QByteArray& id, QObject* parent = nullptr);
    ~OptionCalculatorContainer() override;

    QMenu* createMenu(QWidget* parent) override;

private:
    OptionCalculatorMenu* m_menu = nullptr;
};
