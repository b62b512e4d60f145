#include "frozenrowview.h"

#include "qtablefastview.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QScrollBar>
#include <QWheelEvent>

FrozenRowView::FrozenRowView(QTableFastView* table) : TableFastView(table), m_table(table)
{
    horizontalHeader()->hide();
    verticalHeader()->hide();
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setFocusPolicy(Qt::NoFocus);
    if (!table)
        return;
    setFont(table->font());
    setHorizontalScrollMode(table->horizontalScrollMode());
    setShowGrid(table->showGrid());

    QHeaderView* header = table->horizontalHeader();
    connect(header, &QHeaderView::sectionResized, this, [this](int logical, int, int size) {
        // Hiding reports size 0 before the header records the column as hidden.
        if (size > 0)
            setColumnWidth(logical, size);
        else
            QMetaObject::invokeMethod(this, &FrozenRowView::syncColumns, Qt::QueuedConnection);
    });
    connect(header, &QHeaderView::sectionMoved, this, &FrozenRowView::syncColumns);
    connect(header, &QHeaderView::sectionCountChanged, this, &FrozenRowView::syncColumns);
    connect(header, &QHeaderView::geometriesChanged, this, &FrozenRowView::syncColumns);

    QScrollBar* tableBar = table->horizontalScrollBar();
    connect(tableBar, &QScrollBar::valueChanged, horizontalScrollBar(), &QScrollBar::setValue);
    // The row may lay itself out after the table has scrolled: catch up once it can.
    connect(horizontalScrollBar(), &QScrollBar::rangeChanged, this, [this] {
        if (m_table)
            horizontalScrollBar()->setValue(m_table->horizontalScrollBar()->value());
    });

    followTableModel();
    table->setFooterWidget(this);
}

FrozenRowView::~FrozenRowView() = default;

void FrozenRowView::setModel(QAbstractItemModel* newModel)
{
    if (newModel == model())
        return;
    for (const QMetaObject::Connection& connection : qAsConst(m_modelConnections))
        disconnect(connection);
    m_modelConnections.clear();
    TableFastView::setModel(newModel);
    if (newModel) {
        const auto sync = &FrozenRowView::syncColumns;
        m_modelConnections << connect(newModel, &QAbstractItemModel::columnsInserted, this, sync)
                           << connect(newModel, &QAbstractItemModel::columnsRemoved, this, sync)
                           << connect(newModel, &QAbstractItemModel::modelReset, this, sync)
                           << connect(newModel, &QAbstractItemModel::layoutChanged, this, sync);
    }
    syncColumns();
}

QSize FrozenRowView::sizeHint() const
{
    return QSize(TableFastView::sizeHint().width(), fixedRowHeight());
}

QSize FrozenRowView::minimumSizeHint() const
{
    return QSize(0, fixedRowHeight());
}

void FrozenRowView::syncColumns()
{
    if (!m_table || !model())
        return;
    // The table's model may be set after the row: follow whatever it has now.
    followTableModel();
    const QHeaderView* from = m_table->horizontalHeader();
    QHeaderView* to = horizontalHeader();
    const int count = qMin(from->count(), to->count());
    for (int visual = 0; visual < from->count(); ++visual) {
        const int logical = from->logicalIndex(visual);
        if (logical < 0 || logical >= count)
            continue;
        const int at = to->visualIndex(logical);
        if (at != visual && visual < to->count())
            to->moveSection(at, visual);
    }
    for (int logical = 0; logical < count; ++logical) {
        const bool hidden = from->isSectionHidden(logical);
        if (!hidden && to->sectionSize(logical) != from->sectionSize(logical))
            to->resizeSection(logical, from->sectionSize(logical));
        if (to->isSectionHidden(logical) != hidden)
            to->setSectionHidden(logical, hidden);
    }
    horizontalScrollBar()->setValue(m_table->horizontalScrollBar()->value());
}

void FrozenRowView::wheelEvent(QWheelEvent* event)
{
    // The row scrolls only with its table.
    if (m_table)
        QCoreApplication::sendEvent(m_table->viewport(), event);
    else
        event->ignore();
}

void FrozenRowView::followTableModel()
{
    QAbstractItemModel* tableModel = m_table ? m_table->model() : nullptr;
    if (tableModel == m_followed)
        return;
    for (const QMetaObject::Connection& connection : qAsConst(m_tableModelConnections))
        disconnect(connection);
    m_tableModelConnections.clear();
    m_followed = tableModel;
    if (!tableModel)
        return;
    const auto sync = &FrozenRowView::syncColumns;
    m_tableModelConnections << connect(tableModel, &QAbstractItemModel::columnsInserted, this, sync)
                            << connect(tableModel, &QAbstractItemModel::modelReset, this, sync);
}
