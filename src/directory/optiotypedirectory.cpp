#include "optiotypedirectory.h"

OptioTypeDirectory& OptioTypeDirectory::i()
{
    static OptioTypeDirectory directory;
    return directory;
}

QString OptioTypeDirectory::nameByKey(const QChar& key) const
{
    if (key == QLatin1Char('C'))
        return tr("Колл");
    if (key == QLatin1Char('P'))
        return tr("Пут");
    return key.isNull() ? QString() : QString(key);
}
