#include "commandproxyaction.h"

#include "action.h"
#include "actionmanager.h"
#include "command.h"

#include <QApplication>
#include <QWidget>

namespace {

// How many steps up from widget to ancestor; -1 when it is not an ancestor.
int distance(const QWidget* widget, const QWidget* ancestor)
{
    int steps = 0;
    for (; widget; widget = widget->parentWidget(), ++steps) {
        if (widget == ancestor)
            return steps;
    }
    return -1;
}

bool isInPopup(const QWidget* widget)
{
    return widget && widget->window()->windowType() == Qt::Popup;
}

} // namespace

CommandProxyAction::CommandProxyAction(Command* command, QObject* parent)
    : QAction(parent), m_command(command), m_id(command ? command->id() : QByteArray())
{
    connect(ActionManager::instance(), &ActionManager::commandChanged, this,
            &CommandProxyAction::onCommandChanged);
    if (auto* application = qobject_cast<QApplication*>(QCoreApplication::instance()))
        connect(application, &QApplication::focusChanged, this,
                &CommandProxyAction::onFocusChanged);
    connect(this, &QAction::triggered, this, &CommandProxyAction::triggerTarget);
    updateText();
    retarget();
}

void CommandProxyAction::retarget()
{
    const QWidget* focus = QApplication::focusWidget();
    if (!focus || isInPopup(focus)) {
        // Menus take the focus while they are open, and the application loses it to others:
        // the window the user works in is still the one last focused.
        setTarget(m_target);
        return;
    }
    Action* nearest = nullptr;
    int nearestDistance = -1;
    const QList<Action*> bound = ActionManager::instance()->actions(m_id);
    for (Action* action : bound) {
        const QList<QWidget*> widgets = action->associatedWidgets();
        for (const QWidget* widget : widgets) {
            const int d = distance(focus, widget);
            if (d >= 0 && (nearestDistance < 0 || d < nearestDistance)) {
                nearest = action;
                nearestDistance = d;
            }
        }
    }
    setTarget(nearest);
}

void CommandProxyAction::onCommandChanged(const QByteArray& id)
{
    if (id != m_id)
        return;
    updateText();
    retarget();
}

void CommandProxyAction::onFocusChanged(QWidget* /*old*/, QWidget* /*now*/)
{
    retarget();
}

void CommandProxyAction::updateText()
{
    const QString text = m_command && !m_command->defaultText().isEmpty() ? m_command->defaultText()
                                                                          : QString::fromUtf8(m_id);
    const QKeySequence shortcut = ActionManager::instance()->shortcut(m_id);
    const QString keys = shortcut.toString(QKeySequence::NativeText);
    // A menu shows what follows the tab as the shortcut, without binding it.
    setText(keys.isEmpty() ? text : text + QLatin1Char('\t') + keys);
    setIconText(Action::toolTipText(text));
    const bool showKeys = m_command && m_command->isShortcutVisibleInToolTip() && !keys.isEmpty();
    setToolTip(showKeys ? QStringLiteral("%1 (%2)").arg(Action::toolTipText(text), keys)
                        : Action::toolTipText(text));
}

void CommandProxyAction::setTarget(Action* target)
{
    if (target != m_target || !m_targetConnection) {
        disconnect(m_targetConnection);
        m_target = target;
        if (target)
            m_targetConnection =
                connect(target, &QAction::changed, this, &CommandProxyAction::mirrorTarget);
    }
    mirrorTarget();
}

void CommandProxyAction::mirrorTarget()
{
    setEnabled(m_target && m_target->isEnabled());
    setCheckable(m_target && m_target->isCheckable());
    setChecked(m_target && m_target->isChecked());
    if (m_target && !m_target->icon().isNull())
        setIcon(m_target->icon());
}

void CommandProxyAction::triggerTarget()
{
    if (m_target && m_target->isEnabled())
        m_target->trigger();
}
