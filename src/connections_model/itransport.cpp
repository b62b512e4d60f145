#include "itransport.h"

#include <QCoreApplication>

ITransport::~ITransport() = default;

bool ITransport::isValidStatus(int status)
{
    return status >= Disconnected && status <= Connected;
}

QString ITransport::statusText(Status status)
{
    switch (status) {
    case Disconnected:
        return QCoreApplication::translate("ITransport", "Нет соединения");
    case Connecting:
        return QCoreApplication::translate("ITransport", "Соединение...");
    case Authorizing:
        return QCoreApplication::translate("ITransport", "Авторизация...");
    case Connected:
        return QCoreApplication::translate("ITransport", "Соединено");
    }
    return QString();
}
