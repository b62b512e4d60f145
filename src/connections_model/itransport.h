#pragma once

#include "connections_model_global.h"

#include "database/datetime.h"

#include <QString>

// One connection of the terminal to an exchange server, as the rest of the terminal sees it:
// its name, how far it got in connecting, and the server's clock as last heard. Transports
// are made and changed through ConnectionsManager only, so that every change is announced.
class CONNECTIONS_MODEL_EXPORT ITransport
{
public:
    // The numbers are part of the plug-in contract: 3 means connected.
    enum Status { Disconnected = 0, Connecting = 1, Authorizing = 2, Connected = 3 };

    virtual ~ITransport();

    virtual QString name() const = 0;
    virtual Status status() const = 0;
    // The server's time as last heard; null (0) while unknown.
    virtual datetime serverTime() const = 0;

    bool isConnected() const { return status() == Connected; }

    // Whether a number is one of the statuses above.
    static bool isValidStatus(int status);
    // The text a status bar shows for a status.
    static QString statusText(Status status);
};
