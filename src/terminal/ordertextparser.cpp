#include "ordertextparser.h"

#include <QStringList>

namespace {

OrderPackage failed(const QString& error)
{
    OrderPackage package;
    package.error = error;
    return package;
}

} // namespace

OrderPackage OrderTextParser::parse(const QString& text)
{
    if (text.trimmed().isEmpty())
        return failed(tr("Пакет заявок пуст"));

    const QStringList parts = text.split(QLatin1Char('|'));
    const QStringList head = parts.first().split(QLatin1Char(';'));
    if (head.size() != 2 || head.at(0).trimmed().isEmpty() || head.at(1).trimmed().isEmpty())
        return failed(tr("Неверный заголовок пакета «%1»: ожидается «код базового актива;счёт»")
                          .arg(parts.first()));

    OrderPackage package;
    package.baseCode = head.at(0).trimmed();
    package.account = head.at(1).trimmed();
    for (int i = 1; i < parts.size(); ++i) {
        const QString& part = parts.at(i);
        const QStringList fields = part.split(QLatin1Char(';'));
        if (fields.size() != 5)
            return failed(tr("Заявка %1: «%2» — ожидается «режим;биржа;инструмент;цена;количество»")
                              .arg(i)
                              .arg(part));
        PostponedOrder order;
        bool ok = false;
        order.boardId = fields.at(0).trimmed().toInt(&ok);
        if (!ok)
            return failed(tr("Заявка %1: неверный код режима «%2»").arg(i).arg(fields.at(0)));
        order.stockId = fields.at(1).trimmed().toInt(&ok);
        if (!ok)
            return failed(tr("Заявка %1: неверный код биржи «%2»").arg(i).arg(fields.at(1)));
        order.secId = fields.at(2).trimmed().toLongLong(&ok);
        if (!ok)
            return failed(tr("Заявка %1: неверный код инструмента «%2»").arg(i).arg(fields.at(2)));
        order.price = decimal::fromAnyString(fields.at(3), &ok);
        if (!ok)
            return failed(tr("Заявка %1: неверная цена «%2»").arg(i).arg(fields.at(3)));
        order.quantity = fields.at(4).trimmed().toLongLong(&ok);
        if (!ok || order.quantity == 0)
            return failed(tr("Заявка %1: неверное количество «%2»").arg(i).arg(fields.at(4)));
        package.orders.append(order);
    }
    return package;
}
