#pragma once

#include <QtCore/qglobal.h>

#if defined(MARKET_LIBRARY)
#define MARKET_EXPORT Q_DECL_EXPORT
#else
#define MARKET_EXPORT Q_DECL_IMPORT
#endif
