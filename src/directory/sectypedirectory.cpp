#include "sectypedirectory.h"

#include "database/field.h"

SecTypeDirectory& SecTypeDirectory::i()
{
    static SecTypeDirectory directory;
    return directory;
}

QString SecTypeDirectory::nameByKey(const Field& key) const
{
    return key.isNull() ? QString() : nameByKey(key.toString());
}

QString SecTypeDirectory::nameByKey(const QString& key) const
{
    if (key == QLatin1String("F"))
        return tr("Фьючерс");
    if (key == QLatin1String("O"))
        return tr("Опцион");
    return key;
}
