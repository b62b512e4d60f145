#include "optioncalculatormenu.h"

#include "basic_views/basecodeselectormodel.h"
#include "c_api/iwindowmanager.h"

OptionCalculatorMenu::OptionCalculatorMenu(QWidget* parent) : ModelMenu(parent)
{
    connect(this, SIGNAL(activated(QModelIndex)), this, SLOT(createOptCalcWindow(QModelIndex)));
}

OptionCalculatorMenu::~OptionCalculatorMenu() = default;

void OptionCalculatorMenu::createOptCalcWindow(const QModelIndex& index)
{
    if (!index.isValid())
        return;
    const QString baseCode = index.data(Qt::EditRole).toString();
    IWindowManager* windows = IWindowManager::instance();
    if (baseCode.isEmpty() || !windows)
        return;
    windows->openView(QStringLiteral("OptCalcWindow"), baseCode);
}

bool OptionCalculatorMenu::prePopulate()
{
    if (!model()) {
        auto* baseCodes = new BaseCodeSelectorModel(this);
        baseCodes->setItemsCheckable(false);
        baseCodes->setFilterSectype(QLatin1Char('O'));
        setModel(baseCodes);
    }
    // Read again at each opening: instruments come and go while the terminal runs.
    if (auto* baseCodes = qobject_cast<BaseCodeSelectorModel*>(model()))
        baseCodes->populate();
    return false;
}
