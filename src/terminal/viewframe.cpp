#include "viewframe.h"

#include <QEvent>
#include <QToolBar>
#include <QVBoxLayout>

#include "errorreporter.h"

#include "c_api/icore.h"
#include "c_api/iview.h"

#include <QMdiArea>
#include <QMenu>

ViewFrame::ViewFrame(IView* view, QWidget* widget, QWidget* parent)
    : QMdiSubWindow(parent), m_view(view), m_widget(widget)
{
    setAttribute(Qt::WA_DeleteOnClose);
    // The view's tool bars stand above it, inside the frame.
    const QList<QToolBar*> bars = view->toolBars();
    if (bars.isEmpty()) {
        setWidget(widget);
    } else {
        auto* box = new QWidget;
        auto* layout = new QVBoxLayout(box);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        for (QToolBar* bar : bars)
            if (bar)
                layout->addWidget(bar);
        layout->addWidget(widget);
        setWidget(box);
    }
    setWindowTitle(widget->windowTitle());
    // A view may retitle itself, such as a view of another base asset.
    widget->installEventFilter(this);
    // A view that shows no menu of its own gets the host's; one that handles the event
    // itself keeps it.
    if (widget->contextMenuPolicy() == Qt::DefaultContextMenu) {
        widget->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(widget, &QWidget::customContextMenuRequested, this, &ViewFrame::showContextMenu);
    }
    connect(widget, &QObject::destroyed, this, &ViewFrame::onViewDestroyed);
}

ViewFrame::~ViewFrame()
{
    if (!m_widget)
        return;
    disconnect(m_widget, nullptr, this, nullptr);
    IView* view = m_view;
    m_view = nullptr;
    // Through the interface: the view was made by its factory, maybe in a plug-in.
    delete view;
}

void ViewFrame::onViewDestroyed()
{
    m_view = nullptr;
    deleteLater();
}

void ViewFrame::fillContextMenu(const QPoint& pos, QMenu* menu)
{
    if (!m_view)
        return;
    ErrorReporter::guard(tr("Ошибка окна"), [&] { m_view->populateActionsAt(pos, menu); });
    if (!menu->isEmpty())
        menu->addSeparator();
    IView* view = m_view;
    menu->addAction(tr("Настройки вида..."), this, [this, view] {
        if (ICore* core = ICore::instance())
            core->showViewSettings(view, this);
    });
}

void ViewFrame::showContextMenu(const QPoint& pos)
{
    if (!m_widget)
        return;
    QMenu menu;
    fillContextMenu(pos, &menu);
    menu.exec(m_widget->mapToGlobal(pos));
}

IView* ViewFrame::view()
{
    return m_view;
}

QString ViewFrame::title()
{
    return windowTitle();
}

void ViewFrame::setTitle(const QString& title)
{
    if (m_widget)
        m_widget->setWindowTitle(title);
    setWindowTitle(title);
}

void ViewFrame::activate()
{
    if (QMdiArea* area = mdiArea())
        area->setActiveSubWindow(this);
    show();
    raise();
    if (m_widget)
        m_widget->setFocus();
}

bool ViewFrame::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_widget && event->type() == QEvent::WindowTitleChange)
        setWindowTitle(m_widget->windowTitle());
    return QMdiSubWindow::eventFilter(watched, event);
}
