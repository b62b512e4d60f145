#include "commonview.h"

#include "mainviewsettingspage.h"
#include "tableheadermodel.h"
#include "tableheadersettingspage.h"
#include "viewwrappertable.h"

#include "database/settings.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMap>
#include <QMenu>
#include <QSet>
#include <QToolBar>

CommonView::CommonView(QWidget* parent)
    : TableFastViewWithFilter(parent), m_copyAction(new QAction(tr("Копировать"), this)),
      m_exportAction(new QAction(tr("Экспорт..."), this)), m_wrapper(new ViewWrapperTable(this))
{
    m_copyAction->setShortcut(QKeySequence::Copy);
    m_copyAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(m_copyAction);
    connect(m_copyAction, &QAction::triggered, this, &CommonView::copy);
    connect(m_exportAction, &QAction::triggered, this, &CommonView::exportData);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    horizontalHeader()->setSectionsMovable(true);
}

CommonView::~CommonView()
{
    for (const QPointer<QToolBar>& bar : qAsConst(m_toolBars)) {
        if (bar && !bar->parent())
            delete bar;
    }
}

void CommonView::setModel(QAbstractItemModel* newModel)
{
    if (newModel == model())
        return;
    for (const QMetaObject::Connection& connection : qAsConst(m_modelConnections))
        disconnect(connection);
    m_modelConnections.clear();
    TableFastViewWithFilter::setModel(newModel);
    if (newModel) {
        const auto pending = &CommonView::applyPendingLayout;
        m_modelConnections << connect(newModel, &QAbstractItemModel::columnsInserted, this, pending)
                           << connect(newModel, &QAbstractItemModel::modelReset, this, pending);
    }
    applyPendingLayout();
}

QList<IViewSettingsPage*> CommonView::getSettingsPages(QObject* parent)
{
    QList<IViewSettingsPage*> pages;
    pages << new MainViewSettingsPage(parent);
    if (model())
        pages << new TableHeaderSettingsPage(new TableHeaderModel(model()), parent);
    return pages;
}

void CommonView::populateActionsAt(const QPoint& pos, QMenu* menu)
{
    Q_UNUSED(pos);
    if (!menu)
        return;
    m_copyAction->setEnabled(selectionModel() && selectionModel()->hasSelection());
    m_exportAction->setEnabled(model() && model()->columnCount() > 0);
    menu->addAction(m_copyAction);
    menu->addAction(m_exportAction);
    if (model() && model()->columnCount() > 0) {
        menu->addSeparator();
        menu->addMenu(createColumnsMenu(menu));
    }
}

void CommonView::store(Settings& settings) const
{
    // A layout still waiting for its model is what the user left; keep it.
    (m_pendingLayout.isEmpty() ? headerLayout() : m_pendingLayout).write(settings);
}

void CommonView::storeTemplate(Settings& settings)
{
    store(settings);
}

void CommonView::restoreTemplate(const Settings& first, const Settings& second)
{
    restore(first, second);
}

void CommonView::restore(const Settings& first, const Settings& second)
{
    HeaderLayout layout;
    if (!layout.read(first))
        layout.read(second);
    if (!layout.isEmpty())
        setHeaderLayout(layout);
}

QSize CommonView::defaultSize()
{
    return QSize(600, 400);
}

QList<QToolBar*> CommonView::toolBars()
{
    QList<QToolBar*> bars;
    for (const QPointer<QToolBar>& bar : qAsConst(m_toolBars)) {
        if (bar)
            bars << bar;
    }
    return bars + TableFastViewWithFilter::toolBars();
}

void CommonView::addToolBar(QToolBar* toolBar)
{
    if (toolBar && !m_toolBars.contains(toolBar))
        m_toolBars << toolBar;
}

void CommonView::setViewWrapper(ViewWrapper* wrapper)
{
    if (wrapper == m_wrapper)
        return;
    delete m_wrapper;
    m_wrapper = wrapper;
    if (wrapper)
        wrapper->setParent(this);
}

HeaderLayout CommonView::headerLayout() const
{
    return HeaderLayout::fromHeader(horizontalHeader());
}

void CommonView::setHeaderLayout(const HeaderLayout& layout)
{
    m_pendingLayout = layout;
    applyPendingLayout();
}

void CommonView::applyPendingLayout()
{
    if (m_pendingLayout.isEmpty() || !model() || model()->columnCount() == 0)
        return;
    const HeaderLayout layout = m_pendingLayout;
    m_pendingLayout = HeaderLayout();
    layout.applyTo(horizontalHeader());
    // Rows filtered by a hidden column may match now, and the other way round.
    applyFilter();
}

QString CommonView::selectionText() const
{
    const QItemSelectionModel* selection = selectionModel();
    if (!selection || !model())
        return QString();
    const QModelIndexList selected = selection->selectedIndexes();
    if (selected.isEmpty())
        return QString();
    QSet<int> columnSet;
    QMap<int, QSet<int>> cellsByRow; // by visual row
    for (const QModelIndex& index : selected) {
        if (isRowHidden(index.row()) || isColumnHidden(index.column()))
            continue;
        cellsByRow[verticalHeader()->visualIndex(index.row())].insert(index.column());
        columnSet.insert(index.column());
    }
    QList<int> columns; // logical, in visual order
    for (int visual = 0; visual < horizontalHeader()->count(); ++visual) {
        const int logical = horizontalHeader()->logicalIndex(visual);
        if (columnSet.contains(logical))
            columns << logical;
    }
    QStringList lines;
    for (auto it = cellsByRow.cbegin(); it != cellsByRow.cend(); ++it) {
        const int row = verticalHeader()->logicalIndex(it.key());
        QStringList cells;
        for (int column : qAsConst(columns)) {
            QString text = it.value().contains(column)
                               ? model()->index(row, column, rootIndex()).data().toString()
                               : QString();
            text.replace(QLatin1Char('\t'), QLatin1Char(' '));
            text.replace(QLatin1Char('\n'), QLatin1Char(' '));
            cells << text;
        }
        lines << cells.join(QLatin1Char('\t'));
    }
    return lines.join(QLatin1Char('\n'));
}

void CommonView::copy()
{
    const QString text = selectionText();
    if (!text.isEmpty())
        QApplication::clipboard()->setText(text);
}

void CommonView::exportData()
{
    if (m_wrapper)
        m_wrapper->exportData();
}

void CommonView::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    populateActionsAt(event->pos(), &menu);
    if (!menu.isEmpty())
        menu.exec(event->globalPos());
    event->accept();
}

QMenu* CommonView::createColumnsMenu(QWidget* parent)
{
    auto* menu = new QMenu(tr("Столбцы"), parent);
    QHeaderView* header = horizontalHeader();
    int shown = 0;
    for (int logical = 0; logical < header->count(); ++logical)
        shown += header->isSectionHidden(logical) ? 0 : 1;
    for (int visual = 0; visual < header->count(); ++visual) {
        const int logical = header->logicalIndex(visual);
        QString title = model()->headerData(logical, Qt::Horizontal).toString();
        if (title.isEmpty())
            title = HeaderLayout::columnKey(model(), logical);
        QAction* action = menu->addAction(title);
        action->setCheckable(true);
        action->setChecked(!header->isSectionHidden(logical));
        // The last shown column stays.
        action->setEnabled(header->isSectionHidden(logical) || shown > 1);
        connect(action, &QAction::toggled, this,
                [this, logical](bool on) { setColumnHidden(logical, !on); });
    }
    menu->addSeparator();
    QAction* fit = menu->addAction(tr("Подобрать ширину столбцов"));
    connect(fit, &QAction::triggered, this, &CommonView::resizeColumnsToContents);
    return menu;
}
