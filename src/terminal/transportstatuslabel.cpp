#include "transportstatuslabel.h"

#include "connections_model/connectionsmanager.h"

TransportStatusLabel::TransportStatusLabel(ConnectionsManager* manager,
                                           const QString& transportName, QWidget* parent)
    : QLabel(parent), m_manager(manager), m_transportName(transportName)
{
    setTextFormat(Qt::PlainText);
    connect(manager, &ConnectionsManager::transportAdded, this, &TransportStatusLabel::refresh);
    connect(manager, &ConnectionsManager::transportStatusChanged, this,
            &TransportStatusLabel::refresh);
    connect(manager, &ConnectionsManager::serverTimeChanged, this, &TransportStatusLabel::refresh);
    refresh();
}

TransportStatusLabel::~TransportStatusLabel() = default;

void TransportStatusLabel::refresh()
{
    if (!m_manager)
        return;
    const int index = m_manager->index(m_transportName);
    QString text = QStringLiteral("%1: %2").arg(
        m_transportName, ITransport::statusText(m_manager->transportStatus(index)));
    const datetime time = m_manager->transportTime(index);
    if (!time.isNull())
        text += QStringLiteral("  ") +
                time.getDateTime().toString(QStringLiteral("dd.MM.yyyy hh:mm:ss"));
    // The clock ticks more often than a second shows.
    if (text != this->text())
        setText(text);
}
