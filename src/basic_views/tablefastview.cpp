#include "tablefastview.h"

#include "c_api/icore.h"

TableFastView::TableFastView(QWidget* parent) : QTableFastView(parent) {}

TableFastView::~TableFastView() = default;

void TableFastView::initCore(ICore* core)
{
    m_core = core;
}

QList<IViewSettingsPage*> TableFastView::getSettingsPages(QObject* parent)
{
    Q_UNUSED(parent);
    return QList<IViewSettingsPage*>();
}

void TableFastView::populateActionsAt(const QPoint& pos, QMenu* menu)
{
    Q_UNUSED(pos);
    Q_UNUSED(menu);
}

void TableFastView::store(Settings& settings) const
{
    Q_UNUSED(settings);
}

void TableFastView::restore(const Settings& first, const Settings& second)
{
    Q_UNUSED(first);
    Q_UNUSED(second);
}

QSize TableFastView::defaultSize()
{
    return QSize(400, 300);
}

IWindow* TableFastView::window()
{
    return IView::window();
}
