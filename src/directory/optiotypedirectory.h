#pragma once

#include "directory_global.h"

#include <QChar>
#include <QCoreApplication>
#include <QString>

// The names of the kinds of options by their code in the column option_type.
class DIRECTORY_EXPORT OptioTypeDirectory
{
    Q_DECLARE_TR_FUNCTIONS(OptioTypeDirectory)
public:
    static OptioTypeDirectory& i();

    // 'C' a call, 'P' a put; another code is shown as it is, a null character as nothing.
    QString nameByKey(const QChar& key) const;

private:
    OptioTypeDirectory() = default;
    Q_DISABLE_COPY(OptioTypeDirectory)
};
