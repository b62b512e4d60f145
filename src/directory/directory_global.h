#pragma once

#include <QtCore/qglobal.h>

#if defined(DIRECTORY_LIBRARY)
#define DIRECTORY_EXPORT Q_DECL_EXPORT
#else
#define DIRECTORY_EXPORT Q_DECL_IMPORT
#endif
