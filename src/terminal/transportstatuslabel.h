#pragma once

#include <QLabel>
#include <QPointer>

class ConnectionsManager;

// The status bar's word on one transport: its name, state and the server's time, following
// the ConnectionsManager. The transport may be added after the label is made.
class TransportStatusLabel : public QLabel
{
    Q_OBJECT

public:
    TransportStatusLabel(ConnectionsManager* manager, const QString& transportName,
                         QWidget* parent = nullptr);
    ~TransportStatusLabel() override;

private:
    void refresh();

    QPointer<ConnectionsManager> m_manager;
    QString m_transportName;
};
