#include "icore.h"

#include "ioptionspagebase.h"
#include "iplugin.h"
#include "iwindowmanager.h"
#include "tableregistry.h"
#include "viewregistry.h"

#include "connections_model/connectionsmanager.h"
#include "database/settings.h"

#include <QCoreApplication>
#include <QWidget>

namespace {
ICore* s_instance = nullptr;
}

ICore::ICore(QObject* parent)
    : QObject(parent), m_tables(new TableRegistry(this)), m_views(new ViewRegistry(this))
{
    s_instance = this;
}

ICore::~ICore()
{
    if (s_instance == this)
        s_instance = nullptr;
    const QList<Page> pages = livePages();
    m_pages.clear();
    for (const Page& p : pages)
        delete p.page;
}

ICore* ICore::instance()
{
    return s_instance;
}

void ICore::setMainWindow(QWidget* window)
{
    m_mainWindow = window;
}

void ICore::setOptionsHandler(OptionsHandler handler)
{
    m_optionsHandler = std::move(handler);
}

void ICore::setViewSettingsHandler(ViewSettingsHandler handler)
{
    m_viewSettingsHandler = std::move(handler);
}

void ICore::setStatusHandler(StatusHandler handler)
{
    m_statusHandler = std::move(handler);
}

bool ICore::addPlugin(QObject* instance)
{
    if (!qobject_cast<IPlugin*>(instance))
        return false;
    for (const QPointer<QObject>& p : qAsConst(m_plugins)) {
        if (p == instance)
            return false;
    }
    m_plugins.append(instance);
    return true;
}

void ICore::setShuttingDown(bool shuttingDown)
{
    m_shuttingDown = shuttingDown;
}

QWidget* ICore::mainWindow() const
{
    return m_mainWindow;
}

QString ICore::applicationVersion() const
{
    return QCoreApplication::applicationVersion();
}

QString ICore::configDir() const
{
    return AppSettings::configDir();
}

ConnectionsManager* ICore::connections() const
{
    return ConnectionsManager::instance();
}

TableRegistry* ICore::tables() const
{
    return m_tables;
}

IWindowManager* ICore::windowManager() const
{
    return IWindowManager::instance();
}

QList<IPlugin*> ICore::plugins() const
{
    QList<IPlugin*> result;
    for (const QPointer<QObject>& p : m_plugins) {
        if (IPlugin* plugin = qobject_cast<IPlugin*>(p.data()))
            result.append(plugin);
    }
    return result;
}

IPlugin* ICore::plugin(const QString& name) const
{
    const QList<IPlugin*> all = plugins();
    for (IPlugin* p : all) {
        if (p->pluginName() == name)
            return p;
    }
    return nullptr;
}

QList<IView*> ICore::views() const
{
    const IWindowManager* manager = windowManager();
    return manager ? manager->views() : QList<IView*>();
}

IView* ICore::activeView() const
{
    const IWindowManager* manager = windowManager();
    return manager ? manager->activeView() : nullptr;
}

ViewRegistry* ICore::viewFactories() const
{
    return m_views;
}

void ICore::showViewSettings(IView* view, QWidget* parent)
{
    if (!view)
        return;
    if (!m_viewSettingsHandler) {
        qWarning("ICore: no view settings dialog is installed");
        return;
    }
    m_viewSettingsHandler(view, parent);
}

void ICore::showStatusMessage(const QString& text, int timeoutMs)
{
    if (!m_statusHandler) {
        qInfo("%s", qPrintable(text));
        return;
    }
    m_statusHandler(text, qMax(0, timeoutMs));
}

bool ICore::isShuttingDown() const
{
    return m_shuttingDown;
}

QList<ICore::Page> ICore::livePages() const
{
    QList<Page> result;
    for (const Page& p : m_pages) {
        if (p.alive())
            result.append(p);
    }
    return result;
}

QStringList ICore::optionsCategories() const
{
    QStringList result;
    for (const Page& p : livePages()) {
        const QString category = p.page->category();
        if (!result.contains(category))
            result.append(category);
    }
    return result;
}

QList<IOptionsPageBase*> ICore::optionsPages() const
{
    QList<IOptionsPageBase*> result;
    for (const Page& p : livePages())
        result.append(p.page);
    return result;
}

QList<IOptionsPageBase*> ICore::categoryPages(const QString& category) const
{
    QList<IOptionsPageBase*> result;
    for (const Page& p : livePages()) {
        if (p.page->category() == category)
            result.append(p.page);
    }
    return result;
}

IOptionsPageBase* ICore::optionsPage(const QString& id) const
{
    for (const Page& p : livePages()) {
        if (p.page->id() == id)
            return p.page;
    }
    return nullptr;
}

void ICore::addOptionsPage(IOptionsPageBase* page)
{
    if (!page)
        return;
    m_pages = livePages();
    for (const Page& p : qAsConst(m_pages)) {
        if (p.page == page)
            return;
    }
    QObject* object = dynamic_cast<QObject*>(page);
    m_pages.append(Page{page, object, object != nullptr});
}

bool ICore::removeOptionsPage(IOptionsPageBase* page)
{
    if (!page)
        return false;
    for (int i = 0; i < m_pages.size(); ++i) {
        const Page p = m_pages.at(i);
        if (p.page != page)
            continue;
        m_pages.removeAt(i);
        if (!p.alive())
            return false;
        delete p.page;
        return true;
    }
    return false;
}

QList<IOptionsPageBase*> ICore::matchingOptionsPages(const QString& text) const
{
    const QString needle = text.trimmed();
    QList<IOptionsPageBase*> result;
    for (const Page& p : livePages()) {
        IOptionsPageBase* page = p.page;
        if (needle.isEmpty() || page->matches(needle) ||
            page->displayName().contains(needle, Qt::CaseInsensitive) ||
            page->displayCategory().contains(needle, Qt::CaseInsensitive))
            result.append(page);
    }
    return result;
}

bool ICore::showOptionsPage(IOptionsPageBase* page, QWidget* parent)
{
    if (!page || !optionsPages().contains(page))
        return false;
    return showOptions(page->category(), page->id(), parent);
}

bool ICore::showOptions(const QString& category, const QString& page, QWidget* parent,
                        const QString& filter, const QString& title, const QString& stateKey,
                        const QString& helpTopic, const QVariant& context)
{
    if (!m_optionsHandler) {
        qWarning("ICore: no options dialog is installed; \"%s\" / \"%s\" is not shown",
                 qPrintable(category), qPrintable(page));
        return false;
    }
    OptionsRequest request;
    request.category = category;
    request.page = page;
    request.parent = parent;
    request.filter = filter;
    request.title = title;
    request.stateKey = stateKey;
    request.helpTopic = helpTopic;
    request.context = context;
    m_optionsHandler(request);
    return true;
}
