#include "optcalcwindowfactory.h"

#include "optcalcwindow.h"

#include "basic_views/basecodeselectormodel.h"

OptCalcWindowFactory::OptCalcWindowFactory(QObject* parent) : QObject(parent) {}

OptCalcWindowFactory::~OptCalcWindowFactory() = default;

QByteArray OptCalcWindowFactory::viewId()
{
    return QByteArrayLiteral("OptCalcWindow");
}

QString OptCalcWindowFactory::displayName()
{
    return tr("Опционный калькулятор");
}

QIcon OptCalcWindowFactory::icon()
{
    return QIcon(QStringLiteral(":/oc/icons/windows/optcalc.png"));
}

IView* OptCalcWindowFactory::create(const QString& extraKey, QWidget* parent)
{
    // The base codes with options as they are now, so that a code that has lost its
    // options opens an empty window. The model is left to the factory and goes with it.
    auto* baseCodes = new BaseCodeSelectorModel(this);
    baseCodes->setItemsCheckable(false);
    baseCodes->setFilterSectype(QLatin1Char('O'));
    baseCodes->populate();
    const bool hasOptions = baseCodes->values().contains(extraKey, Qt::CaseSensitive);
    return new OptCalcWindow(hasOptions ? extraKey : QString(), parent);
}
