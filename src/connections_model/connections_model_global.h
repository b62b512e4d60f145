#pragma once

#include <QtCore/qglobal.h>

#if defined(CONNECTIONS_MODEL_LIBRARY)
#define CONNECTIONS_MODEL_EXPORT Q_DECL_EXPORT
#else
#define CONNECTIONS_MODEL_EXPORT Q_DECL_IMPORT
#endif
