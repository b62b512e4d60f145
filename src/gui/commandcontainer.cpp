#include "commandcontainer.h"

#include "command.h"
#include "commandproxyaction.h"

#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <QToolButton>

#include <algorithm>

namespace {

// Marks what a fill made, so that the next fill of the same widget removes it and leaves
// alone whatever else the widget holds, such as a menu that a container keeps for itself.
const char* const MadeByFill = "_commandContainerFill";

template <typename T> T* madeByFill(T* object)
{
    object->setProperty(MadeByFill, true);
    return object;
}

// Whole numbers first, by value; then other text; the empty key last. A total order, so
// that sorting never meets a cycle such as "2" < "10" < "1a" < "2".
int compareKeys(const QByteArray& a, const QByteArray& b)
{
    const auto rank = [](const QByteArray& key, qlonglong* number) {
        if (key.isEmpty())
            return 2;
        bool ok = false;
        *number = key.trimmed().toLongLong(&ok);
        return ok ? 0 : 1;
    };
    qlonglong numberA = 0;
    qlonglong numberB = 0;
    const int rankA = rank(a, &numberA);
    const int rankB = rank(b, &numberB);
    if (rankA != rankB)
        return rankA < rankB ? -1 : 1;
    if (rankA == 0 && numberA != numberB)
        return numberA < numberB ? -1 : 1;
    return a < b ? -1 : (b < a ? 1 : 0);
}

QByteArray idOf(const QObject* object, bool isContainer)
{
    if (!object)
        return QByteArray();
    return isContainer ? static_cast<const CommandContainer*>(object)->id()
                       : static_cast<const Command*>(object)->id();
}

// A tool bar has no separator of its own that a fill could mark, so all three kinds of bar
// get one made here.
template <typename Bar> void addSeparator(Bar* bar)
{
    auto* separator = madeByFill(new QAction(bar));
    separator->setSeparator(true);
    bar->addAction(separator);
}

} // namespace

CommandContainer::CommandContainer(const QByteArray& id, QObject* parent)
    : QObject(parent), m_id(id)
{
}

CommandContainer::~CommandContainer() = default;

void CommandContainer::setTitle(const QString& title)
{
    if (m_title == title)
        return;
    m_title = title;
    emit changed();
}

void CommandContainer::setIcon(const QIcon& icon)
{
    m_icon = icon;
    emit changed();
}

void CommandContainer::addCommand(Command* command, const QByteArray& before,
                                  const QByteArray& group)
{
    if (!command) {
        qWarning("CommandContainer \"%s\": null command skipped", m_id.constData());
        return;
    }
    addItem(command, before, group, QByteArray());
}

void CommandContainer::addContainer(CommandContainer* container, const QByteArray& group,
                                    const QByteArray& order)
{
    addItem(container, QByteArray(), group, order);
}

QList<Command*> CommandContainer::commands() const
{
    QList<Command*> result;
    for (const Entry& entry : orderedEntries()) {
        if (!entry.isContainer)
            result.append(static_cast<Command*>(entry.object.data()));
    }
    return result;
}

QList<CommandContainer*> CommandContainer::containers() const
{
    QList<CommandContainer*> result;
    for (const Entry& entry : orderedEntries()) {
        if (entry.isContainer)
            result.append(static_cast<CommandContainer*>(entry.object.data()));
    }
    return result;
}

QMenuBar* CommandContainer::createMenuBar(QWidget* parent)
{
    auto* bar = new QMenuBar(parent);
    fill(bar);
    connect(this, &CommandContainer::changed, bar, [this, bar] { fill(bar); });
    return bar;
}

QMenu* CommandContainer::createMenu(QWidget* parent)
{
    auto* menu = madeByFill(new QMenu(m_title, parent));
    menu->setIcon(m_icon);
    fill(menu);
    connect(this, &CommandContainer::changed, menu, [this, menu] {
        menu->setTitle(m_title);
        menu->setIcon(m_icon);
        fill(menu);
    });
    return menu;
}

QToolBar* CommandContainer::createToolBar(QWidget* parent)
{
    auto* bar = new QToolBar(m_title, parent);
    // Lets the main window keep the bar's place in its saved state.
    bar->setObjectName(QString::fromUtf8(m_id));
    fill(bar);
    connect(this, &CommandContainer::changed, bar, [this, bar] {
        bar->setWindowTitle(m_title);
        fill(bar);
    });
    return bar;
}

template <typename Bar> void CommandContainer::fill(Bar* bar)
{
    const QList<QAction*> shown = bar->actions();
    for (QAction* action : shown)
        bar->removeAction(action);
    const QList<QObject*> children = bar->children();
    for (QObject* child : children) {
        // Later, as the fill may come from a slot of an entry being triggered.
        if (child->property(MadeByFill).toBool())
            child->deleteLater();
    }

    bool anyAdded = false;
    QByteArray lastGroup;
    for (const Entry& entry : orderedEntries()) {
        QAction* action = nullptr;
        if (entry.isContainer) {
            auto* nested = static_cast<CommandContainer*>(entry.object.data());
            QMenu* menu = nested->createMenu(bar);
            if (!menu)
                continue;
            if (menu->title().isEmpty())
                menu->setTitle(nested->title());
            if (menu->icon().isNull())
                menu->setIcon(nested->icon());
            action = menu->menuAction();
        } else {
            auto* proxy =
                madeByFill(new CommandProxyAction(static_cast<Command*>(entry.object.data()), bar));
            if (auto* menu = qobject_cast<QMenu*>(bar))
                connect(menu, &QMenu::aboutToShow, proxy, &CommandProxyAction::retarget);
            action = proxy;
        }
        if (anyAdded && entry.group != lastGroup)
            addSeparator(bar);
        anyAdded = true;
        lastGroup = entry.group;
        bar->addAction(action);
        if (auto* toolBar = qobject_cast<QToolBar*>(bar)) {
            // A nested menu opens at once rather than being an entry that does nothing.
            if (auto* button = qobject_cast<QToolButton*>(toolBar->widgetForAction(action));
                button && action->menu())
                button->setPopupMode(QToolButton::InstantPopup);
        }
    }
}

void CommandContainer::addItem(QObject* object, const QByteArray& before, const QByteArray& group,
                               const QByteArray& order)
{
    if (!object)
        return;
    auto* container = qobject_cast<CommandContainer*>(object);
    if (container && (container == this || container->holds(this))) {
        qWarning("CommandContainer \"%s\": \"%s\" would hold itself", m_id.constData(),
                 container->id().constData());
        return;
    }
    if (container && container->m_parentContainer && container->m_parentContainer != this)
        container->m_parentContainer->removeItem(container);
    removeItem(object);

    Entry entry;
    entry.object = object;
    entry.isContainer = container != nullptr;
    entry.group = group;
    entry.order = order;
    int position = m_entries.size();
    if (!before.isEmpty()) {
        for (int i = 0; i < m_entries.size(); ++i) {
            const Entry& sibling = m_entries.at(i);
            if (sibling.object && idOf(sibling.object, sibling.isContainer) == before) {
                // Equal keys keep the order of the list, so this sorts right before it.
                entry.group = sibling.group;
                entry.order = sibling.order;
                position = i;
                break;
            }
        }
    }
    m_entries.insert(position, entry);
    if (container) {
        container->m_parentContainer = this;
        connect(container, &CommandContainer::changed, this, &CommandContainer::changed,
                Qt::UniqueConnection);
    }
    connect(object, &QObject::destroyed, this, &CommandContainer::onItemDestroyed,
            Qt::UniqueConnection);
    emit changed();
}

void CommandContainer::removeItem(QObject* object)
{
    for (int i = 0; i < m_entries.size(); ++i) {
        if (m_entries.at(i).object != object)
            continue;
        m_entries.removeAt(i);
        disconnect(object, nullptr, this, nullptr);
        if (auto* container = qobject_cast<CommandContainer*>(object))
            container->m_parentContainer = nullptr;
        emit changed();
        return;
    }
}

QList<CommandContainer::Entry> CommandContainer::orderedEntries() const
{
    QList<Entry> result;
    for (const Entry& entry : m_entries) {
        if (entry.object)
            result.append(entry);
    }
    std::stable_sort(result.begin(), result.end(), [](const Entry& a, const Entry& b) {
        const int byGroup = compareKeys(a.group, b.group);
        if (byGroup != 0)
            return byGroup < 0;
        return compareKeys(a.order, b.order) < 0;
    });
    return result;
}

bool CommandContainer::holds(const CommandContainer* container) const
{
    for (const CommandContainer* parent = container; parent; parent = parent->m_parentContainer) {
        if (parent == this)
            return true;
    }
    return false;
}

void CommandContainer::onItemDestroyed()
{
    // The entry's guard is already null here.
    const auto dead = std::remove_if(m_entries.begin(), m_entries.end(),
                                     [](const Entry& entry) { return !entry.object; });
    if (dead == m_entries.end())
        return;
    m_entries.erase(dead, m_entries.end());
    emit changed();
}
