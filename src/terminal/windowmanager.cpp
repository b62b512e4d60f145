#include "windowmanager.h"

#include "errorreporter.h"
#include "viewframe.h"

#include "c_api/iview.h"
#include "c_api/iviewfactory.h"

#include <QMdiArea>

const char* const WindowManager::UserTitleProperty = "userTitle";

namespace {

// Remembers which kind a view is, for the workspace.
const char* const ViewIdProperty = "_terminalViewId";

} // namespace

WindowManager::WindowManager(QMdiArea* area, QObject* parent) : IWindowManager(parent), m_area(area)
{
}

WindowManager::~WindowManager() = default;

ViewFrame* WindowManager::frameOf(IView* view) const
{
    auto* widget = dynamic_cast<QWidget*>(view);
    for (QWidget* w = widget; w; w = w->parentWidget()) {
        if (auto* frame = qobject_cast<ViewFrame*>(w))
            return frame->view() == view ? frame : nullptr;
    }
    return nullptr;
}

QByteArray WindowManager::viewIdOf(IView* view) const
{
    auto* widget = dynamic_cast<QWidget*>(view);
    return widget ? widget->property(ViewIdProperty).toByteArray() : QByteArray();
}

IView* WindowManager::findView(const QString& viewId, const QString& key) const
{
    for (IView* view : views()) {
        auto* widget = dynamic_cast<QWidget*>(view);
        if (widget && viewIdOf(view) == viewId.toUtf8() &&
            widget->property("extraKey").toString() == key)
            return view;
    }
    return nullptr;
}

IView* WindowManager::openView(const QString& viewId, const QString& extraKey)
{
    IView* view = nullptr;
    ErrorReporter::guard(tr("Не удалось открыть окно «%1»").arg(viewId),
                         [&] { view = IWindowManager::openView(viewId, extraKey); });
    return view;
}

IView* WindowManager::restoreView(const QString& viewId, const QString& key,
                                  const QString& userTitle, const QRect& geometry,
                                  const Settings& settings)
{
    m_pendingUserTitle = userTitle;
    IView* view = openView(viewId, key);
    m_pendingUserTitle.clear();
    if (!view)
        return nullptr;
    ViewFrame* frame = frameOf(view);
    if (frame && geometry.isValid())
        frame->setGeometry(geometry);
    const bool restored = ErrorReporter::guard(tr("Не удалось восстановить окно «%1»").arg(viewId),
                                               [&] { view->restore(settings, settings); });
    if (!restored) {
        closeView(view);
        return nullptr;
    }
    return view;
}

bool WindowManager::activateView(IView* view)
{
    ViewFrame* frame = frameOf(view);
    if (!frame)
        return IWindowManager::activateView(view);
    frame->activate();
    return true;
}

QWidget* WindowManager::parentForView(IViewFactory* factory)
{
    return m_area ? m_area.data() : IWindowManager::parentForView(factory);
}

bool WindowManager::hostView(IView* view, QWidget* widget, IViewFactory* factory)
{
    if (!m_area)
        return IWindowManager::hostView(view, widget, factory);
    widget->setProperty(ViewIdProperty, factory->viewId());
    if (!m_pendingUserTitle.isEmpty()) {
        widget->setProperty(UserTitleProperty, m_pendingUserTitle);
        widget->setWindowTitle(m_pendingUserTitle);
    }
    if (widget->windowTitle().isEmpty())
        widget->setWindowTitle(factory->displayName());
    auto* frame = new ViewFrame(view, widget);
    QIcon icon = factory->secondIcon();
    if (icon.isNull())
        icon = factory->icon();
    if (!icon.isNull())
        frame->setWindowIcon(icon);
    m_area->addSubWindow(frame);
    frame->show();
    const QSize size = view->defaultSize();
    if (size.isValid()) {
        // The view gets its size; the frame adds its title bar and borders around it.
        frame->resize(size + frame->size() - widget->size());
    }
    // The area placed the frame at its first size; one that no longer fits goes to a
    // cascade position instead.
    if (!m_area->viewport()->rect().contains(frame->geometry())) {
        const int step = 24 * ((m_area->subWindowList().size() - 1) % 10);
        frame->move(step, step);
    }
    return true;
}
