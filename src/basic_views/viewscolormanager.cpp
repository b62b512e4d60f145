#include "viewscolormanager.h"

#include "viewscolorpage.h"

#include "database/settings.h"

namespace {

const QString settingsGroup = QStringLiteral("ViewsColors");

} // namespace

ViewsColorManager::ViewsColorManager()
{
    registerView(OptionCalculator, tr("Опционный калькулятор"));
    registerColor(OptionCalculator, ModelValue, tr("Модельные величины в расчёте"),
                  QColor(255, 236, 179), QColor(196, 160, 64));
}

ViewsColorManager::~ViewsColorManager() = default;

ViewsColorManager* ViewsColorManager::instance()
{
    static ViewsColorManager manager;
    return &manager;
}

QColor ViewsColorManager::color(int view, int role, int colour)
{
    return instance()->colorOf(view, role, colour);
}

void ViewsColorManager::registerView(int view, const QString& title)
{
    m_views.insert(view, title);
}

void ViewsColorManager::registerColor(int view, int colour, const QString& title,
                                      const QColor& normal, const QColor& selected)
{
    if (!m_views.contains(view))
        m_views.insert(view, QString::number(view));
    m_colors[view].insert(colour, Entry{title, normal, selected});
    m_cache.remove(key(view, Normal, colour));
    m_cache.remove(key(view, Selected, colour));
}

QString ViewsColorManager::viewTitle(int view) const
{
    return m_views.value(view);
}

QList<int> ViewsColorManager::colors(int view) const
{
    return m_colors.value(view).keys();
}

QString ViewsColorManager::colorTitle(int view, int colour) const
{
    return m_colors.value(view).value(colour).title;
}

QString ViewsColorManager::key(int view, int role, int colour)
{
    return QStringLiteral("%1/%2/%3").arg(view).arg(role).arg(colour);
}

QColor ViewsColorManager::defaultColor(int view, int role, int colour) const
{
    const auto colours = m_colors.constFind(view);
    if (colours == m_colors.cend())
        return QColor();
    const auto entry = colours->constFind(colour);
    if (entry == colours->cend())
        return QColor();
    return role == Selected ? entry->selected : entry->normal;
}

QColor ViewsColorManager::colorOf(int view, int role, int colour) const
{
    // Asked for at every painted cell: the settings are read once.
    const QString k = key(view, role, colour);
    const auto cached = m_cache.constFind(k);
    if (cached != m_cache.cend())
        return *cached;
    QColor value = defaultColor(view, role, colour);
    if (value.isValid()) {
        const QColor stored(AppSettings(settingsGroup).value(k).toString());
        if (stored.isValid())
            value = stored;
    }
    m_cache.insert(k, value);
    return value;
}

void ViewsColorManager::setColor(int view, int role, int colour, const QColor& value)
{
    const QString k = key(view, role, colour);
    const QColor fallback = defaultColor(view, role, colour);
    AppSettings settings(settingsGroup);
    if (!value.isValid() || value == fallback)
        settings.remove(k);
    else
        settings.setValue(k, value.name(QColor::HexArgb));
    m_cache.remove(k);
    emit colorsChanged(view);
}

void ViewsColorManager::reload()
{
    m_cache.clear();
}

QString ViewsColorManager::pageId(int view)
{
    return QStringLiteral("ViewsColorPage %1").arg(view);
}

QList<IOptionsPage*> ViewsColorManager::createOptionsPages()
{
    QList<IOptionsPage*> pages;
    for (auto it = m_views.cbegin(); it != m_views.cend(); ++it) {
        if (!m_colors.value(it.key()).isEmpty())
            pages << new ViewsColorPage(it.key());
    }
    return pages;
}
