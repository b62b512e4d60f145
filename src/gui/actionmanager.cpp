#include "actionmanager.h"

#include "action.h"
#include "command.h"
#include "commandcontainer.h"

#include "database/settings.h"

#include <algorithm>

namespace {

// Set while the instance lives; destructors of commands and actions that outlive it at exit
// find it null and have nothing to tell.
ActionManager* s_instance = nullptr;

bool isUsableSequence(const QKeySequence& sequence)
{
    for (int i = 0; i < sequence.count(); ++i) {
        const int key = sequence[i] & ~int(Qt::KeyboardModifierMask);
        if (key == 0 || key == Qt::Key_unknown)
            return false;
    }
    return true;
}

} // namespace

ActionManager::ActionManager()
{
    s_instance = this;
}

ActionManager::~ActionManager()
{
    s_instance = nullptr;
}

ActionManager* ActionManager::instance()
{
    static ActionManager manager;
    return &manager;
}

CommandContainer* ActionManager::container(const QString& name, const QString& title,
                                           const QByteArray& parentName, const QByteArray& before,
                                           const QByteArray& order)
{
    const QByteArray id = name.toUtf8();
    if (id.isEmpty()) {
        qWarning("ActionManager: a container needs a name");
        return nullptr;
    }
    CommandContainer* result = m_containers.value(id);
    if (!result) {
        result = new CommandContainer(id, this);
        m_containers.insert(id, result);
    }
    if (result->title().isEmpty() && !title.isEmpty())
        result->setTitle(title);
    if (!parentName.isEmpty() && !result->parentContainer()) {
        CommandContainer* parent = container(QString::fromUtf8(parentName));
        parent->addItem(result, before, QByteArray(), order);
    }
    return result;
}

CommandContainer* ActionManager::findContainer(const QByteArray& name) const
{
    return m_containers.value(name);
}

bool ActionManager::registerCommand(Command* command)
{
    if (!command)
        return false;
    const QByteArray id = command->id();
    Command* holder = m_commands.value(id);
    if (holder == command)
        return true;
    if (holder) {
        qWarning("ActionManager: the command id \"%s\" is taken", id.constData());
        return false;
    }
    m_commands.insert(id, command);
    connect(command, &Command::changed, this, &ActionManager::onCommandChanged);
    // A new command may bring another default key, and always another text.
    emit shortcutChanged(id);
    emit commandChanged(id);
    return true;
}

Command* ActionManager::command(const QByteArray& id) const
{
    return m_commands.value(id);
}

QList<Command*> ActionManager::commands() const
{
    QList<Command*> result = m_commands.values();
    std::sort(result.begin(), result.end(), [](const Command* a, const Command* b) {
        if (a->category() != b->category())
            return a->category() < b->category();
        return a->id() < b->id();
    });
    return result;
}

QList<Action*> ActionManager::actions(const QByteArray& id) const
{
    return m_actions.value(id);
}

QKeySequence ActionManager::shortcut(const QByteArray& id) const
{
    const auto custom = m_customShortcuts.constFind(id);
    if (custom != m_customShortcuts.constEnd())
        return *custom;
    const Command* registered = m_commands.value(id);
    return registered ? registered->defaultShortcut() : QKeySequence();
}

bool ActionManager::hasCustomShortcut(const QByteArray& id) const
{
    return m_customShortcuts.contains(id);
}

void ActionManager::setShortcut(const QByteArray& id, const QKeySequence& shortcut)
{
    const auto custom = m_customShortcuts.constFind(id);
    if (custom != m_customShortcuts.constEnd() && *custom == shortcut)
        return;
    m_customShortcuts.insert(id, shortcut);
    emit shortcutChanged(id);
    emit commandChanged(id);
}

void ActionManager::resetShortcut(const QByteArray& id)
{
    if (m_customShortcuts.remove(id) == 0)
        return;
    emit shortcutChanged(id);
    emit commandChanged(id);
}

void ActionManager::resetAllShortcuts()
{
    const QList<QByteArray> ids = m_customShortcuts.keys();
    for (const QByteArray& id : ids)
        resetShortcut(id);
}

void ActionManager::storeShortcuts(Settings& settings) const
{
    for (auto it = m_customShortcuts.constBegin(); it != m_customShortcuts.constEnd(); ++it) {
        // Ids may hold characters that a settings key may not, such as '/'.
        settings.setValue(QString::fromLatin1(it.key().toPercentEncoding()),
                          it.value().toString(QKeySequence::PortableText));
    }
}

void ActionManager::restoreShortcuts(const Settings& settings)
{
    QHash<QByteArray, QKeySequence> restored;
    const QStringList keys = settings.childKeys();
    for (const QString& key : keys) {
        const QByteArray id = QByteArray::fromPercentEncoding(key.toLatin1());
        const QVariant value = settings.value(key);
        if (id.isEmpty() || value.userType() != QMetaType::QString)
            continue;
        const QKeySequence sequence =
            QKeySequence::fromString(value.toString(), QKeySequence::PortableText);
        if (sequence.isEmpty() != value.toString().trimmed().isEmpty() ||
            !isUsableSequence(sequence))
            continue;
        restored.insert(id, sequence);
    }
    const QList<QByteArray> forgotten = m_customShortcuts.keys();
    for (const QByteArray& id : forgotten) {
        if (!restored.contains(id))
            resetShortcut(id);
    }
    for (auto it = restored.constBegin(); it != restored.constEnd(); ++it)
        setShortcut(it.key(), it.value());
}

void ActionManager::forgetCommand(Command* command)
{
    if (!s_instance)
        return;
    const QByteArray id = command->id();
    if (s_instance->m_commands.value(id) != command)
        return;
    s_instance->m_commands.remove(id);
    emit s_instance->shortcutChanged(id);
    emit s_instance->commandChanged(id);
}

void ActionManager::bindAction(Action* action)
{
    ActionManager* manager = instance();
    manager->m_actions[action->id()].append(action);
    emit manager->commandChanged(action->id());
}

void ActionManager::unbindAction(Action* action)
{
    if (!s_instance)
        return;
    const QByteArray id = action->id();
    auto bound = s_instance->m_actions.find(id);
    if (bound == s_instance->m_actions.end())
        return;
    bound->removeAll(action);
    if (bound->isEmpty())
        s_instance->m_actions.erase(bound);
    emit s_instance->commandChanged(id);
}

void ActionManager::onCommandChanged()
{
    auto* changed = qobject_cast<Command*>(sender());
    if (!changed || m_commands.value(changed->id()) != changed)
        return;
    emit shortcutChanged(changed->id());
    emit commandChanged(changed->id());
}
