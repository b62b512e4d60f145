#include "connectionsmanager.h"

class ConnectionsManager::Transport final : public ITransport
{
public:
    explicit Transport(const QString& name) : m_name(name) {}

    QString name() const override { return m_name; }
    Status status() const override { return m_status; }
    datetime serverTime() const override { return m_time; }

    QString m_name;
    Status m_status = Disconnected;
    datetime m_time;
};

ConnectionsManager::ConnectionsManager(QObject* parent) : QObject(parent) {}

ConnectionsManager::~ConnectionsManager() = default;

ConnectionsManager* ConnectionsManager::instance()
{
    static ConnectionsManager manager;
    return &manager;
}

int ConnectionsManager::index(const QString& transportName) const
{
    for (size_t i = 0; i < m_transports.size(); ++i) {
        if (m_transports[i]->m_name == transportName)
            return int(i);
    }
    return -1;
}

QList<ITransport*> ConnectionsManager::transports() const
{
    QList<ITransport*> result;
    result.reserve(int(m_transports.size()));
    for (const auto& t : m_transports)
        result.append(t.get());
    return result;
}

int ConnectionsManager::count() const
{
    return int(m_transports.size());
}

ConnectionsManager::Transport* ConnectionsManager::at(int index) const
{
    if (index < 0 || index >= count())
        return nullptr;
    return m_transports[size_t(index)].get();
}

QString ConnectionsManager::transportName(int index) const
{
    const Transport* t = at(index);
    return t ? t->m_name : QString();
}

datetime ConnectionsManager::transportTime(int index) const
{
    const Transport* t = at(index);
    return t ? t->m_time : datetime();
}

ITransport::Status ConnectionsManager::transportStatus(int index) const
{
    const Transport* t = at(index);
    return t ? t->m_status : ITransport::Disconnected;
}

int ConnectionsManager::addTransport(const QString& name)
{
    if (name.isEmpty()) {
        qWarning("ConnectionsManager: a transport needs a name");
        return -1;
    }
    const int present = index(name);
    if (present >= 0)
        return present;
    m_transports.push_back(std::make_unique<Transport>(name));
    const int added = count() - 1;
    emit transportAdded(added);
    return added;
}

void ConnectionsManager::setTransportStatus(int index, ITransport::Status status)
{
    Transport* t = at(index);
    if (!t || !ITransport::isValidStatus(status) || t->m_status == status)
        return;
    t->m_status = status;
    emit transportStatusChanged(index, status);
}

void ConnectionsManager::setTransportTime(int index, const datetime& time)
{
    Transport* t = at(index);
    if (!t || t->m_time == time)
        return;
    t->m_time = time;
    emit serverTimeChanged(index, time);
}
