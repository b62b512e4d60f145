#include "tablefastviewwithfilter.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>
#include <QToolBar>

TableFastViewWithFilter::TableFastViewWithFilter(QWidget* parent)
    : TableFastView(parent), m_refilter(new QTimer(this))
{
    // A batch of model changes costs one pass.
    m_refilter->setSingleShot(true);
    m_refilter->setInterval(0);
    connect(m_refilter, &QTimer::timeout, this, &TableFastViewWithFilter::applyFilter);
}

TableFastViewWithFilter::~TableFastViewWithFilter()
{
    if (m_toolBar && !m_toolBar->parent())
        delete m_toolBar;
}

void TableFastViewWithFilter::setModel(QAbstractItemModel* newModel)
{
    if (newModel == model())
        return;
    for (const QMetaObject::Connection& connection : qAsConst(m_modelConnections))
        disconnect(connection);
    m_modelConnections.clear();
    TableFastView::setModel(newModel);
    if (newModel) {
        const auto refilter = &TableFastViewWithFilter::scheduleFilter;
        m_modelConnections << connect(newModel, &QAbstractItemModel::rowsInserted, this, refilter)
                           << connect(newModel, &QAbstractItemModel::dataChanged, this, refilter)
                           << connect(newModel, &QAbstractItemModel::modelReset, this, refilter)
                           << connect(newModel, &QAbstractItemModel::layoutChanged, this, refilter)
                           << connect(newModel, &QAbstractItemModel::rowsMoved, this, refilter);
    }
    applyFilter();
}

void TableFastViewWithFilter::setFilterEnabled(bool enabled)
{
    m_filterEnabled = enabled;
    if (!enabled)
        setFilterText(QString());
}

QLineEdit* TableFastViewWithFilter::filterEdit()
{
    filterToolBar();
    return m_edit;
}

QToolBar* TableFastViewWithFilter::filterToolBar()
{
    if (!m_toolBar) {
        m_toolBar = new QToolBar(tr("Фильтр"));
        m_toolBar->setObjectName(QStringLiteral("filterToolBar"));
        m_toolBar->setMovable(false);
        m_toolBar->addWidget(new QLabel(tr("Фильтр:"), m_toolBar));
        m_edit = new QLineEdit(m_toolBar);
        m_edit->setClearButtonEnabled(true);
        m_edit->setText(m_filter);
        m_toolBar->addWidget(m_edit);
        connect(m_edit, &QLineEdit::textChanged, this, &TableFastViewWithFilter::setFilterText);
    }
    return m_toolBar;
}

QList<QToolBar*> TableFastViewWithFilter::toolBars()
{
    QList<QToolBar*> bars = TableFastView::toolBars();
    if (m_filterEnabled)
        bars.append(filterToolBar());
    return bars;
}

void TableFastViewWithFilter::setFilterText(const QString& text)
{
    const QString filter = text.trimmed();
    if (m_edit && m_edit->text().trimmed() != filter)
        m_edit->setText(filter);
    if (filter == m_filter)
        return;
    const bool wasFiltering = !m_filter.isEmpty();
    m_filter = filter;
    if (wasFiltering || !m_filter.isEmpty())
        applyFilter();
}

void TableFastViewWithFilter::applyFilter()
{
    m_refilter->stop();
    const QAbstractItemModel* m = model();
    if (!m)
        return;
    const int rows = m->rowCount(rootIndex());
    for (int row = 0; row < rows; ++row) {
        const bool hide = !m_filter.isEmpty() && !rowMatches(row);
        if (isRowHidden(row) != hide)
            setRowHidden(row, hide);
    }
}

bool TableFastViewWithFilter::rowMatches(int row) const
{
    const QAbstractItemModel* m = model();
    const int columns = m->columnCount(rootIndex());
    for (int column = 0; column < columns; ++column) {
        if (isColumnHidden(column))
            continue;
        const QString text = m->index(row, column, rootIndex()).data().toString();
        if (text.contains(m_filter, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

void TableFastViewWithFilter::scheduleFilter()
{
    if (!m_filter.isEmpty())
        m_refilter->start();
}
