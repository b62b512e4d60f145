#pragma once

#include "directory_global.h"

#include <QCoreApplication>
#include <QString>

class Field;

// The names of the kinds of securities by their code in the column sectype.
class DIRECTORY_EXPORT SecTypeDirectory
{
    Q_DECLARE_TR_FUNCTIONS(SecTypeDirectory)
public:
    static SecTypeDirectory& i();

    // "F" a future, "O" an option; another code is shown as it is, a null cell as nothing.
    QString nameByKey(const Field& key) const;
    QString nameByKey(const QString& key) const;

private:
    SecTypeDirectory() = default;
    Q_DISABLE_COPY(SecTypeDirectory)
};
