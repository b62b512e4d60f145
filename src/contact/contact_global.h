#pragma once

#include <QtCore/qglobal.h>

#if defined(CONTACT_LIBRARY)
#define CONTACT_EXPORT Q_DECL_EXPORT
#else
#define CONTACT_EXPORT Q_DECL_IMPORT
#endif
