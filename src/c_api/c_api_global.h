#pragma once

#include <QtCore/qglobal.h>

#if defined(C_API_LIBRARY)
#define C_API_EXPORT Q_DECL_EXPORT
#else
#define C_API_EXPORT Q_DECL_IMPORT
#endif
