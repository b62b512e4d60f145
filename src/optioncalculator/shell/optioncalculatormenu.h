#pragma once

#include "gui/modelmenu.h"

// The submenu of base codes that have options; picking one opens a calculator for it.
class OptionCalculatorMenu : public ModelMenu
{
    Q_OBJECT

public:
    explicit OptionCalculatorMenu(QWidget* parent = nullptr);
    ~OptionCalculatorMenu() override;

public slots:
    void createOptCalcWindow(const QModelIndex& index);

protected:
    bool prePopulate() override;
};
