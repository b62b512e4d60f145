#include "qtablefastview.h"

#include <QEvent>
#include <QHeaderView>
#include <QScrollBar>

namespace {

// Rows measured at most when a column is sized to its contents.
const int maxRowsMeasured = 200;
// Room left and right of a text, as the styles draw it.
const int textMargin = 8;

} // namespace

QTableFastView::QTableFastView(QWidget* parent) : QTableView(parent)
{
    setWordWrap(false);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    horizontalHeader()->setHighlightSections(false);
    updateRowHeight();
}

QTableFastView::~QTableFastView()
{
    // The footer follows signals of this view's parts, which go on firing while the base
    // tears them down: it goes first.
    if (m_footer && m_footer->parent() == this) {
        disconnect(m_footer, nullptr, this, nullptr);
        delete m_footer;
    }
}

void QTableFastView::setFooterWidget(QWidget* widget)
{
    if (m_footer == widget)
        return;
    if (m_footer)
        disconnect(m_footer, nullptr, this, nullptr);
    m_footer = widget;
    if (widget) {
        widget->setParent(this);
        // A footer deleted on its own gives its room back.
        connect(widget, &QObject::destroyed, this, [this] { updateGeometries(); });
        widget->show();
    }
    updateGeometries();
}

int QTableFastView::sizeHintForRow(int row) const
{
    Q_UNUSED(row);
    return m_rowHeight;
}

int QTableFastView::sizeHintForColumn(int column) const
{
    const QAbstractItemModel* m = model();
    if (!m || column < 0 || column >= m->columnCount())
        return -1;
    const QFontMetrics metrics(font());
    int width = 0;
    const int first = qMax(0, rowAt(0));
    const int last = qMin(m->rowCount(rootIndex()) - 1, first + maxRowsMeasured);
    for (int row = first; row <= last; ++row) {
        if (isRowHidden(row))
            continue;
        const QString text = m->index(row, column, rootIndex()).data().toString();
        width = qMax(width, metrics.horizontalAdvance(text));
    }
    return width + 2 * textMargin;
}

void QTableFastView::updateGeometries()
{
    // The base lays the viewport out again without the footer's room, and a resize of the
    // viewport calls back here; the call that made the room finishes the work.
    if (m_settingMargins)
        return;
    QTableView::updateGeometries();
    const int bottom = footerHeight();
    const QMargins margins = viewportMargins();
    if (margins.bottom() != bottom) {
        m_settingMargins = true;
        setViewportMargins(margins.left(), margins.top(), margins.right(), bottom);
        m_settingMargins = false;
        // The base measured a taller viewport: shorten what it placed by that.
        const QRect cells = viewport()->geometry();
        QHeaderView* rows = verticalHeader();
        if (!rows->isHidden())
            rows->setGeometry(rows->x(), cells.y(), rows->width(), cells.height());
        if (verticalScrollMode() == QAbstractItemView::ScrollPerPixel) {
            verticalScrollBar()->setPageStep(cells.height());
            verticalScrollBar()->setRange(0, qMax(0, rows->length() - cells.height()));
        }
    }
    placeFooter();
}

void QTableFastView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange)
        updateRowHeight();
    QTableView::changeEvent(event);
}

void QTableFastView::updateRowHeight()
{
    m_rowHeight = QFontMetrics(font()).height() + 4;
    QHeaderView* rows = verticalHeader();
    rows->setMinimumSectionSize(qMin(rows->minimumSectionSize(), m_rowHeight));
    rows->setDefaultSectionSize(m_rowHeight);
}

int QTableFastView::footerHeight() const
{
    if (!m_footer || m_footer->isHidden())
        return 0;
    return qMax(0, m_footer->sizeHint().height());
}

void QTableFastView::placeFooter()
{
    if (!m_footer)
        return;
    const QRect cells = viewport()->geometry();
    m_footer->setGeometry(cells.x(), cells.bottom() + 1, cells.width(), footerHeight());
}
