// The terminal is a release build, and the toolkit may refuse a plug-in whose metadata
// says otherwise; so this unit, which holds the metadata, is a release build in every
// configuration.
#ifndef QT_NO_DEBUG
#define QT_NO_DEBUG
#endif

#include "commandids.h"
#include "optioncalculator.h"

#include "optcalcwindowfactory.h"
#include "optioncalculatorcontainer.h"

#include "gui/actionmanager.h"
#include "gui/command.h"
#include "gui/commandcontainer.h"

#include <QIcon>
#include <QKeySequence>

namespace {

struct CommandDef
{
    const char* id;
    const char* text;
    QKeySequence::StandardKey shortcut;
};

// In the order the shortcut settings list them.
const CommandDef Commands[] = {
    {CommandId::AddPosition, QT_TRANSLATE_NOOP("OptionCalculator", "Добавить позицию"),
     QKeySequence::UnknownKey},
    {CommandId::AddApproach, QT_TRANSLATE_NOOP("OptionCalculator", "Добавить стратегию"),
     QKeySequence::UnknownKey},
    {CommandId::DelPosition, QT_TRANSLATE_NOOP("OptionCalculator", "Удалить позицию"),
     QKeySequence::UnknownKey},
    {CommandId::Clear, QT_TRANSLATE_NOOP("OptionCalculator", "Очистить"), QKeySequence::UnknownKey},
    {CommandId::Import, QT_TRANSLATE_NOOP("OptionCalculator", "Импортировать данные"),
     QKeySequence::UnknownKey},
    {CommandId::PartialCurves,
     QT_TRANSLATE_NOOP("OptionCalculator", "Отдельные графики для каждой позиции"),
     QKeySequence::UnknownKey},
    {CommandId::SummaryCurves, QT_TRANSLATE_NOOP("OptionCalculator", "Графики по всему портфелю"),
     QKeySequence::UnknownKey},
    {CommandId::ConvertXAxisValues, QT_TRANSLATE_NOOP("OptionCalculator", "Проценты на оси X"),
     QKeySequence::UnknownKey},
    {CommandId::GridEnable, QT_TRANSLATE_NOOP("OptionCalculator", "Мелкая сетка"),
     QKeySequence::UnknownKey},
    {CommandId::AutoScale, QT_TRANSLATE_NOOP("OptionCalculator", "Автомасштабирование"),
     QKeySequence::UnknownKey},
    {CommandId::AddPostponedOrders, QT_TRANSLATE_NOOP("OptionCalculator", "Подготовить пакет заявок"),
     QKeySequence::UnknownKey},
    {CommandId::LoadReal, QT_TRANSLATE_NOOP("OptionCalculator", "Загрузить в модельный портфель"),
     QKeySequence::UnknownKey},
    {CommandId::Undo, QT_TRANSLATE_NOOP("OptionCalculator", "Отменить"), QKeySequence::Undo},
    {CommandId::Redo, QT_TRANSLATE_NOOP("OptionCalculator", "Вернуть"), QKeySequence::Redo},
    {CommandId::SaveCurrentPlotAs, QT_TRANSLATE_NOOP("OptionCalculator", "Сохранить график как..."),
     QKeySequence::UnknownKey},
};

} // namespace

OptionCalculator::OptionCalculator()
{
    m_factories.append(new OptCalcWindowFactory(this));
}

OptionCalculator::~OptionCalculator() = default;

QLatin1String OptionCalculator::pluginName()
{
    return QLatin1String("optioncalculator");
}

QString OptionCalculator::displayName()
{
    return tr("Опционный калькулятор");
}

QString OptionCalculator::vendor()
{
    return tr("Кестрел");
}

QString OptionCalculator::version()
{
    return QStringLiteral("4.05.0599");
}

QString OptionCalculator::description()
{
    return tr("Опционный калькулятор");
}

bool OptionCalculator::initialize(ICore*)
{
    addTradeMenuEntry();
    return registerCommands();
}

void OptionCalculator::pluginHookFirst() {}

void OptionCalculator::pluginHookSecond() {}

QList<IViewFactory*> OptionCalculator::viewFactories()
{
    return m_factories;
}

void OptionCalculator::addTradeMenuEntry()
{
    CommandContainer* tradeMenu = ActionManager::instance()->container(
        QStringLiteral("TradeMenu"), tr("Тор&говля"), "MenuBar", QByteArray(), "15");
    auto* entry = new OptionCalculatorContainer("OptionCalc", this);
    entry->setTitle(tr("&Опционный калькулятор..."));
    entry->setIcon(QIcon(QStringLiteral(":/oc/icons/windows/optcalc.png")));
    tradeMenu->addContainer(entry, "6", "1");
}

bool OptionCalculator::registerCommands()
{
    CommandContainer* toolBar = ActionManager::instance()->container(
        QStringLiteral("OptCalcToolBar"), tr("Опционный калькулятор: Панель инструментов"));
    const QString category = tr("Опционный калькулятор");
    for (const CommandDef& def : Commands) {
        auto* command = new Command(def.id, this);
        command->setCategory(category);
        command->setDefaultText(tr(def.text));
        command->setDefaultShortcut(QKeySequence(def.shortcut));
        command->setShortcutVisibleInToolTip(true);
        toolBar->addCommand(command);
    }
    return true;
}

#include "moc_optioncalculator.cpp"
