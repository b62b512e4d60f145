#include "optcalcwindow.h"

#include "commandids.h"
#include "optcalcdockwidget.h"

#include "basic_views/mainviewsettingspage.h"
#include "c_api/icore.h"
#include "c_api/iviewfactory.h"
#include "c_api/viewregistry.h"
#include "database/settings.h"
#include "gui/action.h"

#include <QIcon>
#include <QMenu>
#include <QToolBar>

namespace {

// Makes the splitters between the docks visible.
const char* const StyleSheet =
    ".OptCalcWindow::separator::vertical {background: dimgray;width:  2px;height: 2px;"
    "border-radius: 2px;}"
    ".OptCalcWindow::separator::horizontal {background: dimgray;width:  2px;height: 2px;"
    "border-radius: 2px;}";

const char* const UserTitleProperty = "userTitle";
const char* const ExtraKeyProperty = "extraKey";

QAction* makeViewAction(const QString& iconFile, const QString& text, QObject* parent)
{
    auto* action = new QAction(QIcon(iconFile), text, parent);
    action->setCheckable(true);
    // Panels show at first, as a window restored without settings has them.
    action->setChecked(true);
    return action;
}

Action* makeModeAction(const QString& iconFile, const QByteArray& id, QObject* parent)
{
    // The text comes from the command of the same id.
    auto* action = new Action(QIcon(iconFile), QString(), id, parent);
    action->setCheckable(true);
    return action;
}

void setCheckedSilently(QAction* action, bool checked)
{
    const bool blocked = action->blockSignals(true);
    action->setChecked(checked);
    action->blockSignals(blocked);
}

} // namespace

OptCalcWindow::OptCalcWindow(const QString& baseCode, QWidget* parent)
    : QMainWindow(parent), baseCode(baseCode)
{
    plotViewAction = makeViewAction(QStringLiteral(":oc/icons/plot@1x.png"), tr("Графики"), this);
    virtualPortfolioViewAction = makeViewAction(QStringLiteral(":oc/icons/vportfolio@1x.png"),
                                                tr("Модельный портфель"), this);
    realPortfolioViewAction = makeViewAction(QStringLiteral(":oc/icons/rportfolio@1x.png"),
                                             tr("Реальный портфель"), this);
    connect(plotViewAction, SIGNAL(toggled(bool)), this, SLOT(onPlotViewEnabled(bool)));
    connect(virtualPortfolioViewAction, SIGNAL(toggled(bool)), this,
            SLOT(onVirtualPortfolioViewEnabled(bool)));
    connect(realPortfolioViewAction, SIGNAL(toggled(bool)), this,
            SLOT(onRealPortfolioViewEnabled(bool)));

    partialCurvesAction =
        makeModeAction(QStringLiteral(":oc/icons/separate@1x.png"), CommandId::PartialCurves, this);
    summaryCurvesAction =
        makeModeAction(QStringLiteral(":oc/icons/sigma@1x.png"), CommandId::SummaryCurves, this);
    convertXAxisAction =
        makeModeAction(QStringLiteral(":oc/icons/percent@1x.png"), CommandId::ConvertXAxisValues, this);
    gridAction = makeModeAction(QStringLiteral(":oc/icons/grid@1x.png"), CommandId::GridEnable, this);
    autoScaleAction =
        makeModeAction(QStringLiteral(":oc/icons/autoScale@1x.png"), CommandId::AutoScale, this);
    // The defaults of a window restored without settings: one curve mode is always on.
    summaryCurvesAction->setChecked(true);
    autoScaleAction->setChecked(true);
    exportAction = new Action(tr("Экспортировать"), "Export", this);
    saveCurrentPlotAction = new Action(tr("Сохранить график как..."), CommandId::SaveCurrentPlotAs, this);

    auto* toolBar = new QToolBar(this);
    toolBar->setObjectName(QStringLiteral("toolBar"));
    toolBar->setIconSize(QSize(16, 16));
    toolBar->setMovable(false);
    toolBar->addAction(plotViewAction);
    toolBar->addAction(realPortfolioViewAction);
    toolBar->addAction(virtualPortfolioViewAction);
    // Shortcuts work only for actions of the window itself.
    addActions(toolBar->actions());
    addAction(saveCurrentPlotAction);
    addToolBar(toolBar);

    if (!baseCode.isEmpty())
        buildWindow();
}

OptCalcWindow::~OptCalcWindow() = default;

void OptCalcWindow::initCore(ICore*) {}

QList<IViewSettingsPage*> OptCalcWindow::getSettingsPages(QObject* parent)
{
    QList<IViewSettingsPage*> pages;
    pages.append(new MainViewSettingsPage(parent));
    return pages;
}

void OptCalcWindow::populateActionsAt(const QPoint&, QMenu* menu)
{
    if (!menu)
        return;
    menu->addAction(plotViewAction);
    menu->addAction(realPortfolioViewAction);
    menu->addAction(virtualPortfolioViewAction);
    menu->addSeparator();
    menu->addAction(convertXAxisAction);
    menu->addAction(gridAction);
    menu->addAction(autoScaleAction);
    menu->addSeparator();
}

void OptCalcWindow::store(Settings& settings) const
{
    // A shell leaves no trace in a saved workspace.
    if (!built)
        return;
    settings.setValue(QStringLiteral("baseCode"), baseCode);
    settings.setValue(QStringLiteral("account"), account);
    settings.setValue(QStringLiteral("windowState"), saveState(0));
    writeFlags(settings);
}

void OptCalcWindow::storeTemplate(Settings& settings)
{
    // A template is the layout without the base code, so that it fits any calculator.
    settings.setValue(QStringLiteral("account"), account);
    settings.setValue(QStringLiteral("windowState"), saveState(0));
    writeFlags(settings);
}

void OptCalcWindow::restoreTemplate(const Settings&, const Settings& second)
{
    if (!built && baseCode.isEmpty()) {
        const QString key = property(ExtraKeyProperty).toString();
        if (key.isEmpty())
            return;
        baseCode = key;
        buildWindow();
    }
    restoreState(second.value(QStringLiteral("windowState")).toByteArray());
    setAccount(second.value(QStringLiteral("account")).toString());
    readViewFlags(second);
    readActionStates(second);
}

void OptCalcWindow::restore(const Settings&, const Settings& second)
{
    if (baseCode.isEmpty())
        baseCode = second.value(QStringLiteral("baseCode")).toString();
    if (baseCode.isEmpty()) {
        // A title of the form "RI - ..." still tells the code of a window saved without it.
        const QStringList parts = windowTitle().split(QLatin1Char('-'), Qt::KeepEmptyParts);
        if (parts.size() == 2)
            baseCode = parts.first().trimmed();
    }
    // Read first: building sets the title afresh, and the user's title must survive it.
    const QString userTitle = property(UserTitleProperty).toString();
    if (!built)
        buildWindow();
    setUserTitle(userTitle);
    setAccount(second.value(QStringLiteral("account")).toString());
    readActionStates(second);
    restoreState(second.value(QStringLiteral("windowState")).toByteArray());
    readViewFlags(second);
}

void OptCalcWindow::apply() {}

QSize OptCalcWindow::defaultSize()
{
    return QSize(900, 600);
}

void OptCalcWindow::setUserTitle(const QString& text)
{
    IViewFactory* own = factory();
    const QString kind = own ? own->displayName() : QString();
    setProperty(UserTitleProperty, text);
    const QString name = text.isEmpty() ? baseCode : text;
    QString title;
    if (name.isEmpty() || kind.isEmpty())
        title = name.isEmpty() ? kind : name;
    else
        title = QStringLiteral("%1 - %2").arg(name, kind);
    // Queued: the terminal may still be setting up the frame, which takes the title over.
    QMetaObject::invokeMethod(this, "setWindowTitle", Qt::QueuedConnection, Q_ARG(QString, title));
}

void OptCalcWindow::beginSettingsGroup(Settings& settings)
{
    IViewFactory* own = factory();
    const QString viewId =
        own ? QString::fromUtf8(own->viewId()) : QString::fromLatin1(staticMetaObject.className());
    const QString viewName = QStringLiteral("%1 - %2").arg(viewId, baseCode);
    const QString displayGroup =
        QStringLiteral("%1 - %2").arg(baseCode, own ? own->displayName() : QString());
    const QStringList groups = settings.childGroups();
    if (!groups.contains(viewName) && groups.contains(displayGroup))
        settings.beginGroup(displayGroup);
    else
        settings.beginGroup(viewName);
}

void OptCalcWindow::onPlotViewEnabled(bool enable)
{
    if (plotDock)
        plotDock->setVisible(enable);
}

void OptCalcWindow::onVirtualPortfolioViewEnabled(bool enable)
{
    if (virtualPortfolioDock)
        virtualPortfolioDock->setVisible(enable);
}

void OptCalcWindow::onRealPortfolioViewEnabled(bool enable)
{
    if (realPortfolioDock)
        realPortfolioDock->setVisible(enable);
}

void OptCalcWindow::setAccount(const QString& value)
{
    if (value == account)
        return;
    account = value;
}

void OptCalcWindow::showEvent(QShowEvent* event)
{
    setFocus(Qt::OtherFocusReason);
    QMainWindow::showEvent(event);
}

IViewFactory* OptCalcWindow::factory()
{
    ICore* core = ICore::instance();
    return core ? core->viewFactories()->factory(staticMetaObject.className()) : nullptr;
}

void OptCalcWindow::buildWindow()
{
    setStyleSheet(QString::fromLatin1(StyleSheet));
    setObjectName(QStringLiteral("OptCalcWindow"));
    built = true;
    setUserTitle(QString());
}

void OptCalcWindow::writeFlags(Settings& settings) const
{
    settings.setValue(QStringLiteral("plotView"), plotViewAction->isChecked());
    settings.setValue(QStringLiteral("realPortfolioView"), realPortfolioViewAction->isChecked());
    settings.setValue(QStringLiteral("virtualPortfolioView"),
                      virtualPortfolioViewAction->isChecked());
    settings.setValue(QStringLiteral("convertXAxisValues"), convertXAxisAction->isChecked());
    settings.setValue(QStringLiteral("gridEnabled"), gridAction->isChecked());
    settings.setValue(QStringLiteral("autoScaleEnabled"), autoScaleAction->isChecked());
}

void OptCalcWindow::readViewFlags(const Settings& settings)
{
    plotViewAction->setChecked(settings.value(QStringLiteral("plotView"), true).toBool());
    realPortfolioViewAction->setChecked(
        settings.value(QStringLiteral("realPortfolioView"), true).toBool());
    virtualPortfolioViewAction->setChecked(
        settings.value(QStringLiteral("virtualPortfolioView"), true).toBool());
}

void OptCalcWindow::readActionStates(const Settings& settings)
{
    // Silently: a restore sets the modes of the calculator once, not once per action.
    const bool summary = settings.value(QStringLiteral("summaryCurves"), false).toBool();
    const bool partial = settings.value(QStringLiteral("partialCurves"), false).toBool();
    setCheckedSilently(summaryCurvesAction, summary || !partial);
    setCheckedSilently(partialCurvesAction, partial);
    setCheckedSilently(convertXAxisAction,
                       settings.value(QStringLiteral("convertXAxisValues"), false).toBool());
    gridAction->setChecked(settings.value(QStringLiteral("gridEnabled"), false).toBool());
    autoScaleAction->setChecked(settings.value(QStringLiteral("autoScaleEnabled"), true).toBool());
}
