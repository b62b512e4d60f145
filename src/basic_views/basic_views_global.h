#pragma once

#include <QtCore/qglobal.h>

#if defined(BASIC_VIEWS_LIBRARY)
#define BASIC_VIEWS_EXPORT Q_DECL_EXPORT
#else
#define BASIC_VIEWS_EXPORT Q_DECL_IMPORT
#endif
