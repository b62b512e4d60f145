#include "portfoliotableview.h"

#include "commandids.h"
#include "comboboxportfoliodelegate.h"
#include "matchmodelcomboboxdelegatefactory.h"
#include "portfolioitemdelegate.h"
#include "portfoliototalmodel.h"
#include "viewwrapperportfoliotable.h"
#include "virtualportfoliomodel.h"

#include "basic_views/accountselectorbox.h"
#include "basic_views/datecolumndelegate.h"
#include "basic_views/frozenrowview.h"
#include "basic_views/itemdelegate.h"
#include "basic_views/optiontypecolumndelegate.h"
#include "basic_views/pricecolumndelegate.h"
#include "database/table.h"
#include "gui/action.h"

#include <QDropEvent>
#include <QIcon>
#include <QItemSelectionModel>
#include <QMenu>
#include <QMimeData>
#include <QToolBar>
#include <QUndoStack>

namespace {

QString withCommand(const QString& verb, const QString& command)
{
    return command.isEmpty() ? verb : verb + QLatin1Char(' ') + command;
}

} // namespace

PortfolioTableView::PortfolioTableView(QObject* calcWidget, QWidget* parent)
    : CommonView(parent), m_calcWidget(calcWidget), m_toolBar(new QToolBar)
{
    m_toolBar->setIconSize(QSize(16, 16));
    m_toolBar->setMovable(false);
    addToolBar(m_toolBar);
    setViewWrapper(new ViewWrapperPortfolioTable(this));
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSortingEnabled(true);
}

PortfolioTableView::~PortfolioTableView() = default;

QSize PortfolioTableView::minimumSizeHint() const
{
    return QSize(50, 50);
}

QAction* PortfolioTableView::action(const QByteArray& id) const
{
    for (QAction* a : m_actions) {
        if (static_cast<Action*>(a)->id() == id)
            return a;
    }
    return nullptr;
}

AccountSelectorBox* PortfolioTableView::accountSelector() const
{
    return m_accountSelector.data();
}

void PortfolioTableView::setModel(QAbstractItemModel* newModel)
{
    if (newModel == model())
        return;
    clearModelParts();
    CommonView::setModel(newModel);
    if (!qobject_cast<PortfolioModel*>(newModel))
        return;
    auto* modelPortfolio = qobject_cast<VirtualPortfolioModel*>(newModel);
    buildActions(modelPortfolio != nullptr);
    if (modelPortfolio) {
        setUpModelPortfolio(modelPortfolio);
    } else {
        // Positions are dragged out of the real portfolio into the model one.
        setDragDropMode(QAbstractItemView::DragOnly);
        buildAccountSelector();
    }
}

void PortfolioTableView::clearModelParts()
{
    for (const QMetaObject::Connection& connection : qAsConst(m_modelConnections))
        disconnect(connection);
    m_modelConnections.clear();
    setUndoStack(nullptr);
    for (int column : qAsConst(m_editedColumns)) {
        QAbstractItemDelegate* editor = itemDelegateForColumn(column);
        setItemDelegateForColumn(column, nullptr);
        delete editor;
    }
    m_editedColumns.clear();
    if (m_rowDelegate) {
        setItemDelegate(new ItemDelegate(this));
        delete m_rowDelegate;
    }
    if (m_toolBar)
        m_toolBar->clear();
    qDeleteAll(m_actions);
    m_actions.clear();
    // The separator, spacer and account selector; their actions own the widgets.
    qDeleteAll(m_toolBarParts);
    m_toolBarParts.clear();
    m_accountSelector = nullptr;
    if (m_totalRow) {
        setFooterWidget(nullptr);
        delete m_totalRow;
        m_totalRow = nullptr;
        m_totalModel = nullptr;
    }
    setDragDropMode(QAbstractItemView::NoDragDrop);
}

QAction* PortfolioTableView::addModelAction(const QByteArray& id, const QString& icon,
                                            const QString& text, const char* slot, bool onToolBar)
{
    auto* action =
        icon.isEmpty() ? new Action(text, id, this) : new Action(QIcon(icon), text, id, this);
    // Several calculators may share a window: a shortcut acts on the view in use.
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(action);
    if (onToolBar && m_toolBar)
        m_toolBar->addAction(action);
    if (m_calcWidget && slot)
        connect(action, SIGNAL(triggered()), m_calcWidget, slot);
    m_actions << action;
    return action;
}

void PortfolioTableView::buildActions(bool modelPortfolio)
{
    if (!modelPortfolio) {
        addModelAction(CommandId::AddPostponedOrders, QStringLiteral(":oc/icons/add_orders_toolbar.png"),
                       tr("Подготовить пакет заявок"), SLOT(addPostponedOrders()), true);
        addModelAction(CommandId::LoadReal, QStringLiteral(":oc/icons/download@1x.png"),
                       tr("Загрузить в модельный портфель"), SLOT(loadRealPortfolio()), true);
        return;
    }
    // Undo and redo act on the stack, not on the widget; their texts name the edit.
    addModelAction(CommandId::Undo, QString(), tr("Отменить"), nullptr, false)->setEnabled(false);
    addModelAction(CommandId::Redo, QString(), tr("Вернуть"), nullptr, false)->setEnabled(false);
    addModelAction(CommandId::AddPosition, QStringLiteral(":oc/icons/add@1x.png"), tr("Добавить позицию"),
                   SLOT(addVirtualPortfolioPos()), true);
    addModelAction(CommandId::AddApproach, QStringLiteral(":oc/icons/add_strategy@1x.png"),
                   tr("Добавить стратегию"), SLOT(addApproach()), true);
    addModelAction(CommandId::DelPosition, QStringLiteral(":oc/icons/remove@1x.png"),
                   tr("Удалить позицию"), SLOT(delVirtualPortfolioPos()), true);
    addModelAction(CommandId::Clear, QStringLiteral(":oc/icons/clear@1x.png"), tr("Очистить"),
                   SLOT(clearVirtualPortfolio()), true);
    addModelAction(CommandId::Import, QStringLiteral(":oc/icons/import@1x.png"),
                   tr("Импортировать данные"), SLOT(importDataToVirtualPortfolio()), true);
}

void PortfolioTableView::buildAccountSelector()
{
    if (!m_toolBar)
        return;
    auto* spacer = new QWidget(m_toolBar);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_accountSelector = new AccountSelectorBox(m_toolBar);
    m_toolBarParts << m_toolBar->addSeparator() << m_toolBar->addWidget(spacer)
                   << m_toolBar->addWidget(m_accountSelector);
    if (m_calcWidget)
        connect(m_accountSelector, SIGNAL(changedAccount(QString)), m_calcWidget,
                SLOT(setAccount(QString)));
}

void PortfolioTableView::setUpModelPortfolio(VirtualPortfolioModel* model)
{
    setDragDropMode(QAbstractItemView::DropOnly);
    m_rowDelegate = new PortfolioItemDelegate<ItemDelegate>(this);
    setItemDelegate(m_rowDelegate);
    setUpCellEditors(model);

    m_totalRow = new FrozenRowView(this);
    m_totalModel = new PortfolioTotalModel(model, m_totalRow);
    m_totalRow->setModel(m_totalModel);

    m_modelConnections << connect(selectionModel(),
                                  SIGNAL(selectionChanged(QItemSelection, QItemSelection)), this,
                                  SLOT(onSelectionChanged()))
                       << connect(model, SIGNAL(rowsInserted(QModelIndex, int, int)), this,
                                  SLOT(onSelectionChanged()))
                       << connect(model, SIGNAL(rowsRemoved(QModelIndex, int, int)), this,
                                  SLOT(onSelectionChanged()))
                       << connect(model, SIGNAL(modelReset()), this, SLOT(onSelectionChanged()));
    onSelectionChanged();
    setUndoStack(model->undoStack());
}

void PortfolioTableView::setUpCellEditors(VirtualPortfolioModel* model)
{
    OptCalcSecurityModel* securities = model->securityModel();
    const Table* table = model->securitiesTable();
    if (!securities || !table)
        return;
    const int secName = table->columnIndex(QStringLiteral("sec_name"));
    const int strike = table->columnIndex(QStringLiteral("strike"));
    const int expdate = table->columnIndex(QStringLiteral("expdate"));
    const int optionType = table->columnIndex(QStringLiteral("option_type"));
    // Each cell offers the values of its column among the securities that agree with the
    // row in the other two, so that changing one keeps them.
    const struct
    {
        const char* column;
        MatchModelComboBoxFactory* factory;
    } editors[] = {
        {"sec_name", new MatchModelComboBoxFactory(securities, secName, {})},
        {"strike", new MatchModelComboBoxDelegateFactory<PriceColumnDelegate>(
                       securities, strike, {expdate, optionType})},
        {"expdate", new MatchModelComboBoxDelegateFactory<DateColumnDelegate>(
                        securities, expdate, {strike, optionType})},
        {"sectype", new MatchModelComboBoxDelegateFactory<OptionTypeColumnDelegate>(
                        securities, optionType, {strike, expdate})},
    };
    for (const auto& editor : editors) {
        const int column = model->fieldIndex(QLatin1String(editor.column));
        if (column < 0) {
            delete editor.factory;
            continue;
        }
        setItemDelegateForColumn(
            column, new PortfolioItemDelegate<ComboBoxPortfolioDelegate>(editor.factory, this));
        m_editedColumns << column;
    }
}

void PortfolioTableView::setUndoStack(QUndoStack* stack)
{
    for (const QMetaObject::Connection& connection : qAsConst(m_undoConnections))
        disconnect(connection);
    m_undoConnections.clear();
    m_undoStack = stack;
    QAction* undo = action(CommandId::Undo);
    QAction* redo = action(CommandId::Redo);
    if (!undo || !redo)
        return;
    const QString undoVerb = tr("Отменить");
    const QString redoVerb = tr("Вернуть");
    undo->setEnabled(stack && stack->canUndo());
    redo->setEnabled(stack && stack->canRedo());
    undo->setText(withCommand(undoVerb, stack ? stack->undoText() : QString()));
    redo->setText(withCommand(redoVerb, stack ? stack->redoText() : QString()));
    if (!stack)
        return;
    m_undoConnections << connect(undo, SIGNAL(triggered()), stack, SLOT(undo()))
                      << connect(redo, SIGNAL(triggered()), stack, SLOT(redo()))
                      << connect(stack, SIGNAL(canUndoChanged(bool)), undo, SLOT(setEnabled(bool)))
                      << connect(stack, SIGNAL(canRedoChanged(bool)), redo, SLOT(setEnabled(bool)))
                      << connect(stack, &QUndoStack::undoTextChanged, undo,
                                 [undo, undoVerb](const QString& text) {
                                     undo->setText(withCommand(undoVerb, text));
                                 })
                      << connect(stack, &QUndoStack::redoTextChanged, redo,
                                 [redo, redoVerb](const QString& text) {
                                     redo->setText(withCommand(redoVerb, text));
                                 });
}

void PortfolioTableView::onSelectionChanged()
{
    if (!qobject_cast<VirtualPortfolioModel*>(model()))
        return;
    if (QAction* clear = action(CommandId::Clear))
        clear->setEnabled(model()->rowCount() > 0);
    if (QAction* remove = action(CommandId::DelPosition))
        remove->setEnabled(selectionModel() && selectionModel()->hasSelection());
}

void PortfolioTableView::populateActionsAt(const QPoint& pos, QMenu* menu)
{
    if (menu && !m_actions.isEmpty()) {
        menu->addActions(m_actions);
        menu->addSeparator();
    }
    CommonView::populateActionsAt(pos, menu);
}

void PortfolioTableView::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::OtherFocusReason);
    CommonView::mousePressEvent(event);
}

void PortfolioTableView::hideEvent(QHideEvent* event)
{
    // A dynamic export follows a view that is on screen only.
    if (viewWrapper())
        viewWrapper()->exportDynamic(false);
    CommonView::hideEvent(event);
}

void PortfolioTableView::dropEvent(QDropEvent* event)
{
    auto* modelPortfolio = qobject_cast<VirtualPortfolioModel*>(model());
    if (!modelPortfolio || !event->mimeData()) {
        event->ignore();
        return;
    }
    addDroppedPositions(modelPortfolio, event->mimeData());
    event->acceptProposedAction();
    stopAutoScroll();
    setState(QAbstractItemView::NoState);
    viewport()->update();
}

void PortfolioTableView::addDroppedPositions(VirtualPortfolioModel* model, const QMimeData* mime)
{
    const QList<PositionItem*> items = model->parseMimeData(mime);
    model->addPositions(items);
    qDeleteAll(items);
}
