#include "valuationmode.h"

#include <QCoreApplication>

QString valuationModeTitle(int mode)
{
    switch (mode) {
    case WhatIfValuation:
        return QCoreApplication::translate("ValuationMode", "Профиль 'Что если?'");
    case CurrentValuation:
        return QCoreApplication::translate("ValuationMode", "Текущий профиль");
    case ExpiryValuation:
        return QCoreApplication::translate("ValuationMode", "Профиль на экспирацию");
    default:
        return QString();
    }
}
